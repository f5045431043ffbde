#include "crypto/hex_codec.h"

#include <array>

namespace lumivex::crypto {
namespace {

constexpr std::uint8_t kSeparator = 0xFE;
constexpr std::uint8_t kInvalid = 0xFF;

// Per character: its digit value, kSeparator or kInvalid.
constexpr std::array<std::uint8_t, 256> MakeDigitTable() {
  std::array<std::uint8_t, 256> table{};
  for (auto& v : table) v = kInvalid;
  for (int i = 0; i < 10; ++i) table['0' + i] = static_cast<std::uint8_t>(i);
  for (int i = 0; i < 6; ++i) {
    table['A' + i] = static_cast<std::uint8_t>(10 + i);
    table['a' + i] = static_cast<std::uint8_t>(10 + i);
  }
  for (const char ch : {' ', ',', '\t', '\r', '\n'})
    table[static_cast<std::uint8_t>(ch)] = kSeparator;
  return table;
}

constexpr std::array<std::uint8_t, 256> kDigit = MakeDigitTable();
constexpr char kUpperDigits[] = "0123456789ABCDEF";

inline std::uint8_t DigitOf(char ch) {
  return kDigit[static_cast<std::uint8_t>(ch)];
}

// The two upper-case digits of one byte, written at out[0] and out[1].
void WriteHexByte(std::uint8_t byte, char* out) {
  out[0] = kUpperDigits[byte >> 4];
  out[1] = kUpperDigits[byte & 0xF];
}

}  // namespace

bool IsSeparator(char ch) {
  return DigitOf(ch) == kSeparator;
}

std::vector<std::uint8_t> ParseHex(std::string_view text, Separators separators) {
  std::size_t digits = 0;
  for (const char ch : text) {
    const std::uint8_t v = DigitOf(ch);
    if (v < 16) {
      ++digits;
    } else if (v != kSeparator || separators == Separators::kRefused) {
      RaiseDesError(kDesInvalidHexString);
    }
  }
  std::vector<std::uint8_t> bytes((digits + 1) / 2);
  std::uint8_t* out = bytes.data();
  if (digits == text.size() && digits % 2 == 0) {
    // Compact text: two digits a byte, no separator to skip.
    for (std::size_t i = 0; i < digits; i += 2) {
      *out++ = static_cast<std::uint8_t>((DigitOf(text[i]) << 4) | DigitOf(text[i + 1]));
    }
    return bytes;
  }
  // An odd count starts with a low nibble, as if a "0" stood in front.
  bool high = digits % 2 == 0;
  std::uint8_t pending = 0;
  for (const char ch : text) {
    const std::uint8_t v = DigitOf(ch);
    if (v >= 16) continue;
    if (high) {
      pending = static_cast<std::uint8_t>(v << 4);
    } else {
      *out++ = static_cast<std::uint8_t>(pending | v);
    }
    high = !high;
  }
  return bytes;
}

std::string FormatHex(std::span<const std::uint8_t> bytes, bool spaced) {
  if (bytes.empty()) return {};
  const std::size_t step = spaced ? 3 : 2;
  std::string text(bytes.size() * step - (spaced ? 1 : 0), ' ');
  char* out = text.data();
  for (const std::uint8_t b : bytes) {
    WriteHexByte(b, out);
    out += step;
  }
  return text;
}

}  // namespace lumivex::crypto
