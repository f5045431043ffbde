// A DESFire card walked through its life on the simulated reader: personalised, filled, used and
// emptied again, with the failures a real card gives along the way.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "sim/desfire/desfire_card.h"
#include "sim/simulated_pcsc.h"
#include "tests/desfire/hex_text.h"
#include "tests/support/encoder_test_peer.h"
#include "tests/support/virtual_host.h"

namespace lumivex {
namespace {

using test::Bytes;
using test::Compact;

constexpr const char* kFactoryKey = "0000000000000000";
constexpr const char* kApp = "A1B2C3";
constexpr const char* kAppKey = "00112233445566778899AABBCCDDEEFF";  // two-key triple DES
constexpr const char* kKey1 = "1122334455667788";

class DesfireCardLife : public ::testing::Test {
 protected:
  void SetUp() override {
    pcsc->InsertCard(sim::MakeDesfire());
    encoder.Parameters(std::string("Device=") + sim::SimulatedPcsc::kDefaultReaderName);
    ASSERT_EQ(encoder.OpenEncoder(0), sceSuccess);
  }

  // Root authentication, format, one application with three keys, authenticated with key 0.
  void Personalise() {
    ASSERT_EQ(encoder.DESFireSelectRoot(kFactoryKey), sceSuccess);
    ASSERT_EQ(encoder.DESFireFormat(), sceSuccess);
    ASSERT_EQ(encoder.DESFireCreateApplication(kApp, dfkApplDefault, 3), sceSuccess);
    ASSERT_EQ(encoder.DESFireSelectApplication(kApp, 0, kFactoryKey), sceSuccess);
  }

  void ExpectFailure(sceReturnCode result, std::int32_t number, const std::string& retCode = "") {
    EXPECT_EQ(result, sceError);
    EXPECT_EQ(encoder.LastError().Number(), number) << encoder.LastError().Description();
    if (!retCode.empty()) {
      EXPECT_EQ(encoder.LastError().RdrRetCode(), retCode);
    }
  }

