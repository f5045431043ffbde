// The DESFire operations frame by frame against a scripted reader: number encodings, the split of
// long writes over continuation frames, the enciphered cryptograms and the answers' parsing.
#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "tests/desfire/desfire_helpers.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

using test::Bytes;
using test::ExpectError;

constexpr const char* kFactoryKey = "0000000000000000";
constexpr const char* kAppKey = "00112233445566778899AABBCCDDEEFF";  // two-key triple DES

// An encoder in application A1B2C3, authenticated with its key 0 (triple DES).
class DesfireFrames : public ::testing::Test {
 protected:
  void SetUp() override {
    bench.Open();
    session = bench.Authenticate("A1B2C3", 0, kAppKey);
  }
  // The file-settings query that precedes every transfer, answered with the file's kind.
  void ExpectSettings(const std::string& file, const std::string& type) {
    pcsc.Expect("90F5000001" + file + "00", type + "00EEEE200000 9100");
  }
  // The plain text of the cryptogram in a frame, as the card reads it with the session key.
  std::string Plain(const std::string& frame, std::size_t at, std::size_t digits) const {
    return test::CardPlain(session, frame.substr(at, digits));
  }

  test::ScriptedEncoder bench;
  test::ScriptedPcsc& pcsc = *bench.pcsc;
  Encoder& e = bench.encoder;
  std::string session;
};

TEST_F(DesfireFrames, NumbersTravelLeastSignificantByteFirst) {
  pcsc.Expect("90CD000007 0F 00 3412 563412 00", "9100");
  EXPECT_EQ(e.DESFireCreateStdDataFile(15, dfcPlain, 1, 2, 3, 4, 0x123456), sceSuccess);
  pcsc.Expect("90CC000011 07 01 3412 9CFFFFFF 64000000 FFFFFFFF 01 00", "9100");
  EXPECT_EQ(e.DESFireCreateValueFile(7, dfcPlainMac, 1, 2, 3, 4, -100, 100, -1, true), sceSuccess);
  pcsc.Expect("90C100000A 04 03 3412 102030 030000 00", "9100");
  EXPECT_EQ(e.DESFireCreateLinearRecordFile(4, dfcCiphered, 1, 2, 3, 4, 0x302010, 3), sceSuccess);
  bench.Authenticate("000000", 0, kFactoryKey);
  pcsc.Expect("90CA000005 A1B2C3 FF 0E 00", "9100");
  EXPECT_EQ(e.DESFireCreateApplication("a1 b2 c3", DesfireKeySettings(255), 14), sceSuccess);
  EXPECT_EQ(pcsc.PendingFrames(), 0u);
}

TEST_F(DesfireFrames, LongWritesGoOverContinuationFrames) {
  const std::string header = "903D000034 01 000000";
  ExpectSettings("01", "00");  // 45 bytes and the 7 of the command: one frame
  pcsc.Expect(header + "2D0000" + Bytes(45) + "00", "9100");
  EXPECT_EQ(e.DESFireWriteData(1, 0, 0, Bytes(45), true), sceSuccess);
  ExpectSettings("01", "01");  // 46 bytes: 52, then 1
  pcsc.Expect(header + "2E0000" + Bytes(45) + "00", "91AF");
  pcsc.Expect("90AF000001" + Bytes(1, 45) + "00", "9100");
  EXPECT_EQ(e.DESFireWriteData(1, 0, 0, Bytes(46), true), sceSuccess);
  ExpectSettings("01", "00");  // 52 + 59 + 59 bytes: three full frames
  pcsc.Expect(header + "A30000" + Bytes(45) + "00", "91AF");
  pcsc.Expect("90AF00003B" + Bytes(59, 45) + "00", "91AF");
  pcsc.Expect("90AF00003B" + Bytes(59, 104) + "00", "9100");
  EXPECT_EQ(e.DESFireWriteData(1, 0, 0, Bytes(163), true), sceSuccess);
  ExpectSettings("03", "04");  // a record: length 0 means the data's own length
  pcsc.Expect("903B000011 03 102030 0A0000" + Bytes(10) + "00", "9100");
  EXPECT_EQ(e.DESFireWriteRecord(3, 0x302010, 0, Bytes(10), true), sceSuccess);
  ExpectSettings("02", "02");  // an amount, four bytes
  pcsc.Expect("90DC000005 02 E8030000 00", "9100");
  EXPECT_EQ(e.DESFireDebit(2, 1000), sceSuccess);
  ExpectSettings("01", "00");  // the card ends the chain too early
  pcsc.Expect(header + "2E0000" + Bytes(45) + "00", "9100");
  ExpectError(e, e.DESFireWriteData(1, 0, 0, Bytes(46), true), err::kOperationFailed, "9100");
  EXPECT_EQ(pcsc.PendingFrames(), 0u);
}

