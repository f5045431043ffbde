#include <gtest/gtest.h>

#include <algorithm>
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

// One command for each way of filling a placeholder and for each command whose refusal names
// another command than its trace does (the trace name unless given).
TEST(EncoderCommand, FillsTheTemplateByteForByte) {
  struct Case {
    std::int32_t code;
    std::string params, traceName, commandName, frame;
  };
  // clang-format off
  const std::vector<Case> cases = {
      {cmd::Escape, "ff ca-00:00 00", "ec_Escape", "Escape", "FFCA000000"},
      {cmd::ContinueResponse, "", "ContinueResponse", "MoreResponse", "90AF000000"},
      {cmd::LoadKey, "01|A0A1A2A3A4A5", "LoadKey", "", "FF82000106A0A1A2A3A4A5"},
      {cmd::GeneralAuthenticate, "60|04", "GeneralAuthenticate", "", "FF860000050100040060"},
      {cmd::MifareClassicWrite, "04|A0A1A2A3A4A5|0011223344", "MifareClassicWrite", "",
       "FFF400040B0011223344A0A1A2A3A4A5"},
      {cmd::DesfireSelectApplication, "563412", "DesfireSelectApplication", "DESFireSelectApplication", "905A00000356341200"},
      {cmd::DesfireAuthenticate3, "0011223344556677", "DesfireAuthenticate3", "DesfireAuthenticate", "90AF0000100011223344556677" "00"},
      {cmd::DesfireCreateApplication, "563412|-1|300", "DesfireCreateApplication", "", "90CA000005563412FF2C00"},
      {cmd::DesfireGetFileIds, "", "DesfireGetFileIds", "DesfireGetFileIDs", "906F000000"},
      {cmd::DesfireCreateStdDataFile, "01|00|EEEE|200000", "DesfireCreateStdDataFile", "", "90CD0000070100EEEE20000000"},
      {cmd::DesfireWriteData, "ignored|0A|01000000030000AABBCC", "DesfireWriteData", "", "903D00000A01000000030000AABBCC00"},
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
      {"9101", sceSuccess, "", "9101"},
      {"AABB91AF", sceSuccess, "AABB", "91AF"},
      {"AABB6110", sceError, "", "6110"},
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
    EXPECT_EQ(out.response + "/" + out.statusWord, c.response + "/" + c.statusWord) << c.answer;
    EXPECT_EQ(Peer::LastStatusWord(bench.encoder), c.statusWord);
    const CError& record = bench.encoder.LastError();
    EXPECT_EQ(record.Number(), c.result == sceError ? err::kCommandFailed : 0);
    if (c.result == sceError) {
      EXPECT_EQ(record.Description(), "Encoder command failed");
      EXPECT_EQ(record.RdrRetCode(), c.statusWord);
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
  EXPECT_EQ(out.response + "/" + out.statusWord, "0102030405/9100");
  for (const auto& t : bench.pcsc->transmits()) {
    EXPECT_EQ(t.sendPci.dwProtocol * 100 + t.sendPci.cbPciLength, 208U);
    EXPECT_FALSE(t.receivePciGiven);
    EXPECT_EQ(t.receiveLength, 4096U);  // a fresh buffer for every frame
  }
  bench.pcsc->Expect("906A000000", "0102 91AF");
  out = Peer::Command(bench.encoder, cmd::DesfireGetApplications);
  EXPECT_EQ(out.response + "/" + out.statusWord, "0102/91AF");

  bench.pcsc->Expect("906A000000", "0102 91AF");
  bench.pcsc->Expect("90AF000000", "91CA");
  out = Peer::Command(bench.encoder, cmd::DesfireGetApplications, {}, true);
  EXPECT_EQ(out.result, sceError);
  EXPECT_EQ(out.response, "");
  EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "SCardTransmit:MoreResponse");
}

TEST(EncoderCommand, BoundsAnEndlessContinuationChain) {
  // 1024 frames at most, or 1 MiB of gathered data (257 frames of 4094 bytes), whichever first.
  for (const auto& [answer, frames] : {std::pair<std::string, std::size_t>{"00 91AF", 1024},
                                       {std::string(8188, 'E') + "91AF", 257}}) {
    test::ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->AnswerAnyFrame(answer);
    const auto out = Peer::Command(bench.encoder, cmd::DesfireGetApplications, {}, true);
    EXPECT_EQ(out.result, sceError);
    EXPECT_EQ(out.response, "");
    EXPECT_EQ(bench.pcsc->frames().size(), frames);
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
  const CError& record = bench.encoder.LastError();
  EXPECT_EQ(Peer::Command(bench.encoder, cmd::GetUID).result, sceError);
  EXPECT_EQ(record.Number(), err::kEncoderClosed);
  EXPECT_EQ(record.ComFunction(), "EncoderCommand");
  bench.pcsc->SetCardPresent(false);
  bench.encoder.OpenEncoder(0);
  bench.pcsc->ClearLog();
  Peer::Command(bench.encoder, cmd::GetUID);
  EXPECT_EQ(record.Number(), err::kEncoderEmpty);
  EXPECT_TRUE(bench.pcsc->calls().empty());

  bench.pcsc->SetCardPresent(true);
  ASSERT_EQ(Peer::SelectCardInRange(bench.encoder), sceSuccess);
  bench.pcsc->ExpectFailure("FFCA000000", scard::W_REMOVED_CARD);
  EXPECT_EQ(Peer::Command(bench.encoder, cmd::GetUID).statusWord, "FFFF");
  EXPECT_EQ(record.Number(), err::kCommandFailed);
  EXPECT_EQ(record.RdrRetCode(), SCardErrorText(static_cast<std::int32_t>(scard::W_REMOVED_CARD)));
  bench.pcsc->ThrowOnNext(PcscCall::Transmit, 453, "Entry point not found");
  EXPECT_EQ(Peer::Command(bench.encoder, cmd::GetUID).result, sceError);
  EXPECT_EQ(record.Number(), 453);
  EXPECT_EQ(record.RdrCommand(), "SCardTransmit:GetUID");
}

// The frame of the first "Calling SCardTransmit" line of a trace.
std::string SentFrame(const std::vector<std::string>& trace) {
  const std::string mark = "pbSendBuffer:= \"";
  for (const std::string& line : trace) {
    const auto at = line.find(mark);
    if (at != std::string::npos)
      return line.substr(at + mark.size(), line.find('"', at + mark.size()) - at - mark.size());
  }
  return "(no frame sent)";
}

// A key is masked in every trace line whether it parses or not: the reader refuses a malformed
// key, but the trace must not have shown it first.
TEST(Trace, MasksEveryKeyWhetherOrNotItParses) {
  struct Case {
    std::string key;  // as typed by the host
    std::string shownFrame;
  };
  const std::vector<Case> cases = {
      {"A0A1A2A3A4A5", "FFF3000406************10"},
      {"A0 A1 A2 A3 A4 A5", "FFF3000406************10"},  // normalised before it is sent
      {"B0 B1 B2 B3 B4 BG", "FFF3000406*****************10"},
      {"B0B1B2B3", "FFF3000406********10"},
      {"C7-C8:C9", "FFF3000406********10"},
  };
  for (const auto& [key, shownFrame] : cases) {
    test::ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->AnswerAnyFrame("6700");
    std::string contents;
    bench.encoder.MifareReadDataBloc(4, key, 0, contents);
    std::string compact = key;
    std::erase(compact, ' ');
    for (const std::string& line : bench.trace) {
      EXPECT_EQ(line.find(key), std::string::npos) << line;
      EXPECT_EQ(line.find(compact), std::string::npos) << line;
    }
    EXPECT_EQ(SentFrame(bench.trace), shownFrame) << key;
  }
  // Raw requests that carry a key: the reader's load-key command and the frames with a key inside.
  const std::vector<std::pair<std::string, std::string>> raw = {
      {"FF 82 00 00 06 D0 D1 D2 D3 D4 D5", "FF82000006************"},
      {"FF F3 00 04 06 D0 D1 D2 D3 D4 D5 10", "FFF3000406************10"},
      {"FFF4000410" + std::string(32, '0') + "D0D1D2D3D4D5",
       "FFF4000410" + std::string(32, '0') + "************"},
  };
  for (const auto& [request, shownFrame] : raw) {
    test::ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->AnswerAnyFrame("9000");
    std::string response;
    bench.encoder.Escape(request, response);
    for (const std::string& line : bench.trace) EXPECT_EQ(line.find("D0D1D2"), std::string::npos);
    EXPECT_EQ(SentFrame(bench.trace), shownFrame);
  }
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

TEST(Trace, FollowsOneOperationLineByLineAndAFailureNamesItsCommand) {
  test::ScriptedEncoder bench;
  bench.Open();
  bench.pcsc->Expect("FFCA000000", "04A1B2C3 9000");
  std::string serial;
  bench.encoder.ReadSerialNumber(serial);
  EXPECT_EQ(serial, "04A1B2C3");
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

  bench.pcsc->Expect("FFCA000000", "6A82");
  EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceError);
  EXPECT_EQ(serial, "");
  EXPECT_EQ(bench.encoder.LastError().ComFunction(), "ReadSerialNumber");
  EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "EncoderCommand:SCardTransmit:GetUID");
}

}  // namespace
}  // namespace lumivex