  std::shared_ptr<sim::SimulatedPcsc> pcsc = std::make_shared<sim::SimulatedPcsc>();
  Encoder encoder{Platform{pcsc, std::make_shared<test::VirtualHost>(), nullptr}};
};

TEST_F(DesfireCardLife, ApplicationsKeysAndSettings) {
  Personalise();
  ASSERT_EQ(encoder.DESFireSelectRoot(kFactoryKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateApplication("d4 e5 f6", dfkApplDefault, 2), sceSuccess);
  std::string apps;
  ASSERT_EQ(encoder.DESFireGetApplications(apps), sceSuccess);
  EXPECT_EQ(apps, "A1B2C3,D4E5F6");
  ExpectFailure(encoder.DESFireCreateApplication(kApp, dfkApplDefault, 2), err::kOperationFailed,
                "91DE");

  // The application master key becomes a triple-DES key; the card then wants it.
  ASSERT_EQ(encoder.DESFireSelectApplication(kApp, 0, kFactoryKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireChangeKey(0, kFactoryKey, kAppKey), sceSuccess);
  ExpectFailure(encoder.DESFireSelectApplication(kApp, 0, kFactoryKey), err::kAuthenticationFailure,
                "91AE");
  EXPECT_EQ(encoder.LastError().RdrCommand(), "DesfireAuthenticate3");
  ASSERT_EQ(encoder.DESFireSelectApplication(kApp, 0, kAppKey), sceSuccess);
  const std::string session = EncoderTestPeer::SessionKey(encoder);
  ASSERT_EQ(session.size(), 32u);
  EXPECT_NE(session.substr(0, 16), session.substr(16));

  // Another key: the cryptogram combines old and new keys.
  ASSERT_EQ(encoder.DESFireChangeKey(1, kFactoryKey, kKey1), sceSuccess);
  std::int32_t version = -1;
  ASSERT_EQ(encoder.DESFireGetKeyVersion(1, version), sceSuccess);
  EXPECT_EQ(version, 0xAA);  // the low bits of the key's first eight bytes
  ASSERT_EQ(encoder.DESFireSelectApplication(kApp, 1, kKey1), sceSuccess);
  const std::string single = EncoderTestPeer::SessionKey(encoder);
  EXPECT_EQ(single.substr(0, 16), single.substr(16));  // single-DES session: halves repeat
  // Key 1 may not change the settings (only the master key may).
  ExpectFailure(encoder.DESFireChangeKeySettings(static_cast<DesfireKeySettings>(0x0B)),
                err::kOperationFailed, "91AE");

  ASSERT_EQ(encoder.DESFireSelectApplication(kApp, 0, kAppKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireChangeKeySettings(static_cast<DesfireKeySettings>(0x0B)), sceSuccess);
  std::int32_t settings = -1;
  std::int32_t count = -1;
  ASSERT_EQ(encoder.DESFireGetKeySettings(settings, count), sceSuccess);
  EXPECT_EQ(settings, 0x0B);
  EXPECT_EQ(count, 3);

  ASSERT_EQ(encoder.DESFireSelectRoot(kFactoryKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireDeleteApplication(kApp), sceSuccess);
  ASSERT_EQ(encoder.DESFireGetApplications(apps), sceSuccess);
  EXPECT_EQ(apps, "D4E5F6");
  ExpectFailure(encoder.DESFireSelectApplication(kApp, 0, kFactoryKey), err::kCommandFailed,
                "91A0");
}

TEST_F(DesfireCardLife, FilesDataAndRecords) {
  Personalise();
  ASSERT_EQ(encoder.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 200), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateBackupDataFile(2, dfcPlain, 14, 14, 14, 0, 32), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateLinearRecordFile(4, dfcPlain, 0, 0, 0, 0, 20, 3), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateCyclicRecordFile(5, dfcPlain, 0, 0, 0, 0, 8, 4), sceSuccess);
  std::string ids;
  ASSERT_EQ(encoder.DESFireGetFileIDs(ids), sceSuccess);
  EXPECT_EQ(ids, "1,2,4,5");
  ExpectFailure(encoder.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 8), err::kOperationFailed,
                "91DE");

  // One frame, two frames, three frames; read back across the card's answer frames.
  for (const int n : {45, 46, 170}) {
    const std::string data = Bytes(n, n);
    ASSERT_EQ(encoder.DESFireWriteData(1, 0, 0, data, true), sceSuccess) << n;
    std::string read;
    ASSERT_EQ(encoder.DESFireReadData(1, 0, n, read, true), sceSuccess) << n;
    EXPECT_EQ(Compact(read), data) << n;
  }
  std::string text;
  ASSERT_EQ(encoder.DESFireWriteData(1, 10, 0, "Hello, card", false), sceSuccess);
  ASSERT_EQ(encoder.DESFireReadData(1, 10, 11, text, false), sceSuccess);
  EXPECT_EQ(text, "Hello, card");
  ExpectFailure(encoder.DESFireReadData(1, 190, 20, text, true), err::kOperationFailed, "91BE");

  // Backup files and records only change when the transaction is committed.
  ASSERT_EQ(encoder.DESFireWriteData(2, 0, 0, Bytes(4, 0xA0), true), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(encoder.DESFireReadData(2, 0, 4, text, true), sceSuccess);
  EXPECT_EQ(Compact(text), Bytes(4, 0xA0));
  ASSERT_EQ(encoder.DESFireWriteRecord(4, 0, 0, Bytes(20, 1), true), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(encoder.DESFireWriteRecord(4, 0, 0, Bytes(20, 2), true), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(encoder.DESFireReadRecords(4, 0, 0, text, true), sceSuccess);
  EXPECT_EQ(Compact(text), Bytes(20, 1) + Bytes(20, 2));  // oldest record first
  ASSERT_EQ(encoder.DESFireClearRecordFile(4), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  ExpectFailure(encoder.DESFireReadRecords(4, 0, 0, text, true), err::kOperationFailed, "91BE");
  ExpectFailure(encoder.DESFireWriteData(4, 0, 0, "00", true), err::kWrongFileType);

  // Settings: a free change right takes them plain, a key right enciphered.
  std::string info;
  std::size_t frames = pcsc->transmitCount();
  ASSERT_EQ(encoder.DESFireChangeFileSettings(2, dfcPlain, 14, 14, 14, 0), sceSuccess);
  EXPECT_EQ(pcsc->transmitCount() - frames, 2u);  // plain refused, then enciphered
  ASSERT_EQ(encoder.DESFireChangeFileSettings(2, dfcPlainMac, 1, 2, 3, 14), sceSuccess);
  frames = pcsc->transmitCount();
  ASSERT_EQ(encoder.DESFireChangeFileSettings(2, dfcPlain, 1, 2, 3, 4), sceSuccess);
  EXPECT_EQ(pcsc->transmitCount() - frames, 1u);  // the change right is free now
  ASSERT_EQ(encoder.DESFireGetFileSettings(2, info), sceSuccess);
  EXPECT_EQ(info.substr(0, 11), "01 00 34 12");

  ASSERT_EQ(encoder.DESFireDeleteFile(5), sceSuccess);
  ASSERT_EQ(encoder.DESFireGetFileIDs(ids), sceSuccess);
  EXPECT_EQ(ids, "1,2,4");
  ExpectFailure(encoder.DESFireReadData(5, 0, 0, text, true), err::kFileNotFound, "91F0");
}

TEST_F(DesfireCardLife, ValuesAndTransactions) {
  Personalise();
  ASSERT_EQ(encoder.DESFireCreateValueFile(3, dfcPlain, 0, 0, 0, 0, -100, 1000, 10, true),
            sceSuccess);
  std::int32_t value = 0;
  ASSERT_EQ(encoder.DESFireGetValue(3, value), sceSuccess);
  EXPECT_EQ(value, 10);
  ExpectFailure(encoder.DESFireCommitTransaction(), err::kNoChanges, "910C");

  ASSERT_EQ(encoder.DESFireCredit(3, 50), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(encoder.DESFireDebit(3, 5), sceSuccess);
  ASSERT_EQ(encoder.DESFireAbortTransaction(), sceSuccess);
  ASSERT_EQ(encoder.DESFireGetValue(3, value), sceSuccess);
  EXPECT_EQ(value, 60);

  ExpectFailure(encoder.DESFireDebit(3, 161), err::kValueExceedsLimits, "91BE");
  ASSERT_EQ(encoder.DESFireDebit(3, 160), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(encoder.DESFireGetValue(3, value), sceSuccess);
  EXPECT_EQ(value, -100);

  // A limited credit gives back at most what the last debits took.
  ExpectFailure(encoder.DESFireLimitedCredit(3, 161), err::kCreditExceedsLimit, "91BE");
  ASSERT_EQ(encoder.DESFireLimitedCredit(3, 160), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  ASSERT_EQ(encoder.DESFireGetValue(3, value), sceSuccess);
  EXPECT_EQ(value, 60);
  ExpectFailure(encoder.DESFireAbortTransaction(), err::kNoChanges, "910C");
  ExpectFailure(encoder.DESFireGetValue(4, value), err::kFileNotFound, "91F0");
  EXPECT_EQ(value, 60);
}

// Every operation runs in the same frame: its entry and exit lines open and close its trace,
// and a success leaves the record clear, naming the operation.
TEST_F(DesfireCardLife, EachOperationIsFramedAndNamedOnSuccess) {
  Personalise();
  std::vector<std::string> trace;
  encoder.SetTraceSink([&](std::string_view line) { trace.emplace_back(line); });
  std::string text;
  std::int32_t number = 0;
  Encoder& e = encoder;
  const std::vector<std::pair<std::string, std::function<sceReturnCode()>>> steps{
      {"DESFireCreateStdDataFile", [&] { return e.DESFireCreateStdDataFile(1, 0, 0, 0, 0, 0, 8); }},
      {"DESFireCreateBackupDataFile",
       [&] { return e.DESFireCreateBackupDataFile(2, 0, 0, 0, 0, 0, 8); }},
      {"DESFireCreateValueFile",
       [&] { return e.DESFireCreateValueFile(3, 0, 0, 0, 0, 0, 0, 99, 50, true); }},
      {"DESFireCreateLinearRecordFile",
       [&] { return e.DESFireCreateLinearRecordFile(4, 0, 0, 0, 0, 0, 2, 2); }},
      {"DESFireCreateCyclicRecordFile",
       [&] { return e.DESFireCreateCyclicRecordFile(5, 0, 0, 0, 0, 0, 2, 3); }},
      {"DESFireWriteData", [&] { return e.DESFireWriteData(1, 0, 0, "0102", true); }},
      {"DESFireReadData", [&] { return e.DESFireReadData(1, 0, 2, text, true); }},
      {"DESFireWriteRecord", [&] { return e.DESFireWriteRecord(4, 0, 0, "0102", true); }},
      {"DESFireCommitTransaction", [&] { return e.DESFireCommitTransaction(); }},
      {"DESFireReadRecords", [&] { return e.DESFireReadRecords(4, 0, 0, text, true); }},
      {"DESFireCredit", [&] { return e.DESFireCredit(3, 1); }},
      {"DESFireDebit", [&] { return e.DESFireDebit(3, 10); }},
      {"DESFireCommitTransaction", [&] { return e.DESFireCommitTransaction(); }},
      {"DESFireLimitedCredit", [&] { return e.DESFireLimitedCredit(3, 5); }},
      {"DESFireAbortTransaction", [&] { return e.DESFireAbortTransaction(); }},
      {"DESFireGetValue", [&] { return e.DESFireGetValue(3, number); }},
      {"DESFireClearRecordFile", [&] { return e.DESFireClearRecordFile(4); }},
      {"DESFireGetFileSettings", [&] { return e.DESFireGetFileSettings(1, text); }},
      {"DESFireGetFileIDs", [&] { return e.DESFireGetFileIDs(text); }},
      {"DESFireDeleteFile", [&] { return e.DESFireDeleteFile(5); }},
      {"DESFireGetKeyVersion", [&] { return e.DESFireGetKeyVersion(0, number); }},
      {"DESFireSelectRoot", [&] { return e.DESFireSelectRoot(kFactoryKey); }},
      {"DESFireFormat", [&] { return e.DESFireFormat(); }},
  };
  for (const auto& [name, call] : steps) {
    trace.clear();
    ASSERT_EQ(call(), sceSuccess) << name << ": " << e.LastError().Description();
    EXPECT_EQ(trace.front(), "--> " + name);
    EXPECT_EQ(trace.back(), "<-- " + name);
    EXPECT_EQ(e.LastError().Number(), 0) << name;
    EXPECT_EQ(e.LastError().ComFunction(), name);
  }
  encoder.SetTraceSink({});
}

TEST_F(DesfireCardLife, TraceShowsNoKeyNorSessionKey) {
  std::vector<std::string> trace;
  encoder.SetTraceSink([&](std::string_view line) { trace.emplace_back(line); });
  Personalise();
  ASSERT_EQ(encoder.DESFireChangeKey(0, kFactoryKey, kAppKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireSelectApplication(kApp, 0, kAppKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireChangeKeySettings(dfkApplDefault), sceSuccess);
  const std::string session = EncoderTestPeer::SessionKey(encoder);
  ASSERT_GT(trace.size(), 20u);
  for (const std::string& line : trace) {
    for (const std::string& secret :
         {std::string(kAppKey), session, session.substr(0, 16), std::string(kAppKey).substr(16)}) {
      EXPECT_EQ(Compact(line).find(secret), std::string::npos) << line;
    }
  }
  EncoderTestPeer::WipeDesfireSession(encoder);
  EXPECT_TRUE(EncoderTestPeer::SessionKey(encoder).empty());
  encoder.SetTraceSink({});  // the destructor traces too, after `trace` is gone
}

// The frames a typical personalisation sends: root authentication, format, an application, its
// authentication, a key change, four files, a write and a read, a credit and a debit, a commit.
TEST_F(DesfireCardLife, PersonalisationFrameCount) {
  const std::size_t before = pcsc->transmitCount();
  Personalise();
  ASSERT_EQ(encoder.DESFireChangeKey(1, kFactoryKey, kKey1), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 32), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateBackupDataFile(2, dfcPlain, 0, 0, 0, 0, 32), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateValueFile(3, dfcPlain, 0, 0, 0, 0, 0, 1000, 0, false), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateLinearRecordFile(4, dfcPlain, 0, 0, 0, 0, 16, 10), sceSuccess);
  std::string read;
  ASSERT_EQ(encoder.DESFireWriteData(1, 0, 0, Bytes(32), true), sceSuccess);
  ASSERT_EQ(encoder.DESFireReadData(1, 0, 0, read, true), sceSuccess);
  ASSERT_EQ(encoder.DESFireCredit(3, 100), sceSuccess);
  ASSERT_EQ(encoder.DESFireDebit(3, 30), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  // 3 (root) + 1 + 1 + 3 (application) + 1 + 4 + 2 x 2 (file settings, then the transfer)
  // + 2 x 2 (likewise) + 1.
  EXPECT_EQ(pcsc->transmitCount() - before, 22u);
}

}  // namespace
}  // namespace lumivex
