#include <gtest/gtest.h>

#include <sstream>

#include "component/error_codes.h"
#include "component/texts.h"
#include "tests/support/encoder_test_peer.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

using Peer = EncoderTestPeer;
using test::PcscCall;

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> parts;
  std::stringstream stream(text);
  for (std::string part; std::getline(stream, part, '|');) parts.push_back(part);
  return parts;
}

// Every command of the table: its frame, its trace name and the command name a refusal records
// (the same as the trace name unless given).
TEST(EncoderCommand, FillsEveryTemplateByteForByte) {
  struct Case {
    std::int32_t code;
    std::string params, traceName, commandName, frame;
  };
  // clang-format off
  const std::vector<Case> cases = {
      {cmd::Escape, "ff ca-00:00 00", "ec_Escape", "Escape", "FFCA000000"},
      {cmd::EscapeExt, "FFCA000004", "ec_EscapeExt", "EscapeExt", "FFCA000004"},
      {cmd::GetUID, "", "GetUID", "", "FFCA000000"},
      {cmd::ContinueResponse, "", "ContinueResponse", "MoreResponse", "90AF000000"},
      {cmd::LoadKey, "01|A0A1A2A3A4A5", "LoadKey", "", "FF82000106A0A1A2A3A4A5"},
      {cmd::GeneralAuthenticate, "60|04", "GeneralAuthenticate", "", "FF860000050100040060"},
      {cmd::MifareClassicRead, "04|A0A1A2A3A4A5", "MifareClassicRead", "", "FFF3000406A0A1A2A3A4A510"},
      {cmd::MifareClassicWrite, "04|A0A1A2A3A4A5|0011223344", "MifareClassicWrite", "",
       "FFF400040B0011223344A0A1A2A3A4A5"},
      {cmd::ReadBinary, "05", "ReadBinary", "", "FFB00510"},
      {cmd::DesfireSelectApplication, "563412", "DesfireSelectApplication", "DESFireSelectApplication", "905A00000356341200"},
      {cmd::DesfireAuthenticate2, "00", "DesfireAuthenticate2", "DESFireAuthenticate", "900A0000010000"},
      {cmd::DesfireAuthenticate3, "0011223344556677", "DesfireAuthenticate3", "DesfireAuthenticate", "90AF0000100011223344556677" "00"},
      {cmd::DesfireGetVersion, "", "DesfireGetVersion", "", "9060000000"},
      {cmd::DesfireFormat, "", "DesfireFormat", "", "90FC000000"},
      {cmd::DesfireGetApplications, "", "DesfireGetApplications", "", "906A000000"},
      {cmd::DesfireCreateApplication, "563412|15|300", "DesfireCreateApplication", "", "90CA0000055634120F2C00"},
      {cmd::DesfireCreateApplication, "563412|-1|3", "DesfireCreateApplication", "", "90CA000005563412FF0300"},
      {cmd::DesfireDeleteApplication, "563412", "DesfireDeleteApplication", "", "90DA00000356341200"},
      {cmd::DesfireGetKeyVersion, "02", "DesfireGetKeyVersion", "", "90640000010200"},
      {cmd::DesfireGetKeySettings, "", "DesfireGetKeySettings", "", "9045000000"},
      {cmd::DesfireChangeKey, "01|AABBCCDD", "DesfireChangeKey", "", "90C400001901AABBCCDD00"},
      {cmd::DesfireChangeKeySettings, "AABBCCDD", "DesfireChangeKeySettings", "", "9054000008AABBCCDD00"},
      {cmd::DesfireGetFileIds, "", "DesfireGetFileIds", "DesfireGetFileIDs", "906F000000"},
      {cmd::DesfireGetFileSettings, "03", "DesfireGetFileSettings", "", "90F50000010300"},
      {cmd::DesfireChangeFileSettings1, "03|00|EEEE", "DesfireChangeFileSettings1", "DesfireChangeFileSettings", "905F0000040300EEEE00"},
      {cmd::DesfireChangeFileSettings2, "03|AABBCCDD", "DesfireChangeFileSettings2", "DesfireChangeFileSettings", "905F00000903AABBCCDD00"},
      {cmd::DesfireCreateStdDataFile, "01|00|EEEE|200000", "DesfireCreateStdDataFile", "", "90CD0000070100EEEE20000000"},
      {cmd::DesfireCreateBackupDataFile, "01|03|1234|200000", "DesfireCreateBackupDataFile", "", "90CB00000701031234200000" "00"},
      {cmd::DesfireCreateValueFile, "02|00|EEEE|00000000|E8030000|64000000|01", "DesfireCreateValueFile", "",
       "90CC0000110200EEEE00000000E80300006400000001" "00"},
      {cmd::DesfireCreateLinearRecordFile, "04|01|EEEE|100000|050000", "DesfireCreateLinearRecordFile", "", "90C100000A0401EEEE10000005000000"},
      {cmd::DesfireCreateCyclicRecordFile, "05|01|EEEE|100000|050000", "DesfireCreateCyclicRecordFile", "", "90C000000A0501EEEE10000005000000"},
      {cmd::DesfireDeleteFile, "05", "DesfireDeleteFile", "", "90DF0000010500"},
      {cmd::DesfireReadData, "01|000000|100000", "DesfireReadData", "", "90BD0000070100000010000000"},
      {cmd::DesfireWriteData, "ignored|0A|01000000030000AABBCC", "DesfireWriteData", "", "903D00000A01000000030000AABBCC00"},
      {cmd::DesfireReadRecords, "04|000000|010000", "DesfireReadRecords", "", "90BB0000070400000001000000"},
      {cmd::DesfireWriteRecord, "|08|0400000001000011", "DesfireWriteRecord", "", "903B000008040000000100001100"},
      {cmd::DesfireClearRecordFile, "04", "DesfireClearRecordFile", "", "90EB0000010400"},
      {cmd::DesfireGetValue, "02", "DesfireGetValue", "", "906C0000010200"},
      {cmd::DesfireDebit, "|05|020A000000", "DesfireDebit", "", "90DC000005020A00000000"},
      {cmd::DesfireCredit, "|05|020A000000", "DesfireCredit", "", "900C000005020A00000000"},
      {cmd::DesfireLimitedCredit, "|05|020A000000", "DesfireLimitedCredit", "", "901C000005020A00000000"},
      {cmd::DesfireCommitTransaction, "", "DesfireCommitTransaction", "", "90C7000000"},
      {cmd::DesfireAbortTransaction, "", "DesfireAbortTransaction", "", "90A7000000"},
      {cmd::DesfireSendNextData, "DesfireWriteData|02|AABB", "DesfireSendNextData", "DesfireWriteData", "90AF000002AABB00"},
  };
  // clang-format on
  test::ScriptedEncoder bench;
  bench.Open();
  for (const Case& c : cases) {
    bench.trace.clear();
    bench.pcsc->Expect(c.frame, "6A82");
    EXPECT_EQ(Peer::Command(bench.encoder, c.code, Split(c.params)).result, sceError) << c.frame;
    const std::string name = c.commandName.empty() ? c.traceName : c.commandName;
    EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "SCardTransmit:" + name);
    EXPECT_EQ(bench.trace.front(), "--> EncoderCommand(" + c.traceName + ")");
  }
  EXPECT_EQ(bench.pcsc->PendingFrames(), 0U);
}

