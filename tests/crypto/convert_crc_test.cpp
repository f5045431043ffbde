// ConvertData between the seven forms, and CRC16.
#include <gtest/gtest.h>

#include <memory>

#include "crypto/crc16.h"
#include "crypto/des.h"
#include "crypto/des_errors.h"
#include "crypto_test_util.h"
#include "platform/text/windows_1252_code_page.h"

namespace lumivex::crypto {
namespace {

using Bytes = std::vector<std::uint8_t>;
using test::ErrorOf;

TEST(ConvertData, EveryFormAndRule) {
  const Bytes bits0A1B = {0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 1, 0, 1, 1};
  const std::string none = "<raises>";
  // data, expected (the text `none` when an error is expected), mode, error
  const std::tuple<ConvertValue, ConvertValue, std::int32_t, std::int32_t> cases[] = {
      {std::string("0a,1B\r\n 2c"), std::string("0A 1B 2C"), 0x000, 0},
      {std::string("ABC"), std::string("0ABC"), 0x001, 0},
      {std::string("0a1b"), std::string("0A1B"), 0x101, 0},
      {std::string("0A1B"), bits0A1B, 0x002, 0},
      {std::string("0A1B"), std::string("00001010 00011011"), 0x003, 0},
      {std::string("0A1B"), std::string("0000101000011011"), 0x004, 0},
      {std::string("0A1B"), Bytes{10, 27}, 0x005, 0},
      {std::string("414243"), std::string("ABC"), 0x006, 0},
      {bits0A1B, std::string("0A 1B"), 0x200, 0},
      {Bytes{1, 0, 1, 0}, std::string("0A"), 0x201, 0},
      {std::string("00001010, 00011011"), std::string("0A1B"), 0x301, 0},
      {Bytes{10, 27}, std::string("0A 1B"), 0x500, 0},
      {std::string("AB\xC3\xA9\xE2\x82\xAC"), std::string("41 42 E9 80"), 0x600, 0},
      {std::string("E9 80 81"), std::string("\xC3\xA9\xE2\x82\xAC\xC2\x81"), 0x006, 0},
      {std::string("\xE9"), std::string("E9"), 0x601, 0},  // not UTF-8: the byte's own character
      {std::string(" \r\n"), std::monostate{}, 0x005, 0},
      {Bytes{}, std::monostate{}, 0x500, 0},
      {std::string("0G"), none, 0x000, kDesInvalidHexString},
      {std::string("0A 1B"), none, 0x101, kDesInvalidHexString},
      {std::string("0000 1010"), none, 0x401, kDesInvalidHexString},
      {std::string("012"), none, 0x301, kDesInvalidHexString},
      {std::string("0A1B"), none, 0x007, kDesBadParameterType},
      {std::string("0A1B"), none, 0x701, kDesBadParameterType},
      {std::string("0A1B"), none, 0x10001, kDesBadParameterType},
      {std::string("0A1B"), none, 0x500, kDesBadParameterType},
      {std::monostate{}, none, 0x200, kDesBadParameterType},
      {Bytes{10}, none, 0x000, kDesBadParameterType},
      {Bytes{0, 2}, none, 0x200, kDesBadParameterType},
      {std::string("ok\xC4\x80"), none, 0x601, kDesNotInCodePage},  // U+0100: no one-byte form
      {std::string("\x80"), none, 0x601, kDesNotInCodePage},        // U+0080: byte 80 is €
  };
  DES des(std::make_shared<Windows1252CodePage>());
  for (const auto& c : cases) {
    SCOPED_TRACE("case " + std::to_string(&c - cases));
    const auto& [data, expected, mode, error] = c;
    if (error != 0) {
      EXPECT_EQ(ErrorOf([&] { des.ConvertData(data, mode); }), error);
    } else {
      EXPECT_EQ(des.ConvertData(data, mode), expected);
    }
  }
}

// A cipher used on its own (no code page) has no plain-text form; with one, every byte value
// reads as a character and writes back unchanged (the DESFire tests check it end to end).
TEST(ConvertData, PlainTextNeedsACodePage) {
  DES alone;
  EXPECT_EQ(ErrorOf([&] { alone.ConvertData(std::string("41"), 0x006); }), kDesBadParameterType);
  EXPECT_EQ(ErrorOf([&] { alone.ConvertData(std::string("A"), 0x601); }), kDesBadParameterType);
}

// "LL HH" text, swallowed errors, and the table-driven CRC against the byte-wise steps of
// ISO/IEC 14443-3 on random data.
TEST(Crc16, VectorsAndByteWiseSteps) {
  DES des;
  const std::pair<const char*, const char*> cases[] = {
      {"00 00", "A0 1E"}, {"12 34", "26 CF"}, {"1234", "26 CF"}, {"", "63 63"}, {"0G", "63 63"}};
  for (const auto& [data, crc] : cases) EXPECT_EQ(des.CRC16(data), crc) << data;
  std::mt19937 rng = test::SeededRng(5);
  for (int round = 0; round < 200; ++round) {
    const Bytes data = test::RandomBytes(rng, rng() % 48);
    unsigned crc = 0x6363;
    for (const std::uint8_t b : data) {
      unsigned ch = (b ^ crc) & 0xFF;
      ch = (ch ^ (ch << 4)) & 0xFF;
      crc = ((crc >> 8) ^ (ch << 8) ^ (ch << 3) ^ (ch >> 4)) & 0xFFFF;
    }
    ASSERT_EQ(Crc16A(data), crc);
  }
}

}  // namespace
}  // namespace lumivex::crypto
