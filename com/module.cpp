#include "com/module.h"

#include <atomic>
#include <vector>

namespace lumivex::com {

namespace {

HINSTANCE g_module = nullptr;
std::atomic<long> g_objects{0};
std::atomic<long> g_locks{0};

}  // namespace

void SetModuleHandle(HINSTANCE module) {
  g_module = module;
}
HINSTANCE ModuleHandle() {
  return g_module;
}

std::wstring ModulePath() {
  std::vector<wchar_t> path(MAX_PATH);
  for (;;) {
    const DWORD length = GetModuleFileNameW(g_module, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) return {};
    if (length < path.size()) return {path.data(), length};
    path.resize(path.size() * 2);
  }
}

void ObjectCreated() {
  ++g_objects;
}
void ObjectDestroyed() {
  --g_objects;
}
void LockServer(bool lock) {
  lock ? ++g_locks : --g_locks;
}
bool CanUnload() {
  return g_objects == 0 && g_locks == 0;
}

ComPtr<ITypeInfo> TypeInfoOf(REFGUID guid, bool vtable) {
  // The library is looked up again each time: oleaut32 keeps loaded libraries cached, and holding
  // none here means nothing of ours must be released while the DLL unloads.
  ComPtr<ITypeLib> library;
  if (FAILED(LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, library.Receive()))) return {};
  ComPtr<ITypeInfo> info;
  if (FAILED(library->GetTypeInfoOfGuid(guid, info.Receive()))) return {};
  if (!vtable) return info;
  // The interface half of a dual interface is the dispatch view's reference -1.
  HREFTYPE interfaceView = 0;
  if (FAILED(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &interfaceView))) return info;
  ComPtr<ITypeInfo> vtableInfo;
  if (FAILED(info->GetRefTypeInfo(interfaceView, vtableInfo.Receive()))) return {};
  return vtableInfo;
}

}  // namespace lumivex::com
