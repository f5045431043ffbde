#include "platform/posix/registry_file_format.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/text/utf8.h"

namespace lumivex {

namespace {

constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00";
constexpr std::string_view kHeader4 = "REGEDIT4";
constexpr std::size_t kLineWidth = 80;

std::string_view Trim(std::string_view s) {
  const auto first = s.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return s.substr(first, s.find_last_not_of(" \t\r") - first + 1);
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && SameName(text.substr(0, prefix.size()), prefix);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// 1 to `maxDigits` hexadecimal digits, nothing else.
std::optional<std::uint32_t> HexNumber(std::string_view text, std::size_t maxDigits) {
  if (text.empty() || text.size() > maxDigits) return std::nullopt;
  std::uint32_t value = 0;
  for (const char c : text) {
    const int digit = HexDigit(c);
    if (digit < 0) return std::nullopt;
    value = (value << 4) | static_cast<std::uint32_t>(digit);
  }
  return value;
}

bool IsTextType(RegDword type) {
  return type == reg::SZ || type == reg::EXPAND_SZ || type == reg::MULTI_SZ;
}

// Text as the store keeps it, well-formed UTF-8: a byte of the file that does not start a UTF-8
// sequence is a Latin-1 character (8-bit files), as the writer reads it when it writes UTF-16.
std::string Utf8Text(std::string_view text) {
  std::string out;
  for (const char32_t c : DecodeUtf8(text)) AppendUtf8(out, c);
  return out;
}

class Parser {
 public:
  explicit Parser(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size()) {
      const std::size_t end = std::min(text.find('\n', start), text.size());
      lines_.push_back(text.substr(start, end - start));
      start = end + 1;
    }
  }

  std::optional<RegistryDocument> Run(std::string& problem) {
    for (index_ = 0; index_ < lines_.size(); ++index_) {
      if (!ParseLine(Trim(lines_[index_]))) {
        problem = problem_;
        return std::nullopt;
      }
    }
    if (!header_) {
      problem = "line 1: no \"" + std::string(kHeader) + "\" line (empty or torn file?)";
      return std::nullopt;
    }
    document_.trailingComments = std::move(pending_);
    return std::move(document_);
  }

 private:
  bool Fail(const std::string& message) {
    problem_ = "line " + std::to_string(index_ + 1) + ": " + message;
    return false;
  }

  bool ParseLine(std::string_view line) {
    if (line.empty()) return true;
    if (!header_) {
      if (line != kHeader && line != kHeader4)
        return Fail("the first line must be \"" + std::string(kHeader) + "\"");
      header_ = true;
      unicode_ = line == kHeader;
      return true;
    }
    if (line.front() == ';') {
      pending_.emplace_back(line);
      return true;
    }
    if (line.front() == '[') return ParseKey(line);
    if (line.front() == '"' || line.front() == '@') return ParseValue(line);
    return Fail("neither a key, a value nor a comment");
  }

  bool ParseKey(std::string_view line) {
    if (line.back() != ']') return Fail("key line not closed by \"]\" (torn line?)");
    const std::string_view inner = line.substr(1, line.size() - 2);
    if (!inner.empty() && inner.front() == '-')
      return Fail("deleting a key is not supported in this file");
    const std::size_t slash = std::min(inner.find('\\'), inner.size());
    const auto root = RootFromName(inner.substr(0, slash));
    if (!root) {
      return Fail("unknown root \"" + std::string(inner.substr(0, slash)) +
                  "\" (HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER or HKEY_CLASSES_ROOT)");
    }
    const std::string_view path = slash < inner.size() ? inner.substr(slash + 1) : "";
    const std::vector<std::string> names = SplitKeyPath(path);
    if (slash < inner.size() &&
        names.size() != static_cast<std::size_t>(std::count(path.begin(), path.end(), '\\')) + 1)
      return Fail("empty key name in the path");
    if (names.size() > kMaxKeyDepth)
      return Fail("key path deeper than " + std::to_string(kMaxKeyDepth) + " levels");
    // The pointer stays valid until the next key line: values never move keys.
    current_ = &document_.Create(*root, names, nullptr);
    Attach(current_->comments);
    return true;
  }

  // A quoted text at the start of `rest` ("...", with \\ and \" escapes); rest moves past it.
  bool ParseQuoted(std::string_view& rest, std::string& out) {
    for (std::size_t i = 1; i < rest.size(); ++i) {
      const char c = rest[i];
      if (c == '"') {
        rest.remove_prefix(i + 1);
        return true;
      }
      if (c == '\\') {
        if (i + 1 >= rest.size() || (rest[i + 1] != '\\' && rest[i + 1] != '"'))
          return Fail(R"(a backslash in a quoted text must be written \\ (or \" for a quote))");
        ++i;
      }
      out.push_back(rest[i]);
    }
    return Fail("quoted text not closed (torn line?)");
  }

  // Bytes "01,02,ff", continued on the next lines after a final "\".
  bool ParseHexList(std::string_view rest, std::vector<std::uint8_t>& out) {
    for (;;) {
      std::string_view part = Trim(rest);
      const bool more = !part.empty() && part.back() == '\\';
      if (more) part = Trim(part.substr(0, part.size() - 1));
      std::size_t start = 0;
      while (start <= part.size()) {
        const std::size_t end = std::min(part.find(',', start), part.size());
        const std::string_view token = Trim(part.substr(start, end - start));
        if (token.empty()) {
          if (end < part.size()) return Fail("empty byte in a hex list");
        } else {
          const auto byte = HexNumber(token, 2);
          if (!byte)
            return Fail(std::string("\"").append(token).append("\" is not a byte in a hex list"));
          out.push_back(static_cast<std::uint8_t>(*byte));
        }
        start = end + 1;
      }
      if (!more) return true;
      if (++index_ >= lines_.size()) {
        --index_;
        return Fail("hex list continued past the end of the file (torn file?)");
      }
      rest = lines_[index_];
    }
  }

  bool ParseValue(std::string_view line) {
    if (current_ == nullptr) return Fail("value before the first key line");
    std::string name;
    std::string_view rest = line;
    if (rest.front() == '@') {
      rest.remove_prefix(1);
    } else if (!ParseQuoted(rest, name)) {
      return false;
    }
    rest = Trim(rest);
    if (rest.empty() || rest.front() != '=') return Fail("\"=\" expected after the value name");
    rest = Trim(rest.substr(1));
    RegDword type = reg::SZ;
    std::vector<std::uint8_t> data;
    if (rest == "-") return Fail("deleting a value is not supported in this file");
    if (!rest.empty() && rest.front() == '"') {
      std::string text;
      if (!ParseQuoted(rest, text)) return false;
      if (!Trim(rest).empty()) return Fail("text after the closing quote");
      text = Utf8Text(text);
      data.assign(text.begin(), text.end());
      data.push_back(0);
    } else if (StartsWithNoCase(rest, "dword:")) {
      const auto number = HexNumber(rest.substr(6), 8);
      if (!number) return Fail("dword: needs 1 to 8 hexadecimal digits");
      type = reg::DWORD;
      for (int shift = 0; shift < 32; shift += 8)
        data.push_back(static_cast<std::uint8_t>(*number >> shift));
    } else if (StartsWithNoCase(rest, "hex")) {
      rest.remove_prefix(3);
      type = reg::BINARY;
      if (!rest.empty() && rest.front() == '(') {
        const std::size_t close = rest.find(')');
        const auto number = close == std::string_view::npos
                                ? std::nullopt
                                : HexNumber(rest.substr(1, close - 1), 8);
        if (!number) return Fail("hex(n): needs a hexadecimal type number");
        type = *number;
        rest.remove_prefix(close + 1);
      }
      if (rest.empty() || rest.front() != ':') return Fail("\":\" expected after hex");
      if (!ParseHexList(rest.substr(1), data)) return false;
      if (IsTextType(type)) {
        const std::string text =
            unicode_ ? Utf16LeToUtf8(data)
                     : Utf8Text(std::string_view(reinterpret_cast<const char*>(data.data()),
                                                 data.size()));
        data.assign(text.begin(), text.end());
      }
    } else {
      return Fail("value data must be \"text\", dword:, hex: or hex(n):");
    }
    Attach(current_->SetValue(name, type, std::move(data)).comments);
    return true;
  }

  void Attach(std::vector<std::string>& comments) {
    comments.insert(comments.end(), pending_.begin(), pending_.end());
    pending_.clear();
  }

  std::vector<std::string_view> lines_;
  std::size_t index_ = 0;
  RegistryDocument document_;
  RegistryKeyNode* current_ = nullptr;
  bool header_ = false;
  bool unicode_ = true;
  std::vector<std::string> pending_;
  std::string problem_;
};

std::string Quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '\\' || c == '"') out.push_back('\\');
    out.push_back(c);
  }
  out.push_back('"');
  return out;
}

