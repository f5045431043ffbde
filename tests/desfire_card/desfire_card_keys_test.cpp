// The simulated DESFire card's authentication, keys and key settings, checked against OpenSSL.
#include <gtest/gtest.h>

#include "tests/desfire_card/desfire_reader.h"

namespace desfire_test {
namespace {

const Bytes kTriple = Hex("00112233445566778899AABBCCDDEEFF");

TEST(DesfireCardKeys, AFreshChallengeEachTimeAndTheRefusalsOfTheExchange) {
  Reader r;
  EXPECT_NE(r.Frame(0x0A, {0}).data, r.Frame(0x0A, {0}).data);  // a new RndB every time
  EXPECT_EQ(r.Frame(0x0A, {1}).sw, 0x9140);                     // the card level has key 0 only
  EXPECT_EQ(r.Frame(0x0A, {0}).sw, 0x91AF);
  EXPECT_EQ(r.Frame(0xAF, Bytes(8, 0)).sw, 0x917E);
  EXPECT_EQ(r.Frame(0xAF, Bytes(16, 0)).sw, 0x91CA);  // the exchange is over
}

TEST(DesfireCardKeys, ChangeKeyRightsFollowTheApplicationKeySettings) {
  // Application settings, key authenticated, key changed, status.
  const std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, int> cases[] = {
      {0x0F, 0, 1, 0x9100},                        // master key changes any key (XOR cryptogram)
      {0x0F, 1, 2, 0x91AE},                        // key 1 may not
      {0x1F, 1, 2, 0x9100},                        // unless the settings name it
      {0xEF, 2, 2, 0x9100},                        // each key changes itself (same-key cryptogram)
      {0xEF, 0, 2, 0x91AE}, {0xFF, 0, 1, 0x919D},  // keys frozen
      {0x0E, 0, 0, 0x919D},                        // master key frozen
      {0x0F, 0, 3, 0x9140},                        // no such key
  };
  for (const auto& [settings, authKey, changed, sw] : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << int(settings) << " " << int(changed));
    Reader r;
    ASSERT_EQ(r.Run(0xCA, Cat(kAid, Bytes{settings, 3})).sw, 0x9100);
    ASSERT_EQ(r.Run(0x5A, kAid).sw, 0x9100);
    ASSERT_EQ(r.Authenticate(authKey, kZero), 0x9100);
    EXPECT_EQ(r.ChangeKey(changed, kZero, kTriple), sw);
    if (sw == 0x9100) {
      EXPECT_EQ(r.Authenticate(changed, kTriple), 0x9100);
    }
  }
}

using DesfireCardKeysInApplication = InApplication;

TEST_F(DesfireCardKeysInApplication, KeyVersionAndIntegrityOfTheChangeKeyCryptogram) {
  ASSERT_EQ(r.Authenticate(0, kZero), 0x9100);
  // The version travels in the parity bits of the first half: 0,1,1,1,1,1,1,1.
  const Bytes versioned = Hex("1023456789ABCDEFFEDCBA9876543210");
  EXPECT_EQ(r.ChangeKey(1, kZero, versioned), 0x9100);
  EXPECT_EQ(r.Run(0x64, {1}).data, Bytes{0x7F});
  // A wrong old key breaks the new key's CRC: refused, and the session is lost.
  EXPECT_EQ(r.ChangeKey(2, versioned, kTriple), 0x911E);
  EXPECT_EQ(r.ChangeKey(2, kZero, kTriple), 0x91AE);
  EXPECT_EQ(r.Authenticate(2, kZero), 0x9100);
}

TEST(DesfireCardKeys, KeySettingsChangeEncipheredAndGovernTheCard) {
  Reader r;
  EXPECT_EQ(r.Run(0x45).data, Hex("0F 01"));
  ASSERT_EQ(r.Authenticate(0, kZero), 0x9100);
  // Settings with a bad CRC are refused and end the session.
  EXPECT_EQ(r.Run(0x54, SendMode(r.session, Hex("09 00 00 00 00 00 00 00"))).sw, 0x911E);
  ASSERT_EQ(r.Authenticate(0, kZero), 0x9100);
  // 0x01: no free listing, no free create, configuration frozen.
  EXPECT_EQ(r.ChangeKeySettings(0x01), 0x9100);
  EXPECT_EQ(r.Run(0x45).data, Hex("01 01"));
  EXPECT_EQ(r.ChangeKeySettings(0x0F), 0x919D);
  ASSERT_EQ(r.Run(0x5A, Hex("000000")).sw, 0x9100);  // drops the authentication
  EXPECT_EQ(r.Run(0x6A).sw, 0x91AE);
  EXPECT_EQ(r.Run(0xCA, Cat(kAid, Bytes{0x0F, 1})).sw, 0x91AE);
  ASSERT_EQ(r.Authenticate(0, kZero), 0x9100);
  EXPECT_EQ(r.Run(0xCA, Cat(kAid, Bytes{0x0F, 1})).sw, 0x9100);
}

}  // namespace
}  // namespace desfire_test
