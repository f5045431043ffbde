#include "component/variant.h"

#include <gtest/gtest.h>

#include <limits>

#include "component/variant_text.h"

namespace lumivex::test {
namespace {

TEST(VariantTest, ConvertsToByteAndInt32AsAutomationDoes) {
  struct Case {
    Variant value;
    std::optional<std::uint8_t> byte;
    std::optional<std::int32_t> int32;
  };
  const std::vector<Case> cases = {
      {Variant::FromInt32(255), 255, 255},
      {Variant::FromInt32(256), std::nullopt, 256},
      {Variant::FromDouble(2.5), 2, 2},  // halves go to the even neighbour
      {Variant::FromDouble(3.5), 4, 4},
      {Variant::FromDouble(2147483647.4), std::nullopt, 2147483647},
      {Variant::FromDouble(2147483647.5), std::nullopt, std::nullopt},
      {Variant::FromDouble(std::numeric_limits<double>::quiet_NaN()), std::nullopt, std::nullopt},
      {Variant::FromCurrency(25000), 2, 2},  // 2.5
      {Variant::FromBool(true), std::nullopt, -1},
      {Variant::FromBool(false), 0, 0},
      {Variant::FromText(" 12 "), 12, 12},
      {Variant::FromText("-1.5E1"), std::nullopt, -15},
      {Variant::FromText("12abc"), std::nullopt, std::nullopt},
      {Variant(), std::nullopt, std::nullopt},
      {Variant::FromDate(1.0), std::nullopt, std::nullopt},
      {Variant::FromBytes({1}), std::nullopt, std::nullopt},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.value.ToByte(), c.byte) << static_cast<int>(c.value.kind());
    EXPECT_EQ(c.value.ToInt32(), c.int32) << static_cast<int>(c.value.kind());
  }
}

TEST(VariantTest, TextsAreLocaleNeutral) {
  const std::vector<std::pair<Variant, std::string>> cases = {
      {Variant::FromDouble(0.1 + 0.2), "0.3"},
      {Variant::FromDouble(1e20), "1E+20"},
      {Variant::FromSingle(3.14159274F), "3.141593"},
      {Variant::FromCurrency(-12500), "-1.25"},
      {Variant::FromDate(45000.0), "2023-03-15"},
      {Variant::FromDate(0.5), "12:00:00"},
      {Variant::FromDate(2.0 - 1e-7), "1900-01-01"},  // rounds up to the next midnight
      {Variant::FromDate(36526.999988426), "2000-01-01 23:59:59"},
      {Variant::FromDate(2958465.5), "9999-12-31 12:00:00"},
      {Variant::FromDate(2958466.0), ""},  // past the last automation date: no text
      {Variant::FromBool(true), "True"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(VariantToText(value), text);
  EXPECT_EQ(VariantToText(Variant::Null()), std::nullopt);
}

}  // namespace
}  // namespace lumivex::test
