// The command engine seen through the members that use it: the frames it fills, how it judges a
// status word, the continuation frames it gathers and their bounds, and what it records.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "component/error_codes.h"
#include "component/texts.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

using test::PcscCall;
using test::ScriptedPcsc;

const std::string kData = "00112233445566778899AABBCCDDEEFF";
const std::string kKey = "0000000000000000";

bool Traced(const std::vector<std::string>& trace, const std::string& line) {
  return std::ranges::find(trace, line) != trace.end();
}

// Each command's frame, and the name its refusal records (behind the operation's own name when
// the operation marks itself as the failing one). The last frame of each row is refused (6A82),
// or lost in transit when its answer is empty.
TEST(CommandEngine, FillsEachTemplateAndNamesTheRefusedCommand) {
  struct Case {
    const char* traceName;
    std::vector<std::pair<std::string, std::string>> frames;
    std::function<sceReturnCode(Encoder&)> call;
    const char* comFunction;
    const char* rdrCommand;
  };
  std::string out, sw;
  const std::string record = kData + kData + kData.substr(0, 26);  // 45 bytes
  // clang-format off
  const Case cases[] = {
      {"ec_Escape", {{"FFCA000000", "6A82"}}, [&](Encoder& e) { return e.Escape("ff ca-00:00 00", out); },
       "Escape", "EncoderCommand:SCardTransmit:Escape"},
      {"ec_EscapeExt", {{"FFCA000000", "6A82"}}, [&](Encoder& e) { return e.EscapeExt("FF:CA:00:00:00", out, sw); },
       "EscapeExt", "EncoderCommand:SCardTransmit:EscapeExt"},
      {"GetUID", {{"FFCA000000", "6A82"}}, [&](Encoder& e) { return e.ReadSerialNumber(out); },
       "ReadSerialNumber", "EncoderCommand:SCardTransmit:GetUID"},
      {"MifareClassicRead", {{"FFF3000406A0A1A2A3A4A510", "6A82"}},
       [&](Encoder& e) { return e.MifareReadDataBloc(4, "a0a1a2a3a4a5", 0, out); },
       "MifareReadDataBloc", "EncoderCommand:SCardTransmit:MifareClassicRead"},
      // The length byte counts the key's digits and the data's: a short key makes a short frame.
      {"MifareClassicWrite", {{"FFF4000412" + kData + "0ABC", "6A82"}},
       [&](Encoder& e) { out = kData; return e.MifareWriteDataBloc(4, "abc", 0, out); },
       "MifareWriteDataBloc", "EncoderCommand:SCardTransmit:MifareClassicWrite"},
      {"DesfireSelectApplication", {{"905A00000356341200", "6A82"}},
       [](Encoder& e) { return e.DESFireSelectApplication("563412", 0, kKey); },
       "DESFireSelectApplication", "EncoderCommand:SCardTransmit:DESFireSelectApplication"},
      {"DesfireAuthenticate2", {{"905A00000356341200", "9100"}, {"900A0000010100", ""}},
       [](Encoder& e) { return e.DESFireSelectApplication("563412", 1, kKey); },
       "DESFireSelectApplication", "EncoderCommand:SCardTransmit:DESFireAuthenticate"},
      {"DesfireGetFileIds", {{"906F000000", "6A82"}}, [&](Encoder& e) { return e.DESFireGetFileIDs(out); },
       "DESFireGetFileIDs", "SCardTransmit:DesfireGetFileIDs"},
      // A continuation frame names the command it continues.
      {"DesfireSendNextData", {{"90F50000010200", "04 00 EEEE 200000 9100"},
                               {"903B000034 02 000000 2E0000" + record + "00", "91AF"},
                               {"90AF000001 EE 00", "6A82"}},
       [&](Encoder& e) { return e.DESFireWriteRecord(2, 0, 0, record + "EE", true); },
       "DESFireWriteRecord", "SCardTransmit:DesfireWriteRecord"},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.traceName);
    test::ScriptedEncoder bench;
    bench.Open();
    for (const auto& [frame, answer] : c.frames) {
      if (answer.empty()) bench.pcsc->ExpectFailure(frame, scard::W_REMOVED_CARD);
      if (!answer.empty()) bench.pcsc->Expect(frame, answer);
    }
    EXPECT_EQ(c.call(bench.encoder), sceError);
    EXPECT_EQ(bench.encoder.LastError().ComFunction(), c.comFunction);
    EXPECT_EQ(bench.encoder.LastError().RdrCommand(), c.rdrCommand);
    EXPECT_TRUE(Traced(bench.trace, std::string("--> EncoderCommand(") + c.traceName + ")"));
    EXPECT_EQ(bench.pcsc->PendingFrames(), 0U);
  }
  // The last pass of an authentication lost in transit.
  test::ScriptedEncoder bench;
  bench.Open();
  bench.ExpectAuthentication("A1B2C3", 0, kKey, test::kRndB, scard::W_REMOVED_CARD);
  EXPECT_EQ(bench.encoder.DESFireSelectApplication("A1B2C3", 0, kKey), sceError);
  EXPECT_EQ(bench.encoder.LastError().RdrCommand(),
            "EncoderCommand:SCardTransmit:DesfireAuthenticate");
}

