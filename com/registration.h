// Self-registration: the classes, their ProgIDs, the dual interfaces and the type library, for the
// whole machine (DllRegisterServer) or for the current user only (DllInstall with "user", which
// needs no administrator rights). Unregistration removes exactly what registration wrote.
#pragma once

#include <windows.h>

namespace lumivex::com {

enum class RegistrationScope { Machine, User };

HRESULT Register(RegistrationScope scope);
HRESULT Unregister(RegistrationScope scope);

}  // namespace lumivex::com
