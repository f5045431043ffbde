// Hexadecimal texts and error checks shared by the DESFire tests.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "component/encoder.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex::test {

// n bytes counting up from `first`, as compact upper-case hexadecimal.
inline std::string Bytes(int n, int first = 0) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (int i = first; i < first + n; ++i) hex.append({kDigits[(i >> 4) & 15], kDigits[i & 15]});
  return hex;
}

// A failed operation: its error number and, when given, the reader's answer it recorded.
inline void ExpectError(Encoder& e, sceReturnCode result, std::int32_t number,
                        const std::string& retCode = "") {
  EXPECT_EQ(result, sceError);
  EXPECT_EQ(e.LastError().Number(), number) << e.LastError().Description();
  if (!retCode.empty()) {
    EXPECT_EQ(e.LastError().RdrRetCode(), retCode);
  }
}

}  // namespace lumivex::test
