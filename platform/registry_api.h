// The registry seam: the registry calls the component makes, shaped like advapi32's.
// Production bindings: advapi32 on Windows, a file-backed store (registry export text) elsewhere.
// Key paths and value names cross the seam as the component's texts (UTF-8; the component's own
// are ASCII). String data (REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ) crosses in the plain-text code
// page, one byte a character, as the ANSI registry calls take it: the system's ANSI code page on
// Windows, Windows-1252 in the file store.
#pragma once

#include <cstdint>
#include <string>

#include "platform/seam.h"

namespace lumivex {

// A key handle: a predefined root (0x80000000...) or a key opened through the seam. Wide enough
// for a Windows HKEY on either width.
using RegKey = std::uintptr_t;
using RegDword = std::uint32_t;
using RegResult = std::int32_t;  // the Windows result (LONG) of every call, 0 on success

// Windows names without their family prefix (ERROR_, REG_, HKEY_, KEY_), so that this header
// stays usable next to <windows.h>, whose own names are macros.
namespace reg {
// Results (winerror.h).
constexpr RegResult SUCCESS = 0;
constexpr RegResult FILE_NOT_FOUND = 2;
constexpr RegResult ACCESS_DENIED = 5;
constexpr RegResult INVALID_HANDLE = 6;
constexpr RegResult OUTOFMEMORY = 14;
constexpr RegResult BAD_NETPATH = 53;
constexpr RegResult INVALID_PARAMETER = 87;
constexpr RegResult MORE_DATA = 234;
constexpr RegResult NO_MORE_ITEMS = 259;
constexpr RegResult BADDB = 1009;  // the registry data is corrupt (a malformed store file)
constexpr RegResult BADKEY = 1010;
constexpr RegResult REGISTRY_IO_FAILED = 1016;
constexpr RegResult KEY_DELETED = 1018;
constexpr RegResult UNSUPPORTED_TYPE = 1630;

// Value types.
constexpr RegDword NONE = 0;
constexpr RegDword SZ = 1;
constexpr RegDword EXPAND_SZ = 2;
constexpr RegDword BINARY = 3;
constexpr RegDword DWORD = 4;
constexpr RegDword MULTI_SZ = 7;

// Predefined roots.
constexpr RegKey CLASSES_ROOT = 0x80000000;
constexpr RegKey CURRENT_USER = 0x80000001;
constexpr RegKey LOCAL_MACHINE = 0x80000002;
constexpr RegKey USERS = 0x80000003;

// Access masks and options.
constexpr RegDword KEY_READ_ACCESS = 0x20019;
constexpr RegDword KEY_WRITE_ACCESS = 0x20006;
constexpr RegDword WOW64_64KEY = 0x0100;
constexpr RegDword OPTION_NON_VOLATILE = 0;

// Dispositions of CreateKey.
constexpr RegDword CREATED_NEW_KEY = 1;
constexpr RegDword OPENED_EXISTING_KEY = 2;

// True for the predefined roots (HKEY_CLASSES_ROOT ... HKEY_DYN_DATA and the few after it).
constexpr bool IsPredefinedRoot(RegKey key) {
  return key >= 0x80000000 && key <= 0x80000060;
}
}  // namespace reg

// The calls of the seam, named after advapi32's (OpenKey for RegOpenKeyExA, ...); every one
// returns the Windows result. A binding declares its overrides of all of them with
// LUMIVEX_REGISTRY_OVERRIDES.
//   ConnectRegistry  computer: "\\name", or "" for this machine (the result is then the root
//                    itself).
//   CreateKey        opens the key, creating it and every missing key of its path. disposition
//                    may be null.
//   QueryValue       data null: only *type and the size in bytes (*size) are returned. Otherwise
//                    data is a buffer of *size bytes; a buffer too small gives MORE_DATA with the
//                    size needed in *size. name "" is the key's default value. type may be null.
//   SetValue         creates or replaces the value (a replaced value keeps its place among the
//                    key's values).
//   EnumValue        name: a buffer of *nameLength characters; on success it receives the name of
//                    value number index and a terminating zero, and *nameLength the name's length
//                    without the zero. NO_MORE_ITEMS past the last value.
// clang-format off
#define LUMIVEX_REGISTRY_CALLS(CALL)                                                               \
  CALL(RegResult, ConnectRegistry, (const std::string& computer, RegKey root, RegKey* result))     \
  CALL(RegResult, OpenKey, (RegKey key, const std::string& subKey, RegDword access,                \
                            RegKey* result))                                                       \
  CALL(RegResult, CreateKey, (RegKey key, const std::string& subKey, RegDword options,             \
                              RegDword access, RegKey* result, RegDword* disposition))             \
  CALL(RegResult, QueryValue, (RegKey key, const std::string& name, RegDword* type,                \
                               std::uint8_t* data, RegDword* size))                                \
  CALL(RegResult, SetValue, (RegKey key, const std::string& name, RegDword type,                   \
                             const std::uint8_t* data, RegDword size))                             \
  CALL(RegResult, EnumValue, (RegKey key, RegDword index, char* name, RegDword* nameLength))       \
  CALL(RegResult, CloseKey, (RegKey key))
// clang-format on

#define LUMIVEX_REGISTRY_OVERRIDES LUMIVEX_REGISTRY_CALLS(LUMIVEX_SEAM_OVERRIDE)

class RegistryApi {
 public:
  virtual ~RegistryApi() = default;

  LUMIVEX_REGISTRY_CALLS(LUMIVEX_SEAM_PURE)
};

}  // namespace lumivex