TEST(EncoderCommand, JudgesTheStatusWord) {
  struct Case {
    std::string answer;
    sceReturnCode result;
    std::string response, statusWord;
  };
  const std::vector<Case> cases = {
      {"AABB9000", sceSuccess, "AABB", "9000"},
      {"AABB9100", sceSuccess, "AABB", "9100"},
      {"9101", sceSuccess, "", "9101"},
      {"AABB91AF", sceSuccess, "AABB", "91AF"},
      {"6A82", sceError, "", "6A82"},
      {"AABB6110", sceError, "", "6110"},
      {"6C10", sceError, "", "6C10"},
      {"6F", sceError, "", "6F"},
      {"", sceSuccess, "", "FFFF"},  // deliberately an empty answer counts as success
  };
  test::ScriptedEncoder bench;
  bench.Open();
  for (const Case& c : cases) {
    Peer::ClearLastError(bench.encoder);
    bench.pcsc->Expect("9060000000", c.answer);
    const auto out = Peer::Command(bench.encoder, cmd::DesfireGetVersion);
    EXPECT_EQ(out.result, c.result) << c.answer;
    EXPECT_EQ(out.response, c.response) << c.answer;
    EXPECT_EQ(out.statusWord, c.statusWord) << c.answer;
    EXPECT_EQ(Peer::LastStatusWord(bench.encoder), c.statusWord);
    if (c.result == sceError) {
      EXPECT_EQ(bench.encoder.LastError().Number(), err::kCommandFailed);
      EXPECT_EQ(bench.encoder.LastError().Description(), "Encoder command failed");
      EXPECT_EQ(bench.encoder.LastError().RdrRetCode(), c.statusWord);
    }
  }
}

