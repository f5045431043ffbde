// The PC/SC seam bound to libpcsclite (Linux, macOS): every call goes straight to the library and
// its result comes back unchanged.
#pragma once

#include "platform/pcsc_api.h"

namespace lumivex {

class PcscLiteApi : public PcscApi {
 public:
  PcscLong EstablishContext(PcscDword scope, PcscContext* context) override;
  PcscLong ReleaseContext(PcscContext context) override;
  PcscLong ListReaders(PcscContext context, char* readers, PcscDword* length) override;
  PcscLong Connect(PcscContext context, const std::string& reader, PcscDword shareMode,
                   PcscDword preferredProtocols, PcscHandle* card,
                   PcscDword* activeProtocol) override;
  PcscLong Disconnect(PcscHandle card, PcscDword disposition) override;
  PcscLong Status(PcscHandle card, std::string* readerName, PcscDword* state, PcscDword* protocol,
                  std::uint8_t* atr, PcscDword* atrLength) override;
  PcscLong GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                     PcscDword* length) override;
  PcscLong Transmit(PcscHandle card, const PcscIoRequest* sendPci, const std::uint8_t* sendBuffer,
                    PcscDword sendLength, PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                    PcscDword* recvLength) override;
};

}  // namespace lumivex
