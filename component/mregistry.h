// The registry module: read one value with a default, write one value with a registry type chosen
// from the value, list a key's value names, on this machine or on a remote computer. Failures
// never raise: each operation keeps its first failure in the module error state (code + text),
// which is cleared when the next read, write or listing starts.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "component/variant.h"
#include "platform/code_page.h"
#include "platform/registry_api.h"

namespace lumivex {

struct RegistryError {
  std::int32_t code = 0;  // the Windows result of the failing call, 0 = none
  std::string text;
};

struct RegistryWriteOptions {
  // An explicit registry type: the value is then taken as text and written with this type
  // (types 1, 3 and 7 as the text with its terminating zero, any other as a 32-bit number).
  std::optional<RegDword> type;
  // With an explicit type: the number of bytes written (the data is cut or padded with zeros).
  std::optional<RegDword> length;
  // True: the 64-bit view of the registry (KEY_WOW64_64KEY).
  std::optional<bool> view64;
  std::string computer;  // "" for this machine
};

// One module state per registry seam: create one MRegistry for each RegistryApi it works through.
// String data crosses the seam in the code page, one byte a character, as the ANSI registry calls
// take it; key paths and value names cross as they are.
class MRegistry {
 public:
  // Called at the end of every read, write or listing that failed; does nothing unless set.
  using ErrorHook = std::function<void(std::int32_t code, const std::string& text)>;

  MRegistry(RegistryApi& api, const CodePage& codePage) : api_(api), codePage_(codePage) {}

  // handle := root for this machine, else the remote computer's root ("\\" put in front of the
  // name when missing). False (error state set) when the computer cannot be reached.
  bool ConnectRoot(RegKey root, const std::string& computer, RegKey& handle);
  // Closes a remote root; local predefined roots are never closed.
  void CloseRoot(RegKey handle, const std::string& computer);

  // Strings come back without their terminating zero (the first size - 1 bytes, read in the code
  // page), binary data as its raw bytes in a text, 32-bit numbers as Int32. The default when the
  // value is absent (without an error) or unreadable (with one).
  Variant ReadValue(RegKey root, const std::string& subKey, const std::string& valueName,
                    const Variant& defaultValue, const std::string& computer = {});

  // Creates the key path when missing. Without an explicit type:
  //   Byte, Int16, Int32       -> REG_DWORD, the value
  //   Bool                     -> REG_DWORD, 1 or 0
  //   Single, Double, Currency -> REG_SZ, NumberText with its terminating zero
  //   Date                     -> REG_SZ, GeneralDateText with its terminating zero
  //   text (IsAnsiText)        -> REG_SZ, its bytes in the code page and one zero
  //   any other text           -> REG_BINARY, its UTF-16LE form and one zero character (2 bytes)
  // With an explicit type, a text that the code page cannot hold is not written (error
  // reg::UNSUPPORTED_TYPE).
  //   Empty, Null, Error, byte array -> nothing written, error reg::UNSUPPORTED_TYPE
  // The result is the failure code of the key opening, else 0.
  std::int32_t WriteValue(RegKey root, const std::string& subKey, const std::string& valueName,
                          const Variant& value, const RegistryWriteOptions& options = {});

  // names: the value names in the registry's order. The host's 1-based array is a 0-based
  // vector here: host index i is names[i - 1]. A value without a name keeps an empty slot.
  // The result is the number of names (0, and names emptied, on failure).
  std::int32_t GetValueNames(RegKey root, const std::string& subKey,
                             std::vector<std::string>& names, const std::string& computer = {});

  // True when every character (UTF-8 code point, an invalid byte counting as its own value) has a
  // one-byte form in the code page (the host's ANSI code page: "é" and "€" in Windows-1252, not
  // U+0100).
  [[nodiscard]] bool IsAnsiText(const std::string& text) const;

  // The entry points of card identification: the root must be HKEY_CLASSES_ROOT,
  // HKEY_CURRENT_USER or HKEY_LOCAL_MACHINE, any other is silently replaced by HKEY_CURRENT_USER.
  Variant RegGetValue(std::uint32_t root, const std::string& subKey, const std::string& valueName,
                      const Variant& defaultValue, const std::string& computer = {});
  std::int32_t RegSetValue(std::uint32_t root, const std::string& subKey,
                           const std::string& valueName, const Variant& value,
                           const RegistryWriteOptions& options = {});
  std::int32_t RegGetValueNames(std::uint32_t root, const std::string& subKey,
                                std::vector<std::string>& names, const std::string& computer = {});

  [[nodiscard]] const RegistryError& Error() const { return error_; }
  void SetErrorHook(ErrorHook hook) { hook_ = std::move(hook); }

 private:
  struct EncodedValue {
    RegDword type = 0;
    std::vector<std::uint8_t> data;
  };

  enum class KeyOpening { Existing, CreatePath };

  void ClearError() { error_ = {}; }
  void SetError(std::int32_t code, const std::string& text);
  void FinishOperation();
  // One read, write or listing: clears the error state, reaches the root (on computer), opens the
  // key (opening: CreatePath makes it and every missing key of its path) and runs use(key) on it,
  // then reports the operation's first failure. The result is the failure of the key opening,
  // else SUCCESS.
  template <typename Use>
  RegResult OnKey(RegKey root, const std::string& computer, const std::string& subKey,
                  KeyOpening opening, RegDword access, Use use);
  Variant QueryValue(RegKey key, const std::string& valueName, const Variant& defaultValue);
  [[nodiscard]] std::optional<EncodedValue> Encode(const Variant& value,
                                                   const RegistryWriteOptions& options) const;
  // The text's bytes in the code page and one zero; nullopt when the code page cannot hold it.
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> TextWithZero(
      const std::string& text) const;

  RegistryApi& api_;
  const CodePage& codePage_;
  RegistryError error_;
  ErrorHook hook_;
};

}  // namespace lumivex
