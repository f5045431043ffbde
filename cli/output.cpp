#include "cli/output.h"

#include <array>
#include <cstdio>

#include "platform/text/utf8.h"

namespace lumivex::cli {

std::string ReturnCodeName(sceReturnCode code) {
  switch (code) {
    case sceSuccess:
      return "sceSuccess";
    case sceCanceled:
      return "sceCanceled";
    case sceError:
      return "sceError";
  }
  return std::to_string(static_cast<int>(code));
}

// Well-formed UTF-8 whatever the text holds: a byte that does not start a UTF-8 sequence is the
// character of its value (the component's own reading of such bytes).
std::string JsonString(std::string_view text) {
  std::string out = "\"";
  for (const char32_t c : DecodeUtf8(text)) {
    switch (c) {
      case U'"':
        out += "\\\"";
        break;
      case U'\\':
        out += "\\\\";
        break;
      case U'\n':
        out += "\\n";
        break;
      case U'\r':
        out += "\\r";
        break;
      case U'\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20) {
          std::array<char, 8> escaped{};
          (void)std::snprintf(escaped.data(), escaped.size(), "\\u%04x", static_cast<unsigned>(c));
          out += escaped.data();
        } else {
          AppendUtf8(out, c);
        }
    }
  }
  return out + "\"";
}

namespace {

std::string CompactHex(const std::vector<std::uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(bytes.size() * 2);
  for (const std::uint8_t b : bytes) {
    out += kDigits[b >> 4];
    out += kDigits[b & 0x0F];
  }
  return out;
}

// The value as a number when it is one.
bool NumberOf(const Variant& v, std::string& out) {
  if (const auto* p = v.AsByte())
    out = std::to_string(*p);
  else if (const auto* p16 = v.AsInt16())
    out = std::to_string(*p16);
  else if (const auto* p32 = v.AsInt32())
    out = std::to_string(*p32);
  else if (const auto* d = v.AsDouble())
    out = std::to_string(*d);
  else if (const auto* f = v.AsSingle())
    out = std::to_string(*f);
  else
    return false;
  return true;
}

}  // namespace

std::string VariantText(const Variant& value) {
  std::string number;
  if (NumberOf(value, number)) return number;
  if (const auto* b = value.AsBool()) return *b ? "True" : "False";
  if (const auto* t = value.AsText()) return *t;
  if (const auto* bytes = value.AsBytes()) return CompactHex(*bytes);
  return "";
}

std::string VariantJson(const Variant& value) {
  std::string number;
  if (NumberOf(value, number)) return number;
  if (const auto* b = value.AsBool()) return *b ? "true" : "false";
  if (const auto* t = value.AsText()) return JsonString(*t);
  if (const auto* bytes = value.AsBytes()) return JsonString(CompactHex(*bytes));
  return "null";
}

std::string NumberHex(std::int32_t number) {
  char buffer[12];
  (void)std::snprintf(buffer, sizeof buffer, "%08X", static_cast<unsigned>(number));
  return buffer;
}

std::string LastErrorText(const CError& e) {
  return "  LastError.Number = " + std::to_string(e.Number()) + " (" + NumberHex(e.Number()) +
         ")\n" + "  LastError.Description = " + e.Description() + "\n" +
         "  LastError.LastDllError = " + std::to_string(e.LastDllError()) + "\n" +
         "  LastError.ComFunction = " + e.ComFunction() + "\n" +
         "  LastError.RdrCommand = " + e.RdrCommand() + "\n" +
         "  LastError.RdrRetCode = " + e.RdrRetCode() + "\n";
}

std::string LastErrorJson(const CError& e) {
  return "{\"Number\": " + std::to_string(e.Number()) +
         ", \"NumberHex\": " + JsonString(NumberHex(e.Number())) +
         ", \"Description\": " + JsonString(e.Description()) +
         ", \"LastDllError\": " + std::to_string(e.LastDllError()) +
         ", \"ComFunction\": " + JsonString(e.ComFunction()) +
         ", \"RdrCommand\": " + JsonString(e.RdrCommand()) +
         ", \"RdrRetCode\": " + JsonString(e.RdrRetCode()) + "}";
}

}  // namespace lumivex::cli
