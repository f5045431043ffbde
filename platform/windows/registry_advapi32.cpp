#include "platform/windows/registry_advapi32.h"

#include <windows.h>

namespace lumivex {

static_assert(reg::SUCCESS == ERROR_SUCCESS && reg::FILE_NOT_FOUND == ERROR_FILE_NOT_FOUND &&
              reg::MORE_DATA == ERROR_MORE_DATA && reg::NO_MORE_ITEMS == ERROR_NO_MORE_ITEMS &&
              reg::BAD_NETPATH == ERROR_BAD_NETPATH && reg::BADDB == ERROR_BADDB &&
              reg::UNSUPPORTED_TYPE == ERROR_UNSUPPORTED_TYPE);
static_assert(reg::SZ == REG_SZ && reg::EXPAND_SZ == REG_EXPAND_SZ && reg::BINARY == REG_BINARY &&
              reg::DWORD == REG_DWORD && reg::MULTI_SZ == REG_MULTI_SZ);
static_assert(reg::KEY_READ_ACCESS == KEY_READ && reg::KEY_WRITE_ACCESS == KEY_WRITE &&
              reg::WOW64_64KEY == KEY_WOW64_64KEY && reg::CREATED_NEW_KEY == REG_CREATED_NEW_KEY &&
              reg::OPENED_EXISTING_KEY == REG_OPENED_EXISTING_KEY);
static_assert(sizeof(RegKey) >= sizeof(HKEY) && sizeof(::DWORD) == sizeof(RegDword));

namespace {

// Predefined roots are 32-bit values that a 64-bit HKEY holds sign-extended
// (HKEY_LOCAL_MACHINE is (HKEY)(ULONG_PTR)(LONG)0x80000002).
// A handle travels through the seam as an integer, so it becomes a pointer again here.
HKEY ToHkey(RegKey key) {
  if (reg::IsPredefinedRoot(key)) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a predefined root is an integer handle
    return reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(key)));
  }
  return reinterpret_cast<HKEY>(key);  // NOLINT(performance-no-int-to-ptr): see above
}

RegKey FromHkey(HKEY key) {
  const auto value = reinterpret_cast<ULONG_PTR>(key);
  const auto low = static_cast<std::uint32_t>(value);
  return reg::IsPredefinedRoot(low) && value == static_cast<ULONG_PTR>(static_cast<LONG>(low))
             ? static_cast<RegKey>(low)
             : static_cast<RegKey>(value);
}

}  // namespace

RegResult Advapi32Registry::ConnectRegistry(const std::string& computer, RegKey root,
                                            RegKey* result) {
  HKEY remote = nullptr;
  const LONG status =
      ::RegConnectRegistryA(computer.empty() ? nullptr : computer.c_str(), ToHkey(root), &remote);
  if (status == ERROR_SUCCESS && result != nullptr) *result = FromHkey(remote);
  return status;
}

RegResult Advapi32Registry::OpenKey(RegKey key, const std::string& subKey, RegDword access,
                                    RegKey* result) {
  HKEY opened = nullptr;
  const LONG status = ::RegOpenKeyExA(ToHkey(key), subKey.c_str(), 0, access, &opened);
  if (status == ERROR_SUCCESS && result != nullptr) *result = FromHkey(opened);
  return status;
}

RegResult Advapi32Registry::CreateKey(RegKey key, const std::string& subKey, RegDword options,
                                      RegDword access, RegKey* result, RegDword* disposition) {
  HKEY created = nullptr;
  ::DWORD how = 0;
  const LONG status = ::RegCreateKeyExA(ToHkey(key), subKey.c_str(), 0, nullptr, options, access,
                                        nullptr, &created, &how);
  if (status == ERROR_SUCCESS) {
    if (result != nullptr) *result = FromHkey(created);
    if (disposition != nullptr) *disposition = how;
  }
  return status;
}

RegResult Advapi32Registry::QueryValue(RegKey key, const std::string& name, RegDword* type,
                                       std::uint8_t* data, RegDword* size) {
  ::DWORD kind = 0;
  ::DWORD bytes = size != nullptr ? *size : 0;
  const LONG status = ::RegQueryValueExA(ToHkey(key), name.c_str(), nullptr, &kind, data,
                                         size != nullptr ? &bytes : nullptr);
  if (type != nullptr) *type = kind;
  if (size != nullptr) *size = bytes;
  return status;
}

RegResult Advapi32Registry::SetValue(RegKey key, const std::string& name, RegDword type,
                                     const std::uint8_t* data, RegDword size) {
  return ::RegSetValueExA(ToHkey(key), name.c_str(), 0, type, data, size);
}

RegResult Advapi32Registry::EnumValue(RegKey key, RegDword index, char* name,
                                      RegDword* nameLength) {
  ::DWORD length = nameLength != nullptr ? *nameLength : 0;
  const LONG status =
      ::RegEnumValueA(ToHkey(key), index, name, &length, nullptr, nullptr, nullptr, nullptr);
  if (nameLength != nullptr) *nameLength = length;
  return status;
}

RegResult Advapi32Registry::CloseKey(RegKey key) {
  return ::RegCloseKey(ToHkey(key));
}

}  // namespace lumivex
