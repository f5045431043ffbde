// The DLL as a COM server: its handle, its path, the count of live objects and locks that
// DllCanUnloadNow reads, and the type library embedded in it.
#pragma once

#include <oaidl.h>

#include <string>

#include "com/com_ptr.h"

namespace lumivex::com {

void SetModuleHandle(HINSTANCE module);
HINSTANCE ModuleHandle();
// The full path of this DLL.
std::wstring ModulePath();

// Live objects and server locks; the DLL may unload when both are zero.
void ObjectCreated();
void ObjectDestroyed();
void LockServer(bool lock);
bool CanUnload();

// The type information of one interface or class of the embedded type library, or null when the
// library cannot be loaded. A dual interface is asked for by its IID (the dispatch view) or by
// its IID with `vtable` true (the interface view, whose functions are the vtable's).
ComPtr<ITypeInfo> TypeInfoOf(REFGUID guid, bool vtable = false);

}  // namespace lumivex::com
