// APDUs as compact upper-case hexadecimal text, for readable test tables.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "crypto/hex_codec.h"

namespace lumivex::sim::test {

inline std::vector<std::uint8_t> Bytes(const std::string& hex) {
  return crypto::ParseHex(hex);
}

inline std::string Hex(std::span<const std::uint8_t> bytes) {
  return crypto::FormatHex(bytes, false);
}

// The status word at the end of an answer.
inline std::string Sw(const std::string& answer) {
  return answer.size() < 4 ? answer : answer.substr(answer.size() - 4);
}

inline std::string Byte(int value) {
  return Hex(std::vector{static_cast<std::uint8_t>(value)});
}

}  // namespace lumivex::sim::test