// A string that a quoted text represents exactly: well-formed UTF-8, one final zero, no line
// breaks.
bool IsPlainText(const std::vector<std::uint8_t>& data) {
  if (data.empty() || data.back() != 0) return false;
  const std::string text(data.begin(), data.end() - 1);
  if (text.find_first_of(std::string_view("\0\r\n", 3)) != std::string::npos) return false;
  std::string again;
  for (const char32_t c : DecodeUtf8(text)) AppendUtf8(again, c);
  return again == text;
}

void AppendHexList(std::string& out, std::size_t lineStart, const std::vector<std::uint8_t>& data) {
  std::size_t column = out.size() - lineStart;
  for (std::size_t i = 0; i < data.size(); ++i) {
    std::array<char, 4> token{};
    (void)std::snprintf(token.data(), token.size(), i + 1 < data.size() ? "%02x," : "%02x",
                        data[i]);
    const std::size_t width = i + 1 < data.size() ? 3 : 2;
    if (column + width + 1 > kLineWidth) {  // room for the continuation backslash
      out += "\\\n  ";
      column = 2;
    }
    out += token.data();
    column += width;
  }
}

void AppendValue(std::string& out, const RegistryValue& value) {
  for (const std::string& comment : value.comments) out += comment + "\n";
  const std::size_t lineStart = out.size();
  out += value.name.empty() ? "@" : Quoted(value.name);
  out += "=";
  if (value.type == reg::SZ && IsPlainText(value.data)) {
    out += Quoted(std::string(value.data.begin(), value.data.end() - 1));
  } else if (value.type == reg::DWORD && value.data.size() == 4) {
    std::array<char, 16> text{};
    const std::uint32_t number = value.data[0] | (value.data[1] << 8) | (value.data[2] << 16) |
                                 (static_cast<std::uint32_t>(value.data[3]) << 24);
    (void)std::snprintf(text.data(), text.size(), "dword:%08x", number);
    out += text.data();
  } else {
    std::array<char, 16> prefix{};
    if (value.type == reg::BINARY) {
      (void)std::snprintf(prefix.data(), prefix.size(), "hex:");
    } else {
      (void)std::snprintf(prefix.data(), prefix.size(), "hex(%x):", value.type);
    }
    out += prefix.data();
    AppendHexList(out, lineStart,
                  IsTextType(value.type)
                      ? Utf8ToUtf16Le(std::string_view(
                            reinterpret_cast<const char*>(value.data.data()), value.data.size()))
                      : value.data);
  }
  out += "\n";
}