TEST(EncoderCommand, GathersContinuationFramesOnlyWhenAsked) {
  test::ScriptedEncoder bench;
  bench.encoder.Parameters("Protocol=2");
  bench.Open();
  bench.pcsc->Expect("906A000000", "0102 91AF");
  bench.pcsc->Expect("90AF000000", "0304 91AF");
  bench.pcsc->Expect("90AF000000", "05 9100");
  auto out = Peer::Command(bench.encoder, cmd::DesfireGetApplications, {}, true);
  EXPECT_EQ(out.result, sceSuccess);
  EXPECT_EQ(out.response, "0102030405");
  EXPECT_EQ(out.statusWord, "9100");
  for (const auto& t : bench.pcsc->transmits()) {
    EXPECT_EQ(t.sendPci.dwProtocol, 2U);
    EXPECT_EQ(t.sendPci.cbPciLength, 8U);
    EXPECT_FALSE(t.receivePciGiven);
    EXPECT_EQ(t.receiveLength, 4096U);  // a fresh buffer for every frame
  }

  bench.pcsc->Expect("906A000000", "0102 91AF");
  out = Peer::Command(bench.encoder, cmd::DesfireGetApplications);
  EXPECT_EQ(out.result, sceSuccess);
  EXPECT_EQ(out.response, "0102");
  EXPECT_EQ(out.statusWord, "91AF");

  bench.pcsc->Expect("906A000000", "0102 91AF");
  bench.pcsc->Expect("90AF000000", "91CA");
  out = Peer::Command(bench.encoder, cmd::DesfireGetApplications, {}, true);
  EXPECT_EQ(out.result, sceError);
  EXPECT_EQ(out.response, "");
  EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "SCardTransmit:MoreResponse");
}

TEST(EncoderCommand, BoundsAnEndlessContinuationChain) {
  struct Case {
    std::string answer;
    std::size_t frames;
  };
  // 1024 frames at most, or 1 MiB of gathered data (257 frames of 4094 bytes), whichever first.
  for (const Case& c : {Case{"00 91AF", 1024}, Case{std::string(8188, 'E') + "91AF", 257}}) {
    test::ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->AnswerAnyFrame(c.answer);
    const auto out = Peer::Command(bench.encoder, cmd::DesfireGetApplications, {}, true);
    EXPECT_EQ(out.result, sceError);
    EXPECT_EQ(out.response, "");
    EXPECT_EQ(bench.pcsc->frames().size(), c.frames);
    EXPECT_EQ(bench.encoder.LastError().Number(), err::kCommandFailed);
    EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "SCardTransmit:MoreResponse");
    EXPECT_EQ(bench.encoder.LastError().RdrRetCode(), "91AF");
  }
}

TEST(EncoderCommand, SendsNothingForEmptyOrUnknownCommands) {
  test::ScriptedEncoder bench;
  bench.Open();
  for (const std::int32_t code : {0x0999, cmd::DesfireAuthenticate1}) {
    const auto out = Peer::Command(bench.encoder, code, {"00", "00", "000000", "A0A1A2A3A4A5A6A7"});
    EXPECT_EQ(out.result, sceSuccess);
    EXPECT_EQ(out.statusWord, "FFFF");
  }
  EXPECT_EQ(bench.trace.front(), "--> EncoderCommand(Unknown)");
  EXPECT_EQ(bench.pcsc->Count(PcscCall::Transmit), 0U);
}

TEST(EncoderCommand, RefusesWithoutContextOrCardAndReportsTransportFailures) {
  test::ScriptedEncoder bench;
  auto out = Peer::Command(bench.encoder, cmd::GetUID);
  EXPECT_EQ(out.result, sceError);
  EXPECT_EQ(bench.encoder.LastError().Number(), err::kEncoderClosed);
  EXPECT_EQ(bench.encoder.LastError().ComFunction(), "EncoderCommand");
  EXPECT_TRUE(bench.pcsc->calls().empty());

  bench.pcsc->SetCardPresent(false);
  bench.encoder.OpenEncoder(0);
  bench.pcsc->ClearLog();
  out = Peer::Command(bench.encoder, cmd::GetUID);
  EXPECT_EQ(bench.encoder.LastError().Number(), err::kEncoderEmpty);
  EXPECT_TRUE(bench.pcsc->calls().empty());

  bench.pcsc->SetCardPresent(true);
  ASSERT_EQ(Peer::SelectCardInRange(bench.encoder), sceSuccess);
  bench.pcsc->ExpectFailure("FFCA000000", scard::W_REMOVED_CARD);
  out = Peer::Command(bench.encoder, cmd::GetUID);
  EXPECT_EQ(out.result, sceError);
  EXPECT_EQ(out.statusWord, "FFFF");
  EXPECT_EQ(bench.encoder.LastError().Number(), err::kCommandFailed);
  EXPECT_EQ(bench.encoder.LastError().RdrRetCode(),
            SCardErrorText(static_cast<std::int32_t>(scard::W_REMOVED_CARD)));

  bench.pcsc->ThrowOnNext(PcscCall::Transmit, 453, "Entry point not found");
  out = Peer::Command(bench.encoder, cmd::GetUID);
  EXPECT_EQ(out.result, sceError);
  EXPECT_EQ(bench.encoder.LastError().Number(), 453);
  EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "SCardTransmit:GetUID");
}

