// The host's information entry point: who the component is and what it encodes.
#include <algorithm>
#include <cmath>

#include "component/encoder.h"
#include "platform/host.h"

namespace lumivex {

std::string Encoder::GetInformation() {
  try {
    Trace("--> GetInformation");
    ClearLastError();
    // The integer part of a random fraction times 100000: 0 to 99999.
    double fraction = platform_.host->Random();
    if (!(fraction >= 0.0 && fraction < 1.0)) fraction = 0.0;
    const auto draw = std::min(static_cast<std::int32_t>(std::floor(fraction * 100000.0)), 99999);
    const std::string version = std::to_string(LUMIVEX_VERSION_MAJOR) + "." +
                                std::to_string(LUMIVEX_VERSION_MINOR) + "." +
                                std::to_string(LUMIVEX_VERSION_PATCH);
    std::string text = "Badgeline|Orbanet Lumivex|" + version + "|1|" + std::to_string(draw) +
                       "|Mifare Classic, Mifare Ultralight, Mifare DESFire";
    Trace("GetInformation returns: " + text);
    FinishLastError("GetInformation");
    Trace("<-- GetInformation");
    return text;
  } catch (...) {
    return "";
  }
}

}  // namespace lumivex
