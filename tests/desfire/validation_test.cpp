// Every DESFire operation checks its arguments in a fixed order, each check with its own number,
// before anything reaches the reader: the scripted reader here has no frame to answer.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

constexpr const char* kKey = "0000000000000000";

enum class Level { Root, App };

using enum Level;

struct Case {
  std::function<sceReturnCode(Encoder&)> call;
  const char* function;
  std::int32_t number;
  Level level;
};

// clang-format off
const Case kCases[] = {
    // Selection: identifier, key number, key digits, key length.
    {[](Encoder& e) { return e.DESFireSelectApplication("GG0000", 14, "zz"); }, "DESFireSelectApplication", err::kIncorrectAppId, Root},
    {[](Encoder& e) { return e.DESFireSelectApplication("A1\tB2C3", 14, "zz"); }, "DESFireSelectApplication", err::kIncorrectAppId, Root},
    {[](Encoder& e) { return e.DESFireSelectApplication(" a1 b2 c3 ", 14, "zz"); }, "DESFireSelectApplication", err::kBadKeyNumber, Root},
    {[](Encoder& e) { return e.DESFireSelectApplication("A1B2C3", 13, "0G"); }, "DESFireSelectApplication", err::kInvalidKey, Root},
    {[](Encoder& e) { return e.DESFireSelectApplication("A1B2C3", 0, ""); }, "DESFireSelectApplication", err::kBadKeyLength, Root},
    // Card and applications: root level, identifier, key settings, key count.
    {[](Encoder& e) { return e.DESFireFormat(); }, "DESFireFormat", err::kOnlyAtRoot, App},
    {[](Encoder& e) { return e.DESFireCreateApplication("00", dfkApplDefault, 0); }, "DESFireCreateApplication", err::kOnlyAtRoot, App},
    {[](Encoder& e) { return e.DESFireCreateApplication("00 00 00", dfkApplDefault, 0); }, "DESFireCreateApplication", err::kIncorrectAppId, Root},
    {[](Encoder& e) { return e.DESFireCreateApplication("A1B2C3", dfkApplDefault, 0); }, "DESFireCreateApplication", err::kInvalidParameter, Root},
    {[](Encoder& e) { return e.DESFireDeleteApplication("000000"); }, "DESFireDeleteApplication", err::kIncorrectAppId, App},
    // Keys: key number (0 only at root), key lengths, settings.
    {[](Encoder& e) { return e.DESFireChangeKey(1, kKey, kKey); }, "DESFireChangeKey", err::kBadKeyNumber, Root},
    {[](Encoder& e) { return e.DESFireChangeKey(14, "", ""); }, "DESFireChangeKey", err::kBadKeyNumber, App},
    {[](Encoder& e) { return e.DESFireChangeKey(13, kKey, std::string(31, '0')); }, "DESFireChangeKey", err::kBadKeyLength, App},
    {[](Encoder& e) { return e.DESFireChangeKeySettings(DesfireKeySettings(256)); }, "DESFireChangeKeySettings", err::kInvalidParameter, App},
    // Files: file number, communication settings, rights, kind-specific values.
    {[](Encoder& e) { return e.DESFireCreateStdDataFile(16, 2, 0, 0, 0, 0, 0); }, "DESFireCreateStdDataFile", err::kInvalidFileNumber, App},
    {[](Encoder& e) { return e.DESFireCreateStdDataFile(15, 2, 16, 0, 0, 0, 0); }, "DESFireCreateStdDataFile", err::kInvalidCommSettings, App},
    {[](Encoder& e) { return e.DESFireCreateStdDataFile(0, 3, 15, 15, 15, -1, 0); }, "DESFireCreateStdDataFile", err::kBadKeyNumber, App},
    {[](Encoder& e) { return e.DESFireCreateStdDataFile(0, 1, 0, 0, 0, 0, 16777216); }, "DESFireCreateStdDataFile", err::kInvalidFileSize, App},
    {[](Encoder& e) { return e.DESFireCreateBackupDataFile(8, 0, 0, 0, 0, 0, 1); }, "DESFireCreateBackupDataFile", err::kInvalidFileNumber, App},
    {[](Encoder& e) { return e.DESFireCreateValueFile(0, 2, 0, 0, 0, 0, 0, 0, 0, false); }, "DESFireCreateValueFile", err::kInvalidCommSettings, App},
    {[](Encoder& e) { return e.DESFireCreateValueFile(0, 0, 0, 0, 0, 0, 1, -1, 5, false); }, "DESFireCreateValueFile", err::kInvalidLimits, App},
    {[](Encoder& e) { return e.DESFireCreateValueFile(7, 0, 0, 0, 0, 0, -100, 100, -101, true); }, "DESFireCreateValueFile", err::kValueOutOfBounds, App},
    {[](Encoder& e) { return e.DESFireCreateLinearRecordFile(0, 0, 0, 0, 0, 0, 0, 0); }, "DESFireCreateLinearRecordFile", err::kInvalidRecordSize, App},
    {[](Encoder& e) { return e.DESFireCreateCyclicRecordFile(0, 0, 0, 0, 0, 0, 1, 16777216); }, "DESFireCreateCyclicRecordFile", err::kInvalidRecordCount, App},
    {[](Encoder& e) { std::string info; return e.DESFireGetFileSettings(-1, info); }, "DESFireGetFileSettings", err::kInvalidFileNumber, App},
    {[](Encoder& e) { return e.DESFireChangeFileSettings(15, 256, 0, 0, 0, 0); }, "DESFireChangeFileSettings", err::kInvalidCommSettings, App},
    {[](Encoder& e) { return e.DESFireChangeFileSettings(15, 2, 0, 16, 0, 0); }, "DESFireChangeFileSettings", err::kBadKeyNumber, App},
    // Data and records: file number, offset, length.
    {[](Encoder& e) { return e.DESFireWriteData(15, 16777216, -1, "00", true); }, "DESFireWriteData", err::kInvalidOffset, App},
    {[](Encoder& e) { std::string d; return e.DESFireReadData(0, 16777215, 16777216, d, true); }, "DESFireReadData", err::kInvalidLength, App},
    {[](Encoder& e) { return e.DESFireWriteRecord(0, -1, 0, "00", true); }, "DESFireWriteRecord", err::kInvalidOffset, App},
    {[](Encoder& e) { std::string d; return e.DESFireReadRecords(16, 0, 0, d, true); }, "DESFireReadRecords", err::kInvalidFileNumber, App},
    // Values: file number 0..7, amount.
    {[](Encoder& e) { return e.DESFireDebit(8, -1); }, "DESFireDebit", err::kInvalidFileNumber, App},
    {[](Encoder& e) { return e.DESFireDebit(7, -1); }, "DESFireDebit", err::kInvalidAmount, App},
};
// clang-format on

class DesfireValidation : public ::testing::TestWithParam<Case> {};

TEST_P(DesfireValidation, FailsWithItsNumberBeforeSending) {
  const Case& c = GetParam();
  test::ScriptedEncoder bench;
  bench.Open();
  Encoder& e = bench.encoder;
  bench.Authenticate(c.level == Level::Root ? "000000" : "A1B2C3", 0, kKey);
  EXPECT_EQ(c.call(e), sceError) << c.function;
  EXPECT_EQ(e.LastError().Number(), c.number) << e.LastError().Description();
  EXPECT_EQ(e.LastError().ComFunction(), c.function);
  EXPECT_TRUE(bench.pcsc->frames().empty());
}

INSTANTIATE_TEST_SUITE_P(AllOperations, DesfireValidation, ::testing::ValuesIn(kCases));

}  // namespace
}  // namespace lumivex