TEST_F(DesfireFrames, KeyCryptogramsCarryTheirChecksums) {
  pcsc.AnswerAnyFrame("9100");
  const std::string newKey = "1122334455667788";
  const std::string mixed = "EEDDCCBBAA998877EEDDCCBBAA998877";  // old (all FF) XOR new
  ASSERT_EQ(e.DESFireChangeKey(1, "FFFFFFFFFFFFFFFF", newKey), sceSuccess);
  ASSERT_EQ(e.DESFireChangeKey(1, std::string(32, 'F'), newKey + newKey), sceSuccess);
  ASSERT_EQ(e.DESFireChangeKey(0, std::string(16, '0'), newKey), sceSuccess);  // its own key
  ASSERT_EQ(e.DESFireChangeKeySettings(dfkApplDefault), sceSuccess);
  const auto& frames = pcsc.frames();
  ASSERT_EQ(frames.size(), 4u);
  EXPECT_EQ(frames[0], frames[1]);  // a 16-digit key is the 32-digit key with equal halves
  EXPECT_EQ(frames[0].substr(0, 12), "90C400001901");
  EXPECT_EQ(frames[0].size(), 12 + 48 + 2u);
  // Another key: old XOR new, its CRC, the new key's CRC, four zero bytes.
  EXPECT_EQ(Plain(frames[0], 12, 48),
            mixed + test::Crc(mixed) + test::Crc(newKey + newKey) + "00000000");
  EXPECT_EQ(Plain(frames[2], 12, 48),
            newKey + newKey + test::Crc(newKey + newKey) + "000000000000");
  EXPECT_EQ(frames[3].substr(0, 10), "9054000008");
  EXPECT_EQ(Plain(frames[3], 10, 16), "0F" + test::Crc("0F") + "0000000000");
}

TEST_F(DesfireFrames, FileSettingsGoEncipheredWhenThePlainFormIsRefused) {
  pcsc.Expect("905F000004 02 02 3412 00", "917E");
  pcsc.AnswerAnyFrame("9100");
  EXPECT_EQ(e.DESFireChangeFileSettings(2, 2, 1, 2, 3, 4), sceSuccess);
  ASSERT_EQ(pcsc.frames().size(), 2u);
  EXPECT_EQ(pcsc.frames()[1].substr(0, 12), "905F00000902");
  EXPECT_EQ(Plain(pcsc.frames()[1], 12, 16), "023412" + test::Crc("023412") + "000000");
}

// The session key takes the first halves of RndA and RndB, then their second halves (a 32-digit
// key) or the first halves again (a 16-digit key).
TEST_F(DesfireFrames, SessionKeyFollowsTheKindOfKey) {
  for (const std::string key : {"1122334455667788", "11223344556677881122334455667788"}) {
    session = bench.Authenticate("A1B2C3", 1, key);
    pcsc.AnswerAnyFrame("9100");
    ASSERT_EQ(e.DESFireChangeKeySettings(dfkApplDefault), sceSuccess);
    EXPECT_EQ(Plain(pcsc.frames().back(), 10, 16), "0F" + test::Crc("0F") + "0000000000");
  }
}

