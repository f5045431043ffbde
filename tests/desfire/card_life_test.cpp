// A DESFire card walked through its life on the simulated reader: personalised, filled, used and
// emptied again, with the failures a real card gives along the way.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "sim/desfire/desfire_card.h"
#include "tests/desfire/desfire_helpers.h"
#include "tests/support/simulated_encoder.h"

namespace lumivex {
namespace {

using test::Bytes;
using test::Compact;
using test::ExpectError;

constexpr const char* kFactoryKey = "0000000000000000";
constexpr const char* kApp = "A1B2C3";
constexpr const char* kAppKey = "00112233445566778899AABBCCDDEEFF";  // two-key triple DES
constexpr const char* kKey1 = "1122334455667788";

class DesfireCardLife : public ::testing::Test {
 protected:
  // Root authentication, format, one application with three keys, authenticated with key 0.
  void SetUp() override {
    ASSERT_EQ(e.OpenEncoder(0), sceSuccess);
    ASSERT_EQ(e.DESFireSelectRoot(kFactoryKey), sceSuccess);
    ASSERT_EQ(e.DESFireFormat(), sceSuccess);
    ASSERT_EQ(e.DESFireCreateApplication(kApp, dfkApplDefault, 3), sceSuccess);
    ASSERT_EQ(e.DESFireSelectApplication(kApp, 0, kFactoryKey), sceSuccess);
  }

  void Fails(sceReturnCode result, std::int32_t number, const std::string& retCode = "") {
    ExpectError(e, result, number, retCode);
  }
  std::int32_t Value(std::int32_t file) {
    std::int32_t value = 0;
    EXPECT_EQ(e.DESFireGetValue(file, value), sceSuccess);
    return value;
  }

  test::SimulatedEncoder bench{sim::MakeDesfire()};
  Encoder& e = bench.encoder;
  sim::SimulatedPcsc& pcsc = *bench.pcsc;
};

TEST_F(DesfireCardLife, ApplicationsKeysAndSettings) {
  ASSERT_EQ(e.DESFireSelectRoot(kFactoryKey), sceSuccess);
  ASSERT_EQ(e.DESFireCreateApplication("d4 e5 f6", dfkApplDefault, 2), sceSuccess);
  std::string apps;
  ASSERT_EQ(e.DESFireGetApplications(apps), sceSuccess);
  EXPECT_EQ(apps, "A1B2C3,D4E5F6");

  // The application master key becomes a triple-DES key; the card then wants it.
  ASSERT_EQ(e.DESFireSelectApplication(kApp, 0, kFactoryKey), sceSuccess);
  ASSERT_EQ(e.DESFireChangeKey(0, kFactoryKey, kAppKey), sceSuccess);
  Fails(e.DESFireSelectApplication(kApp, 0, kFactoryKey), err::kAuthenticationFailure, "91AE");
  EXPECT_EQ(e.LastError().RdrCommand(), "DesfireAuthenticate3");
  ASSERT_EQ(e.DESFireSelectApplication(kApp, 0, kAppKey), sceSuccess);

  // Another key: the cryptogram combines old and new keys.
  ASSERT_EQ(e.DESFireChangeKey(1, kFactoryKey, kKey1), sceSuccess);
  std::int32_t version = -1;
  ASSERT_EQ(e.DESFireGetKeyVersion(1, version), sceSuccess);
  EXPECT_EQ(version, 0xAA);  // the low bits of the key's first eight bytes
  ASSERT_EQ(e.DESFireSelectApplication(kApp, 1, kKey1), sceSuccess);
  // Key 1 may not change the settings (only the master key may).
  Fails(e.DESFireChangeKeySettings(static_cast<DesfireKeySettings>(0x0B)), err::kOperationFailed,
        "91AE");

  ASSERT_EQ(e.DESFireSelectApplication(kApp, 0, kAppKey), sceSuccess);
  ASSERT_EQ(e.DESFireChangeKeySettings(static_cast<DesfireKeySettings>(0x0B)), sceSuccess);
  std::int32_t settings = -1, count = -1;
  ASSERT_EQ(e.DESFireGetKeySettings(settings, count), sceSuccess);
  EXPECT_EQ(settings, 0x0B);
  EXPECT_EQ(count, 3);

  ASSERT_EQ(e.DESFireSelectRoot(kFactoryKey), sceSuccess);
  ASSERT_EQ(e.DESFireDeleteApplication(kApp), sceSuccess);
  Fails(e.DESFireSelectApplication(kApp, 0, kFactoryKey), err::kCommandFailed, "91A0");
}

TEST_F(DesfireCardLife, FilesDataAndRecords) {
  ASSERT_EQ(e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 200), sceSuccess);
  ASSERT_EQ(e.DESFireCreateBackupDataFile(2, dfcPlain, 14, 14, 14, 0, 32), sceSuccess);
  ASSERT_EQ(e.DESFireCreateLinearRecordFile(4, dfcPlain, 0, 0, 0, 0, 20, 3), sceSuccess);
  ASSERT_EQ(e.DESFireCreateCyclicRecordFile(5, dfcPlain, 0, 0, 0, 0, 8, 4), sceSuccess);
  std::string ids;
  ASSERT_EQ(e.DESFireGetFileIDs(ids), sceSuccess);
  EXPECT_EQ(ids, "1,2,4,5");
  Fails(e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 8), err::kOperationFailed, "91DE");

