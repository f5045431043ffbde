#include "platform/posix/registry_document.h"

#include <algorithm>

#include "platform/text/utf8.h"

namespace lumivex {

namespace {

constexpr std::array<std::string_view, 3> kRootNames = {"HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER",
                                                        "HKEY_LOCAL_MACHINE"};

template <typename Items>
auto FindNamed(Items& items, std::string_view name) -> decltype(items.data()) {
  const auto found = std::find_if(items.begin(), items.end(),
                                  [&](const auto& item) { return SameName(item.name, name); });
  return found == items.end() ? nullptr : &*found;
}

}  // namespace

std::optional<RegistryRoot> RootOfKey(RegKey key) {
  switch (key) {
    case reg::CLASSES_ROOT:
      return RegistryRoot::ClassesRoot;
    case reg::CURRENT_USER:
      return RegistryRoot::CurrentUser;
    case reg::LOCAL_MACHINE:
      return RegistryRoot::LocalMachine;
    default:
      return std::nullopt;
  }
}

std::string_view RootName(RegistryRoot root) {
  return kRootNames.at(static_cast<std::size_t>(root));
}

std::optional<RegistryRoot> RootFromName(std::string_view name) {
  for (std::size_t i = 0; i < kRootNames.size(); ++i) {
    if (SameName(name, kRootNames.at(i))) return static_cast<RegistryRoot>(i);
  }
  return std::nullopt;
}

bool SameName(std::string_view a, std::string_view b) {
  // The plain-ASCII comparison settles almost every name without decoding.
  if (a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
        const auto upper = [](char c) {
          return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        };
        return upper(x) == upper(y);
      }))
    return true;
  return FoldCase(a) == FoldCase(b);
}

std::vector<std::string> SplitKeyPath(std::string_view path) {
  std::vector<std::string> names;
  std::size_t start = 0;
  while (start <= path.size()) {
    const std::size_t end = std::min(path.find('\\', start), path.size());
    if (end > start) names.emplace_back(path.substr(start, end - start));
    start = end + 1;
  }
  return names;
}

RegistryKeyNode* RegistryKeyNode::FindSubkey(std::string_view subkey) {
  return FindNamed(subkeys, subkey);
}

const RegistryKeyNode* RegistryKeyNode::FindSubkey(std::string_view subkey) const {
  return FindNamed(subkeys, subkey);
}

RegistryValue* RegistryKeyNode::FindValue(std::string_view value) {
  return FindNamed(values, value);
}

const RegistryValue* RegistryKeyNode::FindValue(std::string_view value) const {
  return FindNamed(values, value);
}

RegistryValue& RegistryKeyNode::SetValue(std::string_view value, RegDword type,
                                         std::vector<std::uint8_t> data) {
  RegistryValue* existing = FindValue(value);
  if (existing == nullptr) {
    values.push_back(RegistryValue{std::string(value), type, {}, {}});
    existing = &values.back();
  }
  existing->type = type;
  existing->data = std::move(data);
  return *existing;
}

RegistryKeyNode* RegistryDocument::Find(RegistryRoot root, const std::vector<std::string>& path) {
  RegistryKeyNode* node = &Root(root);
  for (const std::string& name : path) {
    node = node->FindSubkey(name);
    if (node == nullptr) return nullptr;
  }
  return node;
}

const RegistryKeyNode* RegistryDocument::Find(RegistryRoot root,
                                              const std::vector<std::string>& path) const {
  const RegistryKeyNode* node = &Root(root);
  for (const std::string& name : path) {
    node = node->FindSubkey(name);
    if (node == nullptr) return nullptr;
  }
  return node;
}

RegistryKeyNode& RegistryDocument::Create(RegistryRoot root, const std::vector<std::string>& path,
                                          bool* created) {
  RegistryKeyNode* node = &Root(root);
  bool made = false;
  for (const std::string& name : path) {
    RegistryKeyNode* next = node->FindSubkey(name);
    if (next == nullptr) {
      node->subkeys.push_back(RegistryKeyNode{name, {}, {}, {}});
      next = &node->subkeys.back();
      made = true;
    }
    node = next;
  }
  if (created != nullptr) *created = made;
  return *node;
}

}  // namespace lumivex
