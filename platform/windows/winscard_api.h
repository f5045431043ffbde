// The PC/SC seam bound to winscard.dll, loaded when first needed. The library and each entry point
// are looked up at run time, so a system without them makes the call throw PcscCallError instead
// of stopping the process.
//
// Some systems ship a winscard.dll whose context never opens and whose card calls are bare stubs
// that end the process when called (SCardConnectA, SCardDisconnect, SCardGetAttrib,
// SCardTransmit). So that no call ever reaches such a stub, the binding hands a context or card
// handle to the library only when the library itself gave it out through this object and it has
// not been released: Connect needs an established context, the card calls a connected card;
// anything else is answered SCARD_E_INVALID_HANDLE without a call.
#pragma once

#include <memory>

#include "platform/pcsc_api.h"

namespace lumivex {

class WinscardApi : public PcscApi {
 public:
  WinscardApi();
  ~WinscardApi() override;
  WinscardApi(const WinscardApi&) = delete;
  WinscardApi& operator=(const WinscardApi&) = delete;

  PcscLong EstablishContext(PcscDword scope, PcscContext* context) override;
  PcscLong ReleaseContext(PcscContext context) override;
  PcscLong ListReaders(PcscContext context, char* readers, PcscDword* length) override;
  PcscLong Connect(PcscContext context, const std::string& reader, PcscDword shareMode,
                   PcscDword preferredProtocols, PcscHandle* card,
                   PcscDword* activeProtocol) override;
  PcscLong Disconnect(PcscHandle card, PcscDword disposition) override;
  // The card state comes back in the bit form of pcsc-lite (scard::STATE_...), not as
  // winscard's numbered states.
  PcscLong Status(PcscHandle card, std::string* readerName, PcscDword* state, PcscDword* protocol,
                  std::uint8_t* atr, PcscDword* atrLength) override;
  PcscLong GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                     PcscDword* length) override;
  PcscLong Transmit(PcscHandle card, const PcscIoRequest* sendPci, const std::uint8_t* sendBuffer,
                    PcscDword sendLength, PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                    PcscDword* recvLength) override;

 private:
  class Library;
  class Handles;
  std::unique_ptr<Library> library_;
  std::unique_ptr<Handles> handles_;
};

}  // namespace lumivex
