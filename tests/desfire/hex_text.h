// Hexadecimal texts for the DESFire tests.
#pragma once

#include <string>

namespace lumivex::test {

// n bytes counting up from `first`, as compact upper-case hexadecimal.
inline std::string Bytes(int n, int first = 0) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (int i = first; i < first + n; ++i) hex.append({kDigits[(i >> 4) & 15], kDigits[i & 15]});
  return hex;
}

inline std::string Compact(std::string text) {
  std::erase(text, ' ');
  return text;
}

}  // namespace lumivex::test
