// The PC/SC seam bound to libpcsclite (Linux, macOS): every call goes straight to the library and
// its result comes back unchanged.
#pragma once

#include "platform/pcsc_api.h"

namespace lumivex {

class PcscLiteApi : public PcscApi {
 public:
  LUMIVEX_PCSC_OVERRIDES
};

}  // namespace lumivex
