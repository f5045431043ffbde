#include "component/mregistry.h"

#include <algorithm>

#include "component/variant_text.h"
#include "platform/text/utf8.h"

namespace lumivex {

namespace {

constexpr std::size_t kNameBufferLength = 4096;

// A key opened through the seam, closed when it goes out of scope.
class OpenedKey {
 public:
  explicit OpenedKey(RegistryApi& api) : api_(api) {}
  OpenedKey(const OpenedKey&) = delete;
  OpenedKey& operator=(const OpenedKey&) = delete;
  ~OpenedKey() {
    if (open_) api_.CloseKey(key_);
  }
  RegResult Open(RegKey parent, const std::string& subKey, RegDword access) {
    return Track(api_.OpenKey(parent, subKey, access, &key_));
  }
  RegResult Create(RegKey parent, const std::string& subKey, RegDword access) {
    return Track(api_.CreateKey(parent, subKey, reg::OPTION_NON_VOLATILE, access, &key_, nullptr));
  }
  [[nodiscard]] RegKey get() const { return key_; }

 private:
  RegResult Track(RegResult result) {
    open_ = result == reg::SUCCESS;
    return result;
  }
  RegistryApi& api_;
  RegKey key_ = 0;
  bool open_ = false;
};

// The connection to a root (this machine's or a remote computer's) for one operation.
class RootConnection {
 public:
  RootConnection(MRegistry& module, RegKey root, const std::string& computer)
      : module_(module), computer_(computer) {
    connected_ = module_.ConnectRoot(root, computer_, handle_);
  }
  RootConnection(const RootConnection&) = delete;
  RootConnection& operator=(const RootConnection&) = delete;
  ~RootConnection() {
    if (connected_) module_.CloseRoot(handle_, computer_);
  }
  [[nodiscard]] bool connected() const { return connected_; }
  [[nodiscard]] RegKey handle() const { return handle_; }

