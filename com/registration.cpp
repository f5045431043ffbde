#include "com/registration.h"

#include <olectl.h>

#include <memory>
#include <string>
#include <vector>

#include "com/bstr_text.h"
#include "com/module.h"
#include "component/surface/identity.h"

namespace lumivex::com {

namespace {

struct KeyCloser {
  void operator()(HKEY key) const { RegCloseKey(key); }
};
using UniqueKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

// The automation marshaller: dual interfaces described by a type library need no proxy of ours.
constexpr const wchar_t* kAutomationMarshaller = L"{00020424-0000-0000-C000-000000000046}";

std::wstring Braced(const char* guid) {
  return L"{" + WideFromText(guid) + L"}";
}

std::wstring LibraryVersion() {
  return std::to_wstring(surface::kLibraryMajor) + L"." + std::to_wstring(surface::kLibraryMinor);
}

const wchar_t* Platform() {
  return sizeof(void*) == 8 ? L"win64" : L"win32";
}

HKEY Root(RegistrationScope scope) {
  return scope == RegistrationScope::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

struct Value {
  std::wstring key;   // below Software\Classes
  std::wstring name;  // empty: the key's default value
  std::wstring data;
};

struct CreatableClass {
  const char* classId;
  const char* progId;
};

constexpr CreatableClass kClasses[] = {
    {surface::kEncoderClassId, surface::kEncoderProgId},
    {surface::kRecordClassId, surface::kRecordProgId},
};

struct DualInterface {
  const char* interfaceId;
  const wchar_t* name;
};

constexpr DualInterface kInterfaces[] = {
    {surface::kEncoderInterfaceId, L"_Encoder"},
    {surface::kRecordInterfaceId, L"_CError"},
};

std::wstring LibraryKey() {
  return L"TypeLib\\" + Braced(surface::kLibraryId);
}

std::vector<Value> Values() {
  const std::wstring path = ModulePath();
  const std::wstring folder = path.substr(0, path.find_last_of(L"\\/"));
  const std::wstring library = Braced(surface::kLibraryId);
  std::vector<Value> values;
  for (const auto& c : kClasses) {
    const std::wstring clsid = L"CLSID\\" + Braced(c.classId);
    const std::wstring progId = WideFromText(c.progId);
    values.push_back({clsid, L"", progId});
    values.push_back({clsid + L"\\InprocServer32", L"", path});
    values.push_back({clsid + L"\\InprocServer32", L"ThreadingModel", L"Apartment"});
    values.push_back({clsid + L"\\ProgID", L"", progId});
    values.push_back({clsid + L"\\TypeLib", L"", library});
    values.push_back({progId, L"", progId});
    values.push_back({progId + L"\\CLSID", L"", Braced(c.classId)});
  }
  const std::wstring version = LibraryKey() + L"\\" + LibraryVersion();
  values.push_back({version, L"", WideFromText(surface::kLibraryTitle)});
  values.push_back({version + L"\\0\\" + Platform(), L"", path});
  values.push_back({version + L"\\FLAGS", L"", L"0"});
  values.push_back({version + L"\\HELPDIR", L"", folder});
  for (const auto& i : kInterfaces) {
    const std::wstring key = L"Interface\\" + Braced(i.interfaceId);
    values.push_back({key, L"", i.name});
    values.push_back({key + L"\\ProxyStubClsid32", L"", kAutomationMarshaller});
    values.push_back({key + L"\\TypeLib", L"", library});
    values.push_back({key + L"\\TypeLib", L"Version", LibraryVersion()});
  }
  return values;
}

UniqueKey OpenClasses(RegistrationScope scope, REGSAM access, bool create) {
  HKEY raw = nullptr;
  const LONG status = create ? RegCreateKeyExW(Root(scope), L"Software\\Classes", 0, nullptr, 0,
                                               access, nullptr, &raw, nullptr)
                             : RegOpenKeyExW(Root(scope), L"Software\\Classes", 0, access, &raw);
  return UniqueKey(status == ERROR_SUCCESS ? raw : nullptr);
}

LONG Write(HKEY classes, const Value& v) {
  HKEY raw = nullptr;
  LONG status =
      RegCreateKeyExW(classes, v.key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &raw, nullptr);
  if (status != ERROR_SUCCESS) return status;
  const UniqueKey key(raw);
  status = RegSetValueExW(key.get(), v.name.empty() ? nullptr : v.name.c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(v.data.c_str()),
                          static_cast<DWORD>((v.data.size() + 1) * sizeof(wchar_t)));
  return status;
}

bool HasSubkeys(HKEY parent, const std::wstring& path) {
  HKEY raw = nullptr;
  if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &raw) != ERROR_SUCCESS) return false;
  const UniqueKey key(raw);
  DWORD subkeys = 0;
  if (RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
    return false;
  }
  return subkeys > 0;
}

LONG DeleteTree(HKEY parent, const std::wstring& path) {
  const LONG status = RegDeleteTreeW(parent, path.c_str());
  return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

}  // namespace

HRESULT Unregister(RegistrationScope scope) {
  const UniqueKey classes = OpenClasses(scope, KEY_READ | KEY_WRITE | DELETE, false);
  if (!classes) return S_OK;  // nothing was ever written there
  LONG worst = ERROR_SUCCESS;
  const auto remove = [&](const std::wstring& path) {
    const LONG status = DeleteTree(classes.get(), path);
    if (status != ERROR_SUCCESS) worst = status;
  };
  for (const auto& c : kClasses) {
    remove(L"CLSID\\" + Braced(c.classId));
    remove(WideFromText(c.progId));
  }
  // The type library may also be registered by the DLL of the other width: only its own platform
  // entry goes, and the library and its interfaces go with the last one.
  const std::wstring platforms = LibraryKey() + L"\\" + LibraryVersion() + L"\\0";
  remove(platforms + L"\\" + Platform());
  if (!HasSubkeys(classes.get(), platforms)) {
    remove(LibraryKey());
    for (const auto& i : kInterfaces) remove(L"Interface\\" + Braced(i.interfaceId));
  }
  return worst == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(worst);
}

HRESULT Register(RegistrationScope scope) {
  try {
    const UniqueKey classes = OpenClasses(scope, KEY_CREATE_SUB_KEY | KEY_SET_VALUE, true);
    if (!classes) return E_ACCESSDENIED;
    for (const Value& v : Values()) {
      const LONG status = Write(classes.get(), v);
      if (status != ERROR_SUCCESS) {
        Unregister(scope);  // leave nothing half written
        return status == ERROR_ACCESS_DENIED ? E_ACCESSDENIED : SELFREG_E_CLASS;
      }
    }
    return S_OK;
  } catch (...) {
    Unregister(scope);
    return E_OUTOFMEMORY;
  }
}

}  // namespace lumivex::com
