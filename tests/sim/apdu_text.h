// Command and response APDUs as compact upper-case hexadecimal text, for readable test tables.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lumivex::sim::test {

inline std::vector<std::uint8_t> Bytes(std::string_view hex) {
  std::vector<std::uint8_t> bytes;
  std::string digits;
  for (const char c : hex) {
    if (c != ' ') digits.push_back(c);
  }
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

inline std::string Hex(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t b : bytes) {
    char digits[3];
    (void)std::snprintf(digits, sizeof digits, "%02X", b);
    text += digits;
  }
  return text;
}

inline std::string Byte(int value) {
  return Hex(std::vector{static_cast<std::uint8_t>(value)});
}

}  // namespace lumivex::sim::test
