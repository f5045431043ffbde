#include "component/encoder.h"
#include "component/texts.h"

namespace lumivex {

// The host's way to put a status word into words. sErrorCaller is part of the member's shape
// only: it is neither read nor changed, and nothing of the encoder is touched.
std::string Encoder::GetResponseText(const std::string& sErrorCode, std::string* /*sErrorCaller*/) {
  try {
    return StatusWordText(sErrorCode);
  } catch (...) {
    return {};  // only an exhausted heap gets here; no exception may reach the host
  }
}

}  // namespace lumivex