  // One frame, two frames, three frames; read back across the card's answer frames.
  for (const int n : {45, 46, 170}) {
    const std::string data = Bytes(n, n);
    ASSERT_EQ(e.DESFireWriteData(1, 0, 0, data, true), sceSuccess) << n;
    std::string read;
    ASSERT_EQ(e.DESFireReadData(1, 0, n, read, true), sceSuccess) << n;
    EXPECT_EQ(Compact(read), data) << n;
  }
  std::string text;
  ASSERT_EQ(e.DESFireWriteData(1, 10, 0, "Hello, card", false), sceSuccess);
  ASSERT_EQ(e.DESFireReadData(1, 10, 11, text, false), sceSuccess);
  EXPECT_EQ(text, "Hello, card");
  Fails(e.DESFireReadData(1, 190, 20, text, true), err::kOperationFailed, "91BE");

  // Backup files and records only change when the transaction is committed.
  ASSERT_EQ(e.DESFireWriteData(2, 0, 0, Bytes(4, 0xA0), true), sceSuccess);
  ASSERT_EQ(e.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(e.DESFireReadData(2, 0, 4, text, true), sceSuccess);
  EXPECT_EQ(Compact(text), Bytes(4, 0xA0));
  ASSERT_EQ(e.DESFireWriteRecord(4, 0, 0, Bytes(20, 1), true), sceSuccess);
  ASSERT_EQ(e.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(e.DESFireWriteRecord(4, 0, 0, Bytes(20, 2), true), sceSuccess);
  ASSERT_EQ(e.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(e.DESFireReadRecords(4, 0, 0, text, true), sceSuccess);
  EXPECT_EQ(Compact(text), Bytes(20, 1) + Bytes(20, 2));  // oldest record first
  ASSERT_EQ(e.DESFireClearRecordFile(4), sceSuccess);
  ASSERT_EQ(e.DESFireCommitTransaction(), sceSuccess);
  Fails(e.DESFireReadRecords(4, 0, 0, text, true), err::kOperationFailed, "91BE");
  Fails(e.DESFireWriteData(4, 0, 0, "00", true), err::kWrongFileType);

  // Settings: a free change right takes them plain, a key right enciphered.
  std::string info;
  std::size_t frames = pcsc.transmitCount();
  ASSERT_EQ(e.DESFireChangeFileSettings(2, dfcPlain, 14, 14, 14, 0), sceSuccess);
  EXPECT_EQ(pcsc.transmitCount() - frames, 2u);  // plain refused, then enciphered
  ASSERT_EQ(e.DESFireChangeFileSettings(2, dfcPlainMac, 1, 2, 3, 14), sceSuccess);
  frames = pcsc.transmitCount();
  ASSERT_EQ(e.DESFireChangeFileSettings(2, dfcPlain, 1, 2, 3, 4), sceSuccess);
  EXPECT_EQ(pcsc.transmitCount() - frames, 1u);  // the change right is free now
  ASSERT_EQ(e.DESFireGetFileSettings(2, info), sceSuccess);
  EXPECT_EQ(info.substr(0, 11), "01 00 34 12");

  ASSERT_EQ(e.DESFireDeleteFile(5), sceSuccess);
  Fails(e.DESFireReadData(5, 0, 0, text, true), err::kFileNotFound, "91F0");
}

TEST_F(DesfireCardLife, ValuesAndTransactions) {
  ASSERT_EQ(e.DESFireCreateValueFile(3, dfcPlain, 0, 0, 0, 0, -100, 1000, 10, true), sceSuccess);
  EXPECT_EQ(Value(3), 10);
  Fails(e.DESFireCommitTransaction(), err::kNoChanges, "910C");
  ASSERT_EQ(e.DESFireCredit(3, 50), sceSuccess);
  ASSERT_EQ(e.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(e.DESFireDebit(3, 5), sceSuccess);
  ASSERT_EQ(e.DESFireAbortTransaction(), sceSuccess);
  EXPECT_EQ(Value(3), 60);
  // The card's limits: beyond the file's bounds, or crediting back more than the last debits.
  Fails(e.DESFireDebit(3, 161), err::kValueExceedsLimits, "91BE");
  Fails(e.DESFireCredit(3, 941), err::kValueExceedsLimits, "91BE");
  ASSERT_EQ(e.DESFireDebit(3, 160), sceSuccess);
  ASSERT_EQ(e.DESFireCommitTransaction(), sceSuccess);
  Fails(e.DESFireLimitedCredit(3, 161), err::kCreditExceedsLimit, "91BE");
  ASSERT_EQ(e.DESFireLimitedCredit(3, 160), sceSuccess);
  ASSERT_EQ(e.DESFireCommitTransaction(), sceSuccess);
  EXPECT_EQ(Value(3), 60);
  Fails(e.DESFireAbortTransaction(), err::kNoChanges, "910C");
  std::int32_t value = 60;
  Fails(e.DESFireGetValue(4, value), err::kFileNotFound, "91F0");
  EXPECT_EQ(value, 60);  // an output is left alone on failure
}

// Every operation runs in one shared frame: its own trace lines around it and, on success, a
// cleared record that names it. Here an operation after a failure, and a selection, which frames
// its authentication; that every member names itself is the engine fuzzer's check, which its seeds
// make for each member they call.
TEST_F(DesfireCardLife, EachOperationIsFramedAndNamedOnSuccess) {
  Fails(e.DESFireCommitTransaction(), err::kNoChanges, "910C");
  const std::pair<std::string, std::function<sceReturnCode()>> steps[] = {
      {"DESFireCreateValueFile",
       [&] { return e.DESFireCreateValueFile(3, 0, 0, 0, 0, 0, 0, 99, 50, true); }},
      {"DESFireSelectRoot", [&] { return e.DESFireSelectRoot(kFactoryKey); }},
  };
  for (const auto& [name, call] : steps) {
    bench.trace.clear();
    ASSERT_EQ(call(), sceSuccess) << name << ": " << e.LastError().Description();
    EXPECT_EQ(bench.trace.front() + " " + bench.trace.back(), "--> " + name + " <-- " + name);
    EXPECT_EQ(e.LastError().Number(), 0) << name;
    EXPECT_EQ(e.LastError().ComFunction(), name);
  }
}

}  // namespace
}  // namespace lumivex
