// APDUs as compact upper-case hexadecimal text, for readable test tables.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace lumivex::sim::test {

inline std::vector<std::uint8_t> Bytes(const std::string& hex) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

inline std::string Hex(std::span<const std::uint8_t> bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t b : bytes) text += {kDigits[b >> 4], kDigits[b & 0x0F]};
  return text;
}

// The status word at the end of an answer.
inline std::string Sw(const std::string& answer) {
  return answer.size() < 4 ? answer : answer.substr(answer.size() - 4);
}

inline std::string Byte(int value) {
  return Hex(std::vector{static_cast<std::uint8_t>(value)});
}

}  // namespace lumivex::sim::test