void AppendKey(std::string& out, const RegistryKeyNode& key, const std::string& path, bool isRoot) {
  if (!key.values.empty() || !key.comments.empty() || (!isRoot && key.subkeys.empty())) {
    out += "\n";
    for (const std::string& comment : key.comments) out += comment + "\n";
    out += "[" + path + "]\n";
    for (const RegistryValue& value : key.values) AppendValue(out, value);
  }
  for (const RegistryKeyNode& subkey : key.subkeys)
    AppendKey(out, subkey, path + "\\" + subkey.name, false);
}

}  // namespace

std::optional<RegistryDocument> ParseRegistryText(std::string_view text, std::string& problem) {
  std::string decoded;
  if (text.starts_with("\xFF\xFE")) {
    decoded = Utf16LeToUtf8(std::vector<std::uint8_t>(text.begin() + 2, text.end()));
    text = decoded;
  } else if (text.starts_with("\xEF\xBB\xBF")) {
    text.remove_prefix(3);
  }
  return Parser(text).Run(problem);
}

std::string FormatRegistryText(const RegistryDocument& document) {
  std::string out(kHeader);
  out += "\n";
  for (std::size_t i = 0; i < document.roots.size(); ++i) {
    const auto root = static_cast<RegistryRoot>(i);
    AppendKey(out, document.Root(root), std::string(RootName(root)), true);
  }
  if (!document.trailingComments.empty()) {
    out += "\n";
    for (const std::string& comment : document.trailingComments) out += comment + "\n";
  }
  out += "\n";
  return out;
}

}  // namespace lumivex
