#include "component/hex.h"

#include "crypto/hex_codec.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace lumivex {

namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

// The value of a hexadecimal digit of either case; anything else counts as 0.
std::uint8_t NibbleOrZero(char c) {
  if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<std::uint8_t>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<std::uint8_t>(c - 'a' + 10);
  return 0;
}

void AppendByte(std::string& text, std::uint8_t byte) {
  text += kDigits[byte >> 4];
  text += kDigits[byte & 0x0F];
}

}  // namespace

bool IsHexString(std::string& text, std::int32_t expectedLength) {
  // Trimming and removing every blank come to the same thing: no blank is left.
  std::erase(text, ' ');
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (expectedLength != -1 && static_cast<std::int64_t>(text.size()) != expectedLength) {
    return false;
  }
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); });
}

std::string BytesToHex(std::span<const std::uint8_t> bytes, std::int32_t first, std::int32_t last,
                       bool spaced) {
  const auto size = static_cast<std::int64_t>(bytes.size());
  const std::int64_t from = std::max<std::int64_t>(first, 1);
  const std::int64_t to = last == -1 ? size : std::min<std::int64_t>(last, size);
  std::string text;
  for (std::int64_t position = from; position <= to; ++position) {
    if (spaced && !text.empty()) text += ' ';
    AppendByte(text, bytes[static_cast<std::size_t>(position - 1)]);
  }
  return text;
}

std::vector<std::uint8_t> HexToBytes(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve((text.size() + 1) / 2);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const std::uint8_t high = NibbleOrZero(text[i]);
    const std::uint8_t low = i + 1 < text.size() ? NibbleOrZero(text[i + 1]) : 0;
    bytes.push_back(static_cast<std::uint8_t>((high << 4) | low));
  }
  return bytes;
}

std::string ByteArrayToHex(std::span<const std::uint8_t> bytes) {
  return crypto::FormatHex(bytes, false);
}

}  // namespace lumivex
