// A PC/SC seam decorator that counts the frames sent, so the tool can report the commands of a job
// on a real reader as well as on the simulator.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/pcsc_api.h"

namespace lumivex::cli {

class CountingPcsc : public PcscApi {
 public:
  explicit CountingPcsc(std::shared_ptr<PcscApi> inner) : inner_(std::move(inner)) {}
  [[nodiscard]] std::size_t transmits() const { return transmits_; }

  PcscLong EstablishContext(PcscDword scope, PcscContext* context) override {
    return inner_->EstablishContext(scope, context);
  }
  PcscLong ReleaseContext(PcscContext context) override { return inner_->ReleaseContext(context); }
  PcscLong ListReaders(PcscContext context, char* readers, PcscDword* length) override {
    return inner_->ListReaders(context, readers, length);
  }
  PcscLong Connect(PcscContext context, const std::string& reader, PcscDword shareMode,
                   PcscDword preferredProtocols, PcscHandle* card,
                   PcscDword* activeProtocol) override {
    return inner_->Connect(context, reader, shareMode, preferredProtocols, card, activeProtocol);
  }
  PcscLong Disconnect(PcscHandle card, PcscDword disposition) override {
    return inner_->Disconnect(card, disposition);
  }
  PcscLong Status(PcscHandle card, std::string* readerName, PcscDword* state, PcscDword* protocol,
                  std::uint8_t* atr, PcscDword* atrLength) override {
    return inner_->Status(card, readerName, state, protocol, atr, atrLength);
  }
  PcscLong GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                     PcscDword* length) override {
    return inner_->GetAttrib(card, attributeId, buffer, length);
  }
  PcscLong Transmit(PcscHandle card, const PcscIoRequest* sendPci, const std::uint8_t* sendBuffer,
                    PcscDword sendLength, PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                    PcscDword* recvLength) override {
    ++transmits_;
    return inner_->Transmit(card, sendPci, sendBuffer, sendLength, recvPci, recvBuffer, recvLength);
  }

 private:
  std::shared_ptr<PcscApi> inner_;
  std::size_t transmits_ = 0;
};

}  // namespace lumivex::cli
