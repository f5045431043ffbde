// The entry points of the in-process server.
#include <windows.h>

#include <cwctype>
#include <string>

#include "Orbanet_Lumivex_BL.h"
#include "com/class_factory.h"
#include "com/encoder_object.h"
#include "com/error_record_object.h"
#include "com/module.h"
#include "com/registration.h"

namespace {

lumivex::com::ClassFactory<lumivex::com::EncoderObject> g_encoderFactory;
lumivex::com::ClassFactory<lumivex::com::ErrorRecordObject> g_recordFactory;

bool IsUser(const wchar_t* commandLine) {
  std::wstring text = commandLine != nullptr ? commandLine : L"";
  for (auto& c : text) c = static_cast<wchar_t>(std::towlower(c));
  return text == L"user";
}

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    lumivex::com::SetModuleHandle(instance);
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (IsEqualCLSID(clsid, __uuidof(::Encoder))) return g_encoderFactory.QueryInterface(riid, out);
  if (IsEqualCLSID(clsid, __uuidof(::CError))) return g_recordFactory.QueryInterface(riid, out);
  return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT WINAPI DllCanUnloadNow() {
  return lumivex::com::CanUnload() ? S_OK : S_FALSE;
}

HRESULT WINAPI DllRegisterServer() {
  return lumivex::com::Register(lumivex::com::RegistrationScope::Machine);
}

HRESULT WINAPI DllUnregisterServer() {
  return lumivex::com::Unregister(lumivex::com::RegistrationScope::Machine);
}

// regsvr32 /n /i:user registers for the current user only (and /u /n /i:user removes it).
HRESULT WINAPI DllInstall(BOOL install, LPCWSTR commandLine) {
  const bool user = IsUser(commandLine);
  if (!user && commandLine != nullptr && *commandLine != L'\0') return E_INVALIDARG;
  const auto scope =
      user ? lumivex::com::RegistrationScope::User : lumivex::com::RegistrationScope::Machine;
  return install ? lumivex::com::Register(scope) : lumivex::com::Unregister(scope);
}

}  // extern "C"
