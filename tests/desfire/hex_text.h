// Hexadecimal texts for the DESFire tests.
#pragma once

#include <string>

namespace lumivex::test {

// n bytes counting up from `first`, as compact upper-case hexadecimal.
inline std::string Bytes(int n, int first = 0) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (int i = 0; i < n; ++i) {
    const int b = (first + i) & 0xFF;
    hex += kDigits[b >> 4];
    hex += kDigits[b & 15];
  }
  return hex;
}

inline std::string Compact(std::string text) {
  std::erase(text, ' ');
  return text;
}

}  // namespace lumivex::test
