// The set of platform bindings an Encoder works through, injected at construction.
#pragma once

#include <memory>

namespace lumivex {

class PcscApi;
class Host;
class RegistryApi;
class Dialogs;

struct Platform {
  std::shared_ptr<PcscApi> pcsc;
  std::shared_ptr<Host> host;
  std::shared_ptr<RegistryApi> registry;  // may be null: no card list, every card is unknown
  std::shared_ptr<Dialogs> dialogs{};     // may be null: no dialog can be shown (Configure fails)
};

// The platform's own bindings: pcsc-lite or winscard, the system clock, the registry of this
// system (advapi32 on Windows, the file store elsewhere).
Platform DefaultPlatform();

}  // namespace lumivex
