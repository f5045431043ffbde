// The registry held by a store file: three roots, each a tree of keys with typed values. Key and
// value names are compared without regard to case and keep the spelling first written; keys and
// values keep the order in which they were added.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry_api.h"

namespace lumivex {

enum class RegistryRoot { ClassesRoot = 0, CurrentUser = 1, LocalMachine = 2 };

std::optional<RegistryRoot> RootOfKey(RegKey key);
// "HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE".
std::string_view RootName(RegistryRoot root);
std::optional<RegistryRoot> RootFromName(std::string_view name);  // without regard to case

bool SameName(std::string_view a, std::string_view b);  // without regard to case
// The names of a key path ("Software\Vendor\App"); empty names (doubled, leading or trailing
// backslashes) are dropped.
std::vector<std::string> SplitKeyPath(std::string_view path);

struct RegistryValue {
  std::string name;  // "" is the key's default value
  RegDword type = reg::NONE;
  std::vector<std::uint8_t> data;     // strings as UTF-8 bytes, as they cross the seam
  std::vector<std::string> comments;  // the operator's comment lines written just before it
};

struct RegistryKeyNode {
  std::string name;
  std::vector<RegistryValue> values;
  std::vector<RegistryKeyNode> subkeys;
  std::vector<std::string> comments;

  [[nodiscard]] RegistryKeyNode* FindSubkey(std::string_view subkey);
  [[nodiscard]] const RegistryKeyNode* FindSubkey(std::string_view subkey) const;
  [[nodiscard]] RegistryValue* FindValue(std::string_view value);
  [[nodiscard]] const RegistryValue* FindValue(std::string_view value) const;
  // Replaces the data of an existing value (keeping its place and spelling) or appends one.
  RegistryValue& SetValue(std::string_view value, RegDword type, std::vector<std::uint8_t> data);
};

struct RegistryDocument {
  std::array<RegistryKeyNode, 3> roots;
  std::vector<std::string> trailingComments;

  [[nodiscard]] RegistryKeyNode& Root(RegistryRoot root) {
    return roots.at(static_cast<std::size_t>(root));
  }
  [[nodiscard]] const RegistryKeyNode& Root(RegistryRoot root) const {
    return roots.at(static_cast<std::size_t>(root));
  }
  [[nodiscard]] RegistryKeyNode* Find(RegistryRoot root, const std::vector<std::string>& path);
  [[nodiscard]] const RegistryKeyNode* Find(RegistryRoot root,
                                            const std::vector<std::string>& path) const;
  // The key, created with every missing key of its path; *created tells whether any was made.
  RegistryKeyNode& Create(RegistryRoot root, const std::vector<std::string>& path, bool* created);
};

}  // namespace lumivex
