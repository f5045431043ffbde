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

  // Status gives the card state in the bit form of pcsc-lite (scard::STATE_...), not as
  // winscard's numbered states.
  LUMIVEX_PCSC_OVERRIDES

 private:
  class Library;
  class Handles;
  std::unique_ptr<Library> library_;
  std::unique_ptr<Handles> handles_;
};

}  // namespace lumivex
