// The cipher's checks, their order, padding, key slots and the IV.
#include <gtest/gtest.h>

#include "component/error_codes.h"
#include "crypto/des.h"
#include "crypto_test_util.h"

namespace lumivex::crypto {
namespace {

using test::ErrorOf;

static_assert(kDesBadKeyIndex == err::kBadKeyIndex &&
              kDesBadParameterType == err::kBadParameterType &&
              kDesInvalidHexString == err::kInvalidHexString &&
              kDesInvalidAlgorithm == err::kInvalidAlgorithm &&
              kDesInvalidChaining == err::kInvalidChaining &&
              kDesBadPaddingMode == err::kBadPaddingMode);

TEST(DesErrors, ChecksComeInTheirOrder) {
  constexpr std::int32_t kNone = 0;
  const std::tuple<const char*, std::int32_t, std::int32_t, std::int32_t> cases[] = {
      // data, mode, error of the encipher, error of the decipher
      {"", 0x02, kDesInvalidAlgorithm, kDesInvalidAlgorithm},
      {"0G", 0x3300, kDesInvalidHexString, kDesInvalidHexString},
      {"00 11 22 33 44 55 66 77", desECB, kDesInvalidHexString, kDesInvalidHexString},
      {"0011223344", 0x3300, kDesBadPaddingMode, kDesBadPaddingMode},
      {"0011223344556677", 0x3300, kDesInvalidChaining, kDesInvalidChaining},
      {"0011223344556677", 0x12000, kDesInvalidChaining, kDesInvalidChaining},
      // Padding is looked at only when a block is short; empty data stops before every check.
      {"0011223344556677", 0x300, kNone, kNone},
      {"00112233445566778899AABBCCDDEEFF", 0x301 | desCBC, kNone, kNone},
      {"0011223344", 0x300, kDesBadPaddingMode, kDesBadPaddingMode},
      {"", 0x3300, kNone, kNone},
      // The legacy encipher completes blocks with "0" digits, its decipher pads them.
      {"0011223344", 0x300 | desLegacyChain, kNone, kDesBadPaddingMode},
      {"0011223344", 0x300 | desChainedCBC, kNone, kDesBadPaddingMode},
      {"00112233 4455", desLegacyChain, kDesInvalidHexString, kDesInvalidHexString},
  };
  DES des;
  for (const auto& [data, mode, encryptError, decryptError] : cases) {
    SCOPED_TRACE(std::string(data) + " mode " + std::to_string(mode));
    EXPECT_EQ(ErrorOf([&] { des.Encrypt(data, mode); }), encryptError);
    EXPECT_EQ(ErrorOf([&] { des.Decrypt(data, mode); }), decryptError);
  }
  EXPECT_EQ(des.Encrypt("", 0x3300), "");
}

class DesRules : public ::testing::Test {
 protected:
  DesRules() {
    des.Keys(1, "0123456789ABCDEF");
    des.Keys(2, "FEDCBA9876543210");
    des.Keys(3, "89ABCDEF01234567");
    des.InitVector("01 02 03 04 05 06 07 08");
  }
  DES des;
};

TEST_F(DesRules, ShortBlocksArePaddedAndNeverUnpadded) {
  EXPECT_EQ(des.Encrypt("0102030405", desTriple), des.Encrypt("0102030405000000", desTriple));
  EXPECT_EQ(des.Encrypt("0102030405", desTriple | desPadBlank),
            des.Encrypt("0102030405202020", desTriple));
  std::string cipher = des.Encrypt("0102030405", desTriple | desPadBlank | desCBC);
  std::erase(cipher, ' ');
  EXPECT_EQ(des.Decrypt(cipher, desTriple | desCBC), "01 02 03 04 05 20 20 20");
}

TEST_F(DesRules, KeySlotsAndTexts) {
  const std::string before = des.Encrypt("0011223344556677", desTriple | desCBC);
  for (const std::int16_t slot : {0, 4, -1}) {
    EXPECT_EQ(ErrorOf([&] { des.Keys(slot, "1111111111111111"); }), kDesBadKeyIndex);
  }
  EXPECT_EQ(ErrorOf([&] { des.Keys(2, "11111111111111X1"); }), kDesInvalidHexString);
  EXPECT_EQ(ErrorOf([&] { des.InitVector("0G"); }), kDesInvalidHexString);
  EXPECT_EQ(des.Encrypt("0011223344556677", desTriple | desCBC), before);  // nothing changed
  des.Keys(1, "01 23 45 67\r\n89,ab,cd,ef");
  des.InitVector("0102030405060708");
  EXPECT_EQ(des.Encrypt("0011223344556677", desTriple | desCBC), before);
  // A short key is completed with 00 bytes on the right; only the first 8 bytes of a long one
  // count.
  des.Keys(1, "123");
  const std::string shortKey = des.Encrypt("0011223344556677", desSingle);
  des.Keys(1, "0123000000000000FFFF");
  EXPECT_EQ(des.Encrypt("0011223344556677", desSingle), shortKey);
}

}  // namespace
}  // namespace lumivex::crypto
