// Small helpers shared by the crypto tests.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "crypto/des.h"
#include "crypto/des_errors.h"

namespace lumivex::crypto::test {

inline std::string Hex(const std::vector<std::uint8_t>& bytes, bool spaced) {
  std::string text;
  for (const std::uint8_t b : bytes) {
    if (spaced && !text.empty()) text += ' ';
    text += "0123456789ABCDEF"[b >> 4];
    text += "0123456789ABCDEF"[b & 0xF];
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

// The number of the DesError the call raises (0 for none); its text must be that number's (the
// code-page refusal's text starts with its fixed part and names the character).
template <typename Call>
std::int32_t ErrorOf(Call&& call) {
  static const std::map<std::int32_t, std::string> kTexts = {
      {kDesBadKeyIndex, "Bad key index"},
      {kDesBadParameterType, "Bad parameter type"},
      {kDesInvalidHexString, "Invalid hexadecimal string"},
      {kDesInvalidAlgorithm, "Invalid cipher algorithm"},
      {kDesInvalidChaining, "Invalid chaining mode"},
      {kDesBadPaddingMode, "Bad padding mode"},
      {kDesNotInCodePage, "Character not in the code page: U+"}};
  try {
    call();
  } catch (const DesError& e) {
    const std::string text = kTexts.at(e.number());
    const std::string what = e.what();
    EXPECT_EQ(e.number() == kDesNotInCodePage ? what.substr(0, text.size()) : what, text);
    return e.number();
  }
  return 0;
}

}  // namespace lumivex::crypto::test