TEST(CommandEngine, JudgesTheStatusWord) {
  struct Case {
    std::string answer;
    sceReturnCode result;
    std::string response, retCode;
  };
  // clang-format off
  const std::vector<Case> cases = {
      {"AABB9000", sceSuccess, "AABB", "9000"}, {"9100", sceSuccess, "", "9100"}, {"9101", sceSuccess, "", "9101"},
      {"AABB91AF", sceSuccess, "AABB", "91AF"},  // the caller continues the exchange itself
      {"AABB6110", sceError, "", "6110"}, {"AABB9001", sceError, "", "9001"}, {"6F", sceError, "", "6F"},
      {"", sceSuccess, "", "FFFF"},  // deliberately an empty answer counts as success
  };
  // clang-format on
  test::ScriptedEncoder bench;
  bench.Open();
  for (const Case& c : cases) {
    bench.pcsc->Expect("9060000000", c.answer);
    std::string response = "stale", retCode = "stale";
    EXPECT_EQ(bench.encoder.EscapeExt("9060000000", response, retCode), c.result) << c.answer;
    EXPECT_EQ(response + "/" + retCode,
              c.response + "/" + (c.result == sceSuccess ? c.retCode : ""));
    const CError& record = bench.encoder.LastError();
    EXPECT_EQ(record.Number(), c.result == sceError ? err::kCommandFailed : 0);
    EXPECT_EQ(record.Description(), c.result == sceError ? "Encoder command failed" : "");
    EXPECT_EQ(record.RdrRetCode(), c.result == sceError ? c.retCode : "");
  }
}

TEST(CommandEngine, GathersContinuationFramesOnlyWhenAsked) {
  test::ScriptedEncoder bench;
  bench.encoder.Parameters("Protocol=2");
  bench.Open();
  bench.pcsc->Expect("906A000000", "010203 91AF");
  bench.pcsc->Expect("90AF000000", "0405 91AF");
  bench.pcsc->Expect("90AF000000", "06 9100");
  std::string apps;
  EXPECT_EQ(bench.encoder.DESFireGetApplications(apps), sceSuccess);
  EXPECT_EQ(apps, "010203,040506");
  ASSERT_EQ(bench.pcsc->transmits().size(), 3U);
  for (const auto& t : bench.pcsc->transmits()) {
    EXPECT_EQ(t.sendPci.dwProtocol * 100 + t.sendPci.cbPciLength, 208U);
    EXPECT_FALSE(t.receivePciGiven);
    EXPECT_EQ(t.receiveLength, 4096U);  // a fresh buffer for every frame
  }
}

TEST(CommandEngine, BoundsAnEndlessContinuationChain) {
  // 1024 frames at most, or 1 MiB of gathered data (257 frames of 4094 bytes), whichever first.
  for (const auto& [answer, frames] : {std::pair<std::string, std::size_t>{"00 91AF", 1024},
                                       {std::string(8188, 'E') + "91AF", 257}}) {
    test::ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->AnswerAnyFrame(answer);
    std::string apps = "stale";
    EXPECT_EQ(bench.encoder.DESFireGetApplications(apps), sceError);
    EXPECT_EQ(apps, "stale");
    EXPECT_EQ(bench.pcsc->frames().size(), frames);
    EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "SCardTransmit:MoreResponse");
    EXPECT_EQ(bench.encoder.LastError().RdrRetCode(), "91AF");
    EXPECT_TRUE(Traced(bench.trace, "Continuation chain too long"));
  }
}