 private:
  MRegistry& module_;
  const std::string& computer_;
  RegKey handle_ = 0;
  bool connected_ = false;
};

RegKey AcceptedRoot(std::uint32_t root) {
  const RegKey key = root;
  return key == reg::CLASSES_ROOT || key == reg::CURRENT_USER || key == reg::LOCAL_MACHINE
             ? key
             : reg::CURRENT_USER;
}

std::vector<std::uint8_t> DwordBytes(std::uint32_t value) {
  return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
          static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
}

}  // namespace

void MRegistry::SetError(std::int32_t code, const std::string& text) {
  if (error_.code != 0) return;  // the first failure is the one kept
  error_.code = code;
  error_.text = text;
}

void MRegistry::FinishOperation() {
  if (error_.code != 0 && hook_) hook_(error_.code, error_.text);
}

bool MRegistry::ConnectRoot(RegKey root, const std::string& computer, RegKey& handle) {
  if (computer.empty()) {
    handle = root;
    return true;
  }
  const std::string name = computer.starts_with("\\\\") ? computer : "\\\\" + computer;
  RegKey remote = 0;
  const RegResult result = api_.ConnectRegistry(name, root, &remote);
  if (result != reg::SUCCESS) {
    SetError(result, "Cannot open Registry for computer " + name.substr(2));
    return false;
  }
  handle = remote;
  return true;
}

void MRegistry::CloseRoot(RegKey handle, const std::string& computer) {
  if (!computer.empty()) api_.CloseKey(handle);
}

template <typename Use>
RegResult MRegistry::OnKey(RegKey root, const std::string& computer, const std::string& subKey,
                           KeyOpening opening, RegDword access, Use use) {
  ClearError();
  RegResult opened = reg::SUCCESS;
  {
    const RootConnection connection(*this, root, computer);
    if (connection.connected()) {
      OpenedKey key(api_);
      opened = opening == KeyOpening::CreatePath ? key.Create(connection.handle(), subKey, access)
                                                 : key.Open(connection.handle(), subKey, access);
      if (opened != reg::SUCCESS) {
        SetError(opened, "Unable to open registry key");
      } else {
        use(key.get());
      }
    }
  }
  FinishOperation();
  return opened;
}

Variant MRegistry::ReadValue(RegKey root, const std::string& subKey, const std::string& valueName,
                             const Variant& defaultValue, const std::string& computer) {
  Variant result = defaultValue;
  OnKey(root, computer, subKey, KeyOpening::Existing, reg::KEY_READ_ACCESS,
        [&](RegKey key) { result = QueryValue(key, valueName, defaultValue); });
  return result;
}

Variant MRegistry::QueryValue(RegKey key, const std::string& valueName,
                              const Variant& defaultValue) {
  RegDword type = reg::NONE;
  RegDword size = 0;
  RegResult result = api_.QueryValue(key, valueName, &type, nullptr, &size);
  Variant value = defaultValue;
  if (result == reg::SUCCESS) {
    switch (type) {
      case reg::SZ:
      case reg::EXPAND_SZ:
      case reg::BINARY: {
        std::vector<std::uint8_t> buffer(std::max<RegDword>(size, 1));
        RegDword got = size;
        result = api_.QueryValue(key, valueName, &type, buffer.data(), &got);
        buffer.resize(size);
        // Strings lose their last byte (the terminating zero, or a character when the stored
        // data has none); binary data keeps every byte.
        if (type != reg::BINARY && !buffer.empty()) buffer.pop_back();
        if (result == reg::SUCCESS) {
          // Strings are in the code page (one byte a character); binary data stays raw bytes.
          value = Variant::FromText(type == reg::BINARY ? std::string(buffer.begin(), buffer.end())
                                                        : codePage_.ToText(buffer));
        }
        break;
      }
      case reg::DWORD: {
        std::uint8_t buffer[4] = {};
        RegDword got = sizeof buffer;
        result = api_.QueryValue(key, valueName, &type, buffer, &got);
        if (result == reg::SUCCESS) {
          const std::uint32_t number = buffer[0] | (buffer[1] << 8) | (buffer[2] << 16) |
                                       (static_cast<std::uint32_t>(buffer[3]) << 24);
          value = Variant::FromInt32(static_cast<std::int32_t>(number));
        }
        break;
      }
      default:
        break;
    }
  }
  if (result == reg::FILE_NOT_FOUND) return defaultValue;  // absent: the default, no error
  if (result != reg::SUCCESS) {
    SetError(result, "Error while reading value");
    return defaultValue;
  }
  return value;
}

std::optional<std::vector<std::uint8_t>> MRegistry::TextWithZero(const std::string& text) const {
  auto data = codePage_.ToBytes(text);
  if (data) data->push_back(0);
  return data;
}

std::optional<MRegistry::EncodedValue> MRegistry::Encode(
    const Variant& value, const RegistryWriteOptions& options) const {
  EncodedValue encoded;
  if (options.type) {
    encoded.type = *options.type;
    if (encoded.type == reg::SZ || encoded.type == reg::BINARY || encoded.type == reg::MULTI_SZ) {
      const auto text = VariantToText(value);
      auto data = text ? TextWithZero(*text) : std::nullopt;
      if (!data) return std::nullopt;  // not a text, or a character the code page cannot hold
      encoded.data = std::move(*data);
    } else {
      const auto number = value.ToInt32();
      if (!number) return std::nullopt;
      encoded.data = DwordBytes(static_cast<std::uint32_t>(*number));
    }
    if (options.length) encoded.data.resize(*options.length, 0);
    return encoded;
  }
  switch (value.kind()) {
    case Variant::Kind::Byte:
    case Variant::Kind::Int16:
    case Variant::Kind::Int32:
      encoded.type = reg::DWORD;
      encoded.data = DwordBytes(static_cast<std::uint32_t>(*value.ToInt32()));
      return encoded;
    case Variant::Kind::Bool:
      encoded.type = reg::DWORD;
      encoded.data = DwordBytes(*value.AsBool() ? 1 : 0);
      return encoded;
    case Variant::Kind::Single:
    case Variant::Kind::Double:
    case Variant::Kind::Currency:
    case Variant::Kind::Date:
      encoded.type = reg::SZ;
      encoded.data = *TextWithZero(*VariantToText(value));  // digits and separators: always held
      return encoded;
    case Variant::Kind::Text:
      if (auto data = TextWithZero(*value.AsText())) {
        encoded.type = reg::SZ;
        encoded.data = std::move(*data);
      } else {
        encoded.type = reg::BINARY;
        encoded.data = Utf8ToUtf16Le(*value.AsText());
        encoded.data.insert(encoded.data.end(), 2, 0);
      }
      return encoded;
    case Variant::Kind::Empty:
    case Variant::Kind::Null:
    case Variant::Kind::Bytes:
    case Variant::Kind::Error:
      break;
  }
  return std::nullopt;
}

std::int32_t MRegistry::WriteValue(RegKey root, const std::string& subKey,
                                   const std::string& valueName, const Variant& value,
                                   const RegistryWriteOptions& options) {
  RegDword access = reg::KEY_WRITE_ACCESS;
  if (options.view64.value_or(false)) access |= reg::WOW64_64KEY;
  return OnKey(root, options.computer, subKey, KeyOpening::CreatePath, access, [&](RegKey key) {
    const auto encoded = Encode(value, options);
    if (!encoded) {
      SetError(reg::UNSUPPORTED_TYPE, "Unable to save this type of data in the Registry");
      return;
    }
    const RegResult written = api_.SetValue(key, valueName, encoded->type, encoded->data.data(),
                                            static_cast<RegDword>(encoded->data.size()));
    if (written != reg::SUCCESS) SetError(written, "Error while writing data in the Registry");
  });
}

std::int32_t MRegistry::GetValueNames(RegKey root, const std::string& subKey,
                                      std::vector<std::string>& names,
                                      const std::string& computer) {
  names.clear();
  OnKey(root, computer, subKey, KeyOpening::Existing, reg::KEY_READ_ACCESS, [&](RegKey key) {
    std::vector<char> buffer(kNameBufferLength);
    for (RegDword index = 0;; ++index) {
      auto length = static_cast<RegDword>(buffer.size());
      const RegResult result = api_.EnumValue(key, index, buffer.data(), &length);
      if (result == reg::NO_MORE_ITEMS) break;
      if (result != reg::SUCCESS) {
        SetError(result, "Unable to read the value names for the Registry");
        names.clear();
        break;
      }
      names.emplace_back(buffer.data(), std::min<std::size_t>(length, buffer.size() - 1));
    }
  });
  return error_.code == 0 ? static_cast<std::int32_t>(names.size()) : 0;
}

bool MRegistry::IsAnsiText(const std::string& text) const {
  return codePage_.ToBytes(text).has_value();
}

Variant MRegistry::RegGetValue(std::uint32_t root, const std::string& subKey,
                               const std::string& valueName, const Variant& defaultValue,
                               const std::string& computer) {
  return ReadValue(AcceptedRoot(root), subKey, valueName, defaultValue, computer);
}

std::int32_t MRegistry::RegSetValue(std::uint32_t root, const std::string& subKey,
                                    const std::string& valueName, const Variant& value,
                                    const RegistryWriteOptions& options) {
  return WriteValue(AcceptedRoot(root), subKey, valueName, value, options);
}

std::int32_t MRegistry::RegGetValueNames(std::uint32_t root, const std::string& subKey,
                                         std::vector<std::string>& names,
                                         const std::string& computer) {
  return GetValueNames(AcceptedRoot(root), subKey, names, computer);
}

}  // namespace lumivex
