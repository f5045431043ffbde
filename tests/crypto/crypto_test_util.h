// Small helpers shared by the crypto tests.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "crypto/des.h"

namespace lumivex::crypto::test {

inline std::string Hex(const std::vector<std::uint8_t>& bytes, bool spaced) {
  static const char* const kDigits = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t b : bytes) {
    if (spaced && !text.empty()) text += ' ';
    text += kDigits[b >> 4];
    text += kDigits[b & 0xF];
  }
  return text;
}

// Fixed seeds keep failures reproducible.
inline std::mt19937 SeededRng(unsigned seed) {
  return std::mt19937(seed);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
}

inline std::vector<std::uint8_t> RandomBytes(std::mt19937& rng, std::size_t n) {
  std::vector<std::uint8_t> bytes(n);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
  return bytes;
}

// The number of the DesError the call raises, 0 when it raises none.
template <typename Call>
std::int32_t ErrorOf(Call&& call) {
  try {
    call();
  } catch (const DesError& e) {
    return e.number();
  }
  return 0;
}

}  // namespace lumivex::crypto::test
