// The cipher's checks, their order, padding, key slots, the IV, how the text class reads hex text
// into the bytes the cipher works on, and ConvertData between the seven forms.
#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "component/error_codes.h"
#include "crypto/des.h"
#include "crypto/hex_codec.h"
#include "platform/text/windows_1252_code_page.h"

namespace lumivex::crypto {
namespace {

using Bytes = std::vector<std::uint8_t>;
using enum DataForm;

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

static_assert(kDesBadKeyIndex == err::kBadKeyIndex &&
              kDesBadParameterType == err::kBadParameterType &&
              kDesInvalidHexString == err::kInvalidHexString &&
              kDesInvalidAlgorithm == err::kInvalidAlgorithm &&
              kDesInvalidChaining == err::kInvalidChaining &&
              kDesBadPaddingMode == err::kBadPaddingMode);
// Scripts and the COM surface pass mode words and conversion modes as numbers.
static_assert(DesModeWord(DesAlgorithm::kTriple, DesChaining::kChainedCbc, DesPadding::kBlank) ==
                  0x4101 &&
              DesModeWord(DesAlgorithm::kSingle, DesChaining::kLegacyChain) == 0x2000 &&
              ConvertMode(kPlainText, kCompactHex) == 0x601 &&
              ConvertMode(kCompactBits, kBitArray) == 0x402);

constexpr std::int32_t kLegacy = DesModeWord(DesAlgorithm::kSingle, DesChaining::kLegacyChain);
constexpr std::int32_t kChained = DesModeWord(DesAlgorithm::kSingle, DesChaining::kChainedCbc);
constexpr std::int32_t kTripleCbc = DesModeWord(DesAlgorithm::kTriple, DesChaining::kCbc);
constexpr auto kBlank = static_cast<std::int32_t>(DesPadding::kBlank);

// Through the text class and, where the text is hex, the byte cipher: the same checks.
TEST(DesErrors, ChecksComeInTheirOrder) {
  constexpr std::int32_t kNone = 0;
  const std::tuple<const char*, std::int32_t, std::int32_t, std::int32_t> cases[] = {
      // data, mode, error of the encipher, error of the decipher
      {"", 0x02, kDesInvalidAlgorithm, kDesInvalidAlgorithm},
      {"0011", -1, kDesInvalidAlgorithm, kDesInvalidAlgorithm},
      {"0G", 0x3300, kDesInvalidHexString, kDesInvalidHexString},
      {"00 11 22 33 44 55 66 77", 0, kDesInvalidHexString, kDesInvalidHexString},
      {"0011223344", 0x3300, kDesBadPaddingMode, kDesBadPaddingMode},
      {"0011223344556677", 0x3300, kDesInvalidChaining, kDesInvalidChaining},
      {"0011223344556677", 0x12000, kDesInvalidChaining, kDesInvalidChaining},
      // Padding is looked at only when a block is short; empty data stops before every check.
      {"0011223344556677", 0x300, kNone, kNone},
      {"00112233445566778899AABBCCDDEEFF", 0x301 | kTripleCbc, kNone, kNone},
      {"0011223344", 0x300, kDesBadPaddingMode, kDesBadPaddingMode},
      {"", 0x3300, kNone, kNone},
      // The outer chainings' encipher completes a short block, their decipher pads it.
      {"0011223344", 0x300 | kLegacy, kNone, kDesBadPaddingMode},
      {"0011223344", 0x300 | kChained, kNone, kDesBadPaddingMode},
      {"00112233 4455", kLegacy, kDesInvalidHexString, kDesInvalidHexString},
  };
  DES des;
  DesCipher cipher;
  for (const auto& [data, mode, encryptError, decryptError] : cases) {
    SCOPED_TRACE(std::string(data) + " mode " + std::to_string(mode));
    EXPECT_EQ(ErrorOf([&] { des.Encrypt(data, mode); }), encryptError);
    EXPECT_EQ(ErrorOf([&] { des.Decrypt(data, mode); }), decryptError);
    if (encryptError == kDesInvalidHexString) continue;
    const Bytes bytes = ParseHex(data);
    EXPECT_EQ(ErrorOf([&] { (void)cipher.Encrypt(bytes, mode); }), encryptError);
    EXPECT_EQ(ErrorOf([&] { (void)cipher.Decrypt(bytes, mode); }), decryptError);
  }
  EXPECT_EQ(des.Encrypt("", 0x3300), "");
  for (const std::int16_t slot : {0, 4, -1}) {
    EXPECT_EQ(ErrorOf([&] { cipher.SetKey(slot, std::array<std::uint8_t, 8>{}); }),
              kDesBadKeyIndex);
  }
  // Bulk ECB: whole blocks, an output of the same size, a known algorithm.
  Bytes block(8), seven(7);
  EXPECT_EQ(ErrorOf([&] { cipher.EncryptEcb(seven, seven, DesAlgorithm::kSingle); }),
            kDesBadParameterType);
  EXPECT_EQ(ErrorOf([&] { cipher.DecryptEcb(block, seven, DesAlgorithm::kSingle); }),
            kDesBadParameterType);
  EXPECT_EQ(ErrorOf([&] { cipher.EncryptEcb(block, block, static_cast<DesAlgorithm>(0x101)); }),
            kDesInvalidAlgorithm);
}

// Each text call gives what the byte cipher gives on the bytes the text stands for (in whole
// blocks where the completion is what is shown); a deciphered block is never unpadded.
TEST(DesText, IsReadIntoTheCipherBytes) {
  DES des;  // both with all-zero keys and IV
  const DesCipher cipher;
  const std::tuple<const char*, bool, std::int32_t, const char*> cases[] = {
      // text, deciphered, mode, the bytes it stands for
      {"ABC", false, 0, "0ABC000000000000"},
      {"ABC", false, kLegacy, "ABC0000000000000"},  // completed with "0" digits
      // The outer chainings read pieces of 16 digits, but chained CBC's encipher the whole text.
      {"0011223344556677ABC", true, kLegacy, "00112233445566770ABC"},
      {"0011223344556677ABC", true, kChained, "00112233445566770ABC"},
      {"0011223344556677ABC", false, kChained, "00011223344556677ABC"},
      {"00 11,22\r\n", false, kChained, "0011220000000000"},
  };
  for (const auto& [text, decipher, mode, hex] : cases) {
    SCOPED_TRACE(std::string(text) + " mode " + std::to_string(mode));
    const Bytes out =
        decipher ? cipher.Decrypt(ParseHex(hex), mode) : cipher.Encrypt(ParseHex(hex), mode);
    EXPECT_EQ(decipher ? des.Decrypt(text, mode) : des.Encrypt(text, mode), FormatHex(out, true));
  }
  const Bytes padded = cipher.Encrypt(Bytes{1, 2, 3, 4, 5}, kTripleCbc | kBlank);
  EXPECT_EQ(cipher.Decrypt(padded, kTripleCbc), ParseHex("0102030405202020"));
}

TEST(DesText, KeySlotsAndTexts) {
  DES des;
  const char* keys[] = {"0123456789ABCDEF", "FEDCBA9876543210", "89ABCDEF01234567"};
  for (std::int16_t slot = 1; slot <= 3; ++slot) des.Keys(slot, keys[slot - 1]);
  des.InitVector("01 02 03 04 05 06 07 08");
  const std::string before = des.Encrypt("0011223344556677", kTripleCbc);
  for (const std::int16_t slot : {0, 4, -1}) {
    EXPECT_EQ(ErrorOf([&] { des.Keys(slot, "XX"); }), kDesBadKeyIndex);  // before the text
  }
  EXPECT_EQ(ErrorOf([&] { des.Keys(2, "11111111111111X1"); }), kDesInvalidHexString);
  EXPECT_EQ(ErrorOf([&] { des.InitVector("0G"); }), kDesInvalidHexString);
  EXPECT_EQ(des.Encrypt("0011223344556677", kTripleCbc), before);  // nothing changed
  des.Keys(1, "01 23 45 67\r\n89,ab,cd,ef");
  des.InitVector("0102030405060708");
  EXPECT_EQ(des.Encrypt("0011223344556677", kTripleCbc), before);
  // A short key is completed with 00 bytes on the right; only the first 8 bytes of a long one
  // count; parity bits are ignored.
  des.Keys(1, "123");
  const std::string shortKey = des.Encrypt("0011", 0);
  for (const char* key : {"0123000000000000FFFF", "0022010101010101"}) {
    des.Keys(1, key);
    EXPECT_EQ(des.Encrypt("0011", 0), shortKey) << key;
  }
}

// Without a code page (a cipher used on its own) there is no plain-text form; with one, every
// byte value reads as a character and writes back unchanged (the DESFire tests check it end to
// end).
TEST(ConvertData, EveryFormAndRule) {
  const Bytes bits0A1B = {0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 1, 0, 1, 1};
  const ConvertValue none = "<raises>";
  // from, to, data, expected (`none` when an error is expected), error
  const std::tuple<DataForm, DataForm, ConvertValue, ConvertValue, std::int32_t> cases[] = {
      {kSpacedHex, kSpacedHex, "0a,1B\r\n 2c", "0A 1B 2C", 0},
      {kSpacedHex, kCompactHex, "ABC", "0ABC", 0},
      {kCompactHex, kCompactHex, "0a1b", "0A1B", 0},
      {kSpacedHex, kBitArray, "0A1B", bits0A1B, 0},
      {kSpacedHex, kSpacedBits, "0A1B", "00001010 00011011", 0},
      {kSpacedHex, kCompactBits, "0A1B", "0000101000011011", 0},
      {kSpacedHex, kByteArray, "0A1B", Bytes{10, 27}, 0},
      {kSpacedHex, kPlainText, "414243", "ABC", 0},
      {kBitArray, kSpacedHex, bits0A1B, "0A 1B", 0},
      {kBitArray, kCompactHex, Bytes{1, 0, 1, 0}, "0A", 0},
      {kSpacedBits, kCompactHex, "00001010, 00011011", "0A1B", 0},
      {kByteArray, kSpacedHex, Bytes{10, 27}, "0A 1B", 0},
      {kPlainText, kSpacedHex, "AB\xC3\xA9\xE2\x82\xAC", "41 42 E9 80", 0},
      {kSpacedHex, kPlainText, "E9 80 81", "\xC3\xA9\xE2\x82\xAC\xC2\x81", 0},
      {kPlainText, kCompactHex, "\xE9", "E9", 0},  // not UTF-8: the byte's own character
      {kSpacedHex, kByteArray, " \r\n", std::monostate{}, 0},
      {kByteArray, kSpacedHex, Bytes{}, std::monostate{}, 0},
      {kSpacedHex, kSpacedHex, "0G", none, kDesInvalidHexString},
      {kCompactHex, kCompactHex, "0A 1B", none, kDesInvalidHexString},
      {kCompactBits, kCompactHex, "0000 1010", none, kDesInvalidHexString},
      {kSpacedBits, kCompactHex, "012", none, kDesInvalidHexString},
      {kByteArray, kSpacedHex, "0A1B", none, kDesBadParameterType},
      {kBitArray, kSpacedHex, std::monostate{}, none, kDesBadParameterType},
      {kSpacedHex, kSpacedHex, Bytes{10}, none, kDesBadParameterType},
      {kBitArray, kSpacedHex, Bytes{0, 2}, none, kDesBadParameterType},
      {kPlainText, kCompactHex, "ok\xC4\x80", none, kDesNotInCodePage},  // U+0100: no one-byte form
      {kPlainText, kCompactHex, "\x80", none, kDesNotInCodePage},        // U+0080: byte 80 is €
  };
  DES des(std::make_shared<Windows1252CodePage>()), alone;
  for (const auto& c : cases) {
    SCOPED_TRACE("case " + std::to_string(&c - cases));
    const auto& [from, to, data, expected, error] = c;
    ConvertValue converted = none;
    EXPECT_EQ(ErrorOf([&] { converted = des.ConvertData(data, ConvertMode(from, to)); }), error);
    EXPECT_EQ(converted, expected);
    if (from == kPlainText || (to == kPlainText && error == 0)) {
      EXPECT_EQ(ErrorOf([&] { alone.ConvertData(data, ConvertMode(from, to)); }),
                kDesBadParameterType);
    }
  }
  // Numbers that name no form.
  for (const std::int32_t mode : {0x007, 0x701, 0x10001, -1}) {
    EXPECT_EQ(ErrorOf([&] { des.ConvertData("0A1B", mode); }), kDesBadParameterType);
  }
}

}  // namespace
}  // namespace lumivex::crypto
