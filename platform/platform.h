// The set of platform bindings an Encoder works through, injected at construction.
#pragma once

#include <memory>

namespace lumivex {

class PcscApi;
class Host;
class RegistryApi;
class CodePage;
class Dialogs;

struct Platform {
  std::shared_ptr<PcscApi> pcsc;
  std::shared_ptr<Host> host;
  std::shared_ptr<RegistryApi> registry;  // may be null: no card list, every card is unknown
  std::shared_ptr<Dialogs> dialogs{};     // may be null: no dialog can be shown (Configure fails)
  std::shared_ptr<const CodePage> codePage{};  // may be null: Windows-1252
};

// The platform's own bindings: pcsc-lite or winscard, the system clock, the registry of this
// system (advapi32 on Windows, the file store elsewhere), the plain-text code page (the system's
// ANSI code page on Windows, Windows-1252 elsewhere).
Platform DefaultPlatform();

}  // namespace lumivex
