#include "platform/platform.h"
#include "platform/system_host.h"

#if defined(_WIN32)
#include "platform/windows/winscard_api.h"
#else
#include "platform/posix/pcsc_lite_api.h"
#endif

namespace lumivex {

Platform DefaultPlatform() {
  Platform platform;
#if defined(_WIN32)
  platform.pcsc = std::make_shared<WinscardApi>();
#else
  platform.pcsc = std::make_shared<PcscLiteApi>();
#endif
  platform.host = std::make_shared<SystemHost>();
  platform.registry = nullptr;  // no card list yet: every card is unknown
  return platform;
}

}  // namespace lumivex