TEST(EncoderCommand, MasksKeysInTheTraceOfItsFrames) {
  test::ScriptedEncoder bench;
  bench.Open();
  bench.pcsc->Expect("FFF3000406A0A1A2A3A4A510", std::string(32, '0') + "9000");
  Peer::Command(bench.encoder, cmd::MifareClassicRead, {"04", "A0A1A2A3A4A5"});
  for (const std::string& line : bench.trace) {
    EXPECT_EQ(line.find("A0A1A2A3A4A5"), std::string::npos) << line;
  }
  EXPECT_NE(bench.trace[1].find("pbSendBuffer:= \"FFF3000406************10\""), std::string::npos);
}

TEST(Escape, PassesTheCleanedRequestAndEmptiesOutputsOnError) {
  test::ScriptedEncoder bench;
  bench.Open();
  bench.pcsc->Expect("FFCA000000", "04A1B2C3 9000");
  std::string response, retCode;
  EXPECT_EQ(bench.encoder.Escape("ff ca 00 00 00", response), sceSuccess);
  EXPECT_EQ(response, "04A1B2C3");
  bench.pcsc->Expect("FFCA000000", "04A1B2C3 6A82");
  EXPECT_EQ(bench.encoder.EscapeExt("FF:CA:00:00:00", response, retCode), sceError);
  EXPECT_EQ(response + retCode, "");
  EXPECT_EQ(bench.encoder.LastError().ComFunction(), "EscapeExt");
  EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "EncoderCommand:SCardTransmit:EscapeExt");
  bench.pcsc->Expect("FFCA000000", "9101");
  EXPECT_EQ(bench.encoder.EscapeExt("FFCA000000", response, retCode), sceSuccess);
  EXPECT_EQ(retCode, "9101");
}

TEST(Trace, FollowsOneOperationLineByLine) {
  test::ScriptedEncoder bench;
  bench.Open();
  bench.pcsc->Expect("FFCA000000", "04A1B2C3 9000");
  std::string serial;
  bench.encoder.ReadSerialNumber(serial);
  const std::string atr = test::ScriptedPcsc::kDefaultAtr;
  const std::vector<std::string> expected = {
      "--> ReadSerialNumber",
      "--> SelectCardInRange",
      "--> Let ATRString",
      "<-- Let ATRString",
      "hCard <> 0, card is connected, disconnecting",
      "SCardDisconnect returned: OK (SCARD_S_SUCCESS)",
      "Connecting card",
      "Called SCardConnect(4096, \"Scripted Reader 0\", SCARD_SHARE_EXCLUSIVE, 1, 8193, 1)",
      "SCardConnect returned: OK (SCARD_S_SUCCESS)",
      "--> ReaderGetAttr(\"%1\", 590595)",
      "<-- ReaderGetAttr returns \"" + atr + "\"",
      "--> Let ATRString",
      "<-- Let ATRString",
      "<-- SelectCardInRange",
      "--> EncoderCommand(GetUID)",
      "Calling SCardTransmit(hCard:=8193, pioSendPci:=[dwProtocol=1, cbPciLength=8], "
      "pbSendBuffer:= \"FFCA000000\", cbSendLength:=5, pioRecvPci:=0, pbRecvBuffer, "
      "pcbRecvLength:=4096)",
      "Function returned: OK (SCARD_S_SUCCESS)",
      "Received length ... 6",
      "Received data ..... 04A1B2C39000",
      "Status code=\"9000\" ([OK]  Command successfully executed.)",
      "<-- EncoderCommand returns: Success",
      "<-- ReadSerialNumber",
  };
  EXPECT_EQ(bench.trace, expected);
}

}  // namespace
}  // namespace lumivex