// The engine refuses to send without a context or a card, and records a frame the reader could
// not send (one it failed is the session faults' test); an operation that calls it directly keeps
// the engine's number.
TEST(CommandEngine, RefusesWithoutContextOrCardAndRecordsTransportFailures) {
  test::ScriptedEncoder bench;
  const CError& record = bench.encoder.LastError();
  EXPECT_EQ(bench.encoder.DESFireSelectApplication("A1B2C3", 0, kKey), sceError);
  EXPECT_EQ(record.Number(), err::kEncoderClosed);
  EXPECT_EQ(record.Description() + "/" + record.RdrCommand(),
            "Encoder is closed/DesfireAuthenticate1");
  EXPECT_TRUE(Traced(bench.trace, "Error, hContext = 0, encoder is closed"));
  EXPECT_TRUE(bench.pcsc->calls().empty());

  bench.pcsc->SetCardPresent(false);
  bench.encoder.OpenEncoder(0);
  bench.pcsc->ClearLog();
  EXPECT_EQ(bench.encoder.DESFireSelectApplication("A1B2C3", 0, kKey), sceError);
  EXPECT_EQ(record.Number(), err::kEncoderEmpty);
  EXPECT_EQ(record.Description(), "No card in encoder");
  EXPECT_TRUE(bench.pcsc->calls().empty());

  bench.pcsc->SetCardPresent(true);
  std::string serial;
  bench.pcsc->ThrowOnNext(PcscCall::Transmit, 453, "Entry point not found");
  EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceError);
  EXPECT_EQ(record.Number(), 453);
  EXPECT_EQ(record.Description(), "Entry point not found");
  EXPECT_EQ(record.RdrCommand(), "EncoderCommand:SCardTransmit:GetUID");
  EXPECT_EQ(record.RdrRetCode(), "OK (SCARD_S_SUCCESS)");
  // A raw request keeps its letters and digits, in capitals: letters beyond F count as 0 and an
  // odd last digit is the high half of a last byte. An empty request is sent nowhere.
  std::string response, retCode;
  for (const auto& [request, frame] : {std::pair{"ab-c", "ABC0"}, {"gz 1h", "0010"}}) {
    bench.pcsc->Expect(frame, "9000");
    EXPECT_EQ(bench.encoder.EscapeExt(request, response, retCode), sceSuccess) << request;
  }
  bench.pcsc->ClearLog();
  EXPECT_EQ(bench.encoder.EscapeExt(" -:", response, retCode), sceSuccess);
  EXPECT_EQ(retCode, "FFFF");
  EXPECT_EQ(bench.pcsc->Count(PcscCall::Transmit), 0U);
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
// key, but the trace must not have shown it first. Raw requests that carry a key (the reader's
// load-key command and the frames with a key inside) are masked as well.
TEST(Trace, MasksEveryKeyWhetherOrNotItParses) {
  const std::string zeros(32, '0');
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"A0A1A2A3A4A5", "FFF3000406************10"},
      {"A0 A1 A2 A3 A4 A5", "FFF3000406************10"},  // normalised before it is sent
      {"B0 B1 B2 B3 B4 BG", "FFF3000406*****************10"},
      {"B0B1B2B3", "FFF3000406********10"},
      {"C7-C8:C9", "FFF3000406********10"},
      {"FF 82 00 00 06 D0 D1 D2 D3 D4 D5", "FF82000006************"},
      {"FF F3 00 04 06 D0 D1 D2 D3 D4 D5 10", "FFF3000406************10"},
      {"FFF4000410" + zeros + "D0D1D2D3D4D5", "FFF4000410" + zeros + "************"},
  };
  for (const auto& [key, shownFrame] : cases) {
    test::ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->AnswerAnyFrame("6700");
    std::string out;
    const bool raw = key.starts_with("FF");
    if (raw) bench.encoder.Escape(key, out);
    if (!raw) bench.encoder.MifareReadDataBloc(4, key, 0, out);
    std::string secret = raw ? "D0D1D2" : key;
    std::erase(secret, ' ');
    for (const std::string& line : bench.trace) {
      EXPECT_EQ(line.find(key), std::string::npos) << line;
      EXPECT_EQ(line.find(secret), std::string::npos) << line;
    }
    EXPECT_EQ(SentFrame(bench.trace), shownFrame) << key;
  }
}

// Keys are remembered so that any later line that shows them, in any case or spaced, shows them
// masked; the 64 most recent keys are remembered, and texts shorter than eight digits never are.
TEST(Trace, MasksRememberedKeysInLaterLinesAndForgetsTheOldestBeyond64) {
  test::ScriptedEncoder bench;
  bench.Open();
  bench.pcsc->AnswerAnyFrame("6700");
  std::string contents;
  const auto read = [&](const std::string& k) {
    bench.encoder.MifareReadDataBloc(4, k, 0, contents);
  };
  read("a0a1a2a3a4a5");
  read("B1B2B3C4");  // eight digits: the shortest key remembered
  read("C1C2C3");
  bench.trace.clear();
  bench.encoder.Parameters("k=A0A1A2A3A4A5;s=A0 A1 A2 A3 A4 A5;l=a0a1a2a3a4a5;B1B2B3C4;C1C2C3");
  EXPECT_EQ(bench.trace.front(),
            "--> Set Parameters = \"k=************;s=*****************;"
            "l=************;********;C1C2C3\"");
  for (int i = 1; i <= 62; ++i) read("00112233" + std::to_string(1000 + i));
  bench.trace.clear();
  bench.encoder.WriteLog("A0A1A2A3A4A5 B1B2B3C4");
  read("0011223310FF");  // the 65th key: the first is forgotten
  bench.encoder.WriteLog("A0A1A2A3A4A5 B1B2B3C4");
  bench.encoder.SetTraceSink(nullptr);
  bench.encoder.WriteLog("discarded");
  ASSERT_GE(bench.trace.size(), 2U);
  EXPECT_EQ(bench.trace.front(), "************ ********");
  EXPECT_EQ(bench.trace.back(), "A0A1A2A3A4A5 ********");
}

TEST(Trace, FollowsOneOperationLineByLine) {
  test::ScriptedEncoder bench;
  bench.Open();
  bench.pcsc->Expect("FFCA000000", "04A1B2C3 9000");
  std::string serial;
  bench.encoder.ReadSerialNumber(serial);
  EXPECT_EQ(serial, "04A1B2C3");
  const std::string atr = ScriptedPcsc::kDefaultAtr;
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
