#include "platform/platform.h"
#include "platform/system_host.h"

#if defined(_WIN32)
#include "platform/windows/ansi_code_page.h"
#include "platform/windows/registry_advapi32.h"
#include "platform/windows/winscard_api.h"
#else
#include "platform/posix/pcsc_lite_api.h"
#include "platform/posix/registry_file_store.h"
#include "platform/text/windows_1252_code_page.h"
#endif

namespace lumivex {

Platform DefaultPlatform() {
  Platform platform;
#if defined(_WIN32)
  platform.pcsc = std::make_shared<WinscardApi>();
  platform.registry = std::make_shared<Advapi32Registry>();
  platform.codePage = std::make_shared<AnsiCodePage>();
#else
  platform.pcsc = std::make_shared<PcscLiteApi>();
  platform.registry = std::make_shared<RegistryFileStore>();  // files named by the environment
  platform.codePage = std::make_shared<Windows1252CodePage>();
#endif
  platform.host = std::make_shared<SystemHost>();
  return platform;
}

}  // namespace lumivex
