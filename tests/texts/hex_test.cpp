#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "component/hex.h"

namespace lumivex {
namespace {

TEST(IsHexString, NormalisesInPlaceAndChecksDigitsAndLength) {
  struct Case {
    std::string text;
    std::int32_t length;
    std::string normalised;
    bool ok;
  };
  const std::vector<Case> cases = {
      {" 00 00 00 ", 6, "000000", true}, {"a0b1c2d3e4f5", 12, "A0B1C2D3E4F5", true},
      {"ABCDEF", -1, "ABCDEF", true},    {"", -1, "", true},
      {"ABCDEF", 4, "ABCDEF", false},    {"12 3G", -1, "123G", false},
      {"12\t34", -1, "12\t34", false},  // only blanks are removed
      {"-1", -1, "-1", false},
  };
  for (Case c : cases) {
    std::string text = c.text;
    EXPECT_EQ(IsHexString(text, c.length), c.ok) << '"' << c.text << '"';
    EXPECT_EQ(text, c.normalised);
  }
}

TEST(BytesToHex, ConvertsTheOneBasedRange) {
  const std::vector<std::uint8_t> atr = {0x3B, 0x8F, 0x80, 0x01, 0x0A};
  EXPECT_EQ(BytesToHex(atr), "3B8F80010A");
  EXPECT_EQ(BytesToHex(atr, 1, -1, true), "3B 8F 80 01 0A");
  EXPECT_EQ(BytesToHex(atr, 2, 3, true), "8F 80");
  EXPECT_EQ(BytesToHex(atr, 5, 5), "0A");
  EXPECT_EQ(BytesToHex(atr, 4, 99), "010A");  // a last position past the end stops there
  EXPECT_EQ(BytesToHex(atr, 4, 3), "");
  EXPECT_EQ(BytesToHex({}, 1, -1, true), "");
}

TEST(HexToBytes, ReadsTwoDigitsAByte) {
  struct Case {
    std::string text;
    std::vector<std::uint8_t> bytes;
  };
  const std::vector<Case> cases = {
      {"FFCA000000", {0xFF, 0xCA, 0x00, 0x00, 0x00}},
      {"ff0a", {0xFF, 0x0A}},
      {"ABC", {0xAB, 0xC0}},   // an odd last digit is the high nibble of a last byte
      {"GZ1H", {0x00, 0x10}},  // characters that are not digits count as 0
      {"", {}},
  };
  for (const Case& c : cases) EXPECT_EQ(HexToBytes(c.text), c.bytes) << c.text;
}

TEST(ByteArrayToHex, IsCompactUpperCase) {
  EXPECT_EQ(ByteArrayToHex(std::vector<std::uint8_t>{0x00, 0xAB, 0x9F}), "00AB9F");
  EXPECT_EQ(ByteArrayToHex({}), "");
}

}  // namespace
}  // namespace lumivex