TEST_F(DesfireFrames, AuthenticationFailures) {
  pcsc.Expect("905A000003 A1B2C3 00", "9100");
  pcsc.Expect("900A000001 02 00", "9100");  // no challenge
  ExpectError(e, e.DESFireSelectApplication("A1 B2 C3", 2, "00"), err::kCannotConnectPicc, "9100");
  EXPECT_EQ(e.LastError().RdrCommand(), "DesfireAuthenticate2");
  pcsc.Expect("905A000003 A1B2C3 00", "9100");
  pcsc.Expect("900A000001 00 00", "0102030405060708 91AF");
  pcsc.AnswerAnyFrame("1122334455667788 9100");  // not RndA turned by one byte
  ExpectError(e, e.DESFireSelectApplication("A1B2C3", 0, kAppKey), err::kAuthenticationFailure,
              "RndA failed");
  EXPECT_EQ(e.LastError().RdrCommand(), "DesfireAuthenticate4");
  // The session of the authentication before still enciphers.
  pcsc.ClearLog();
  ASSERT_EQ(e.DESFireChangeKeySettings(dfkApplDefault), sceSuccess);
  EXPECT_EQ(Plain(pcsc.frames().back(), 10, 16), "0F" + test::Crc("0F") + "0000000000");

  // Without a cryptographic generator there is no authentication at all.
  struct NoGeneratorHost : test::VirtualHost {
    bool FillRandom(std::span<std::uint8_t> /*bytes*/) override { return false; }
  };
  Encoder without(Platform{bench.pcsc, std::make_shared<NoGeneratorHost>(), nullptr});
  without.Parameters(std::string("Device=") + test::ScriptedPcsc::kReaderName);
  ASSERT_EQ(without.OpenEncoder(0), sceSuccess);
  pcsc.Expect("905A000003 A1B2C3 00", "9100");
  pcsc.Expect("900A000001 00 00", "0102030405060708 91AF");
  ExpectError(without, without.DESFireSelectApplication("A1B2C3", 0, kFactoryKey),
              err::kOperationFailed, "No cryptographic random source");
}

// Neither a key, nor the session key, nor a token or cryptogram shows in the trace.
TEST_F(DesfireFrames, TraceShowsNoKeyNorSecretOfTheSession) {
  session = bench.ExpectAuthentication("A1B2C3", 0, kAppKey, "F0E1D2C3B4A59687");
  ASSERT_EQ(e.DESFireSelectApplication("A1B2C3", 0, kAppKey), sceSuccess);
  pcsc.AnswerAnyFrame("9100");
  ASSERT_EQ(e.DESFireChangeKey(1, kFactoryKey, "1122334455667788"), sceSuccess);
  ASSERT_EQ(e.DESFireChangeKeySettings(dfkApplDefault), sceSuccess);
  std::string trace;
  for (const std::string& line : bench.trace) trace += test::Compact(line) + '\n';
  ASSERT_EQ(pcsc.frames().size(), 5u);
  const std::string secrets[] = {kAppKey,
                                 session,
                                 "1122334455667788",
                                 pcsc.frames()[2].substr(10, 32),
                                 pcsc.frames()[3].substr(12, 48),
                                 pcsc.frames()[4].substr(10, 16)};
  for (const std::string& secret : secrets) {
    for (std::size_t at = 0; at < secret.size(); at += 16)
      EXPECT_EQ(trace.find(secret.substr(at, 16)), std::string::npos) << secret;
  }
}

// Plain text (IsDataHexaString false) is one byte a character in the code page (the conversion
// test has every byte's character, the script runner's test a text written and read back on the
// simulator): a character with no one-byte form is refused before anything is sent.
TEST_F(DesfireFrames, PlainTextOutsideTheCodePageIsRefusedBeforeSending) {
  ExpectError(e, e.DESFireWriteData(1, 0, 0, "ok \xE4\xB8\xAD", false), err::kNotInCodePage);
  EXPECT_EQ(e.LastError().Description(), "Character not in the code page: U+4E2D");
  EXPECT_EQ(e.LastError().ComFunction(), "DESFireWriteData");
  EXPECT_TRUE(pcsc.frames().empty());
}

// The version is read once and kept for the encoder's life. The storage code: 2^(n/2) when even,
// the midpoint (halves to even) when odd; 2^32 does not fit.
TEST(DesfireVersion, IsReadOnceAndGivesTheStorageSize) {
  for (const auto& [code, size] : {std::pair{"18", 4096}, {"19", 6144}, {"01", 2}, {"40", 0}}) {
    test::ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->Expect("9060000000", "04 01 01 01 00 1A 05 91AF");
    bench.pcsc->Expect("90AF000000", std::string("04 01 01 01 04") + code + "05 91AF");
    bench.pcsc->Expect("90AF000000", "04 11 22 33 44 55 66 BA 7C 51 26 40 24 19 9100");
    Variant info;
    EXPECT_EQ(bench.encoder.DESFireGetVersion(dfvStorageSize, info), size ? sceSuccess : sceError);
    EXPECT_EQ(info, size ? Variant::FromInt32(size) : Variant::FromByte(0)) << code;
    ASSERT_EQ(bench.encoder.DESFireGetVersion(dfvUID, info), sceSuccess);
    EXPECT_EQ(info, Variant::FromBytes({0x04, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66}));
    EXPECT_EQ(bench.pcsc->frames().size(), 3u);  // later calls never reach the card
  }
}

}  // namespace
}  // namespace lumivex
