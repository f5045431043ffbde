// The reader session: opening, the card taken anew before each operation, closing, and the
// failures of each step, seen through the public members and the calls the reader received.
#include <gtest/gtest.h>

#include <algorithm>

#include "component/error_codes.h"
#include "component/texts.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

using test::PcscCall;
using test::Record;
using namespace std::chrono_literals;

std::string Text(std::uint32_t code) {
  return SCardErrorText(static_cast<std::int32_t>(code));
}

TEST(OpenEncoder, ConnectsExclusivelyAndIdentifiesTheCardAfterTheWait) {
  test::ScriptedEncoder bench;
  bench.encoder.Parameters("Protocol=2");
  bench.pcsc->SetTextAttribute(scard::ATTR_VENDOR_NAME, "Lecteurs \xC9tienne");  // 8-bit text
  bench.trace.clear();
  EXPECT_EQ(bench.encoder.OpenEncoder(7), sceSuccess);
  ASSERT_EQ(bench.pcsc->connects().size(), 1U);
  EXPECT_EQ(bench.pcsc->connects()[0].shareMode, scard::SHARE_EXCLUSIVE);
  EXPECT_EQ(bench.pcsc->connects()[0].protocols, 2U);
  EXPECT_EQ(bench.encoder.ATRString(), test::ScriptedPcsc::kDefaultAtr);
  EXPECT_EQ(bench.host->waited(), 5000ms);
  EXPECT_EQ(bench.trace.front(), "--> OpenEncoder(7, True)");
  EXPECT_EQ(bench.encoder.EncoderState(), sceReady);
  bench.pcsc->ClearLog();
  // Name, vendor, type, version and serial number, read in that order.
  EXPECT_EQ(bench.encoder.ReaderType(),
            "Device name: Scripted Reader 0\r\nVendor name: Lecteurs \xC3\x89tienne\r\n"
            "Type: SR-1\r\nVersion: 2.0.1.7\r\nSerial number: SN0001\r\n");
  std::vector<std::string> attributes;
  for (const std::string& call : bench.pcsc->calls()) {
    if (call.starts_with("GetAttrib ") && (attributes.empty() || attributes.back() != call))
      attributes.push_back(call);
  }
  const auto id = [](PcscDword attribute) { return "GetAttrib " + std::to_string(attribute); };
  EXPECT_EQ(attributes, (std::vector<std::string>{
                            id(scard::ATTR_DEVICE_FRIENDLY_NAME_A), id(scard::ATTR_VENDOR_NAME),
                            id(scard::ATTR_VENDOR_IFD_TYPE), id(scard::ATTR_VENDOR_IFD_VERSION),
                            id(scard::ATTR_VENDOR_IFD_SERIAL_NO)}));
}

TEST(OpenEncoder, RetriesASharingViolationOnceAndEndsClosedAfterTheSecond) {
  test::ScriptedEncoder bench;
  bench.pcsc->QueueResult(PcscCall::Connect, scard::E_SHARING_VIOLATION);
  bench.pcsc->QueueResult(PcscCall::Connect, scard::E_SHARING_VIOLATION);
  EXPECT_EQ(bench.encoder.OpenEncoder(0), sceSuccess);
  EXPECT_EQ(bench.encoder.LastError().Number(), 0);
  EXPECT_EQ(bench.pcsc->Count(PcscCall::EstablishContext), 2U);
  EXPECT_EQ(bench.pcsc->OpenContexts() + bench.pcsc->OpenCards(), 0U);
  EXPECT_EQ(bench.host->waits(), 2);
  EXPECT_EQ(bench.encoder.EncoderState(), sceClosed);
  bench.pcsc->QueueResult(PcscCall::Connect, scard::E_SHARING_VIOLATION);
  EXPECT_EQ(bench.encoder.OpenEncoder(0), sceSuccess);  // the retry finds the card free
  EXPECT_EQ(bench.pcsc->OpenCards(), 1U);
}

TEST(OpenEncoder, ReportsAnEmptyReaderAndContextAndConnectionFailures) {
  test::ScriptedEncoder bench;
  const CError& record = bench.encoder.LastError();
  bench.pcsc->SetCardPresent(false);
  EXPECT_EQ(bench.encoder.OpenEncoder(0), sceSuccess);  // no card: opened, but recorded
  EXPECT_EQ(Record(bench.encoder),
            std::make_tuple(err::kEncoderEmpty, "No card in encoder", "OpenEncoder", "SCardConnect",
                            Text(scard::E_NO_SMARTCARD)));
  EXPECT_EQ(bench.encoder.EncoderState(), sceOpened);
  bench.encoder.CloseEncoder();
  // A card the reader cannot use, or one taken away, is an empty reader too.
  for (const auto code :
       {scard::E_UNKNOWN_CARD, scard::E_CARD_UNSUPPORTED, scard::W_REMOVED_CARD}) {
    bench.pcsc->QueueResult(PcscCall::Connect, code);
    EXPECT_EQ(bench.encoder.OpenEncoder(0), sceSuccess);
    EXPECT_EQ(Record(bench.encoder), std::make_tuple(err::kEncoderEmpty, "No card in encoder",
                                                     "OpenEncoder", "SCardConnect", Text(code)));
    bench.encoder.CloseEncoder();
  }
  bench.pcsc->QueueResult(PcscCall::EstablishContext, scard::E_NO_SERVICE);
  EXPECT_EQ(bench.encoder.OpenEncoder(0), sceError);
  EXPECT_EQ(Record(bench.encoder),
            std::make_tuple(err::kCannotEstablish, "Cannot open encoder", "OpenEncoder",
                            "OpenEncoder:SCardEstablishContext", Text(scard::E_NO_SERVICE)));
  EXPECT_EQ(record.LastDllError(), static_cast<std::int32_t>(scard::E_NO_SERVICE));
  EXPECT_EQ(bench.host->waits(), 4);  // only the opens that reached the reader waited

  bench.encoder.Parameters("Device=Elsewhere");  // SCARD_E_UNKNOWN_READER
  EXPECT_EQ(bench.encoder.OpenEncoder(0), sceError);
  EXPECT_EQ(Record(bench.encoder),
            std::make_tuple(err::kCannotConnect, "Cannot open encoder", "OpenEncoder",
                            "SCardConnect", Text(scard::E_UNKNOWN_READER)));
  EXPECT_EQ(bench.pcsc->OpenContexts(), 0U);

  Encoder bare(Platform{});  // no PC/SC library at all: a recorded failure, not a crash
  EXPECT_EQ(bare.OpenEncoder(0), sceError);
  EXPECT_EQ(bare.LastError().Number(), 53);
}

TEST(CloseEncoder, ReleasesEverythingOnceAndStopsAtAFailedCall) {
  test::ScriptedEncoder bench;
  bench.Open();
  EXPECT_EQ(bench.encoder.CloseEncoder(), sceSuccess);
  EXPECT_EQ(bench.encoder.CloseEncoder(), sceSuccess);  // a closed encoder asks nothing of PC/SC
  EXPECT_EQ(bench.pcsc->calls(), (std::vector<std::string>{"Disconnect", "ReleaseContext"}));
  EXPECT_EQ(bench.encoder.EncoderState(), sceClosed);
  EXPECT_EQ(bench.encoder.LastError().ComFunction(), "EncoderState");

  bench.Open();
  bench.pcsc->ThrowOnNext(PcscCall::Disconnect, 453, "Entry point not found");
  EXPECT_EQ(bench.encoder.CloseEncoder(), sceError);
  EXPECT_EQ(Record(bench.encoder), std::make_tuple(453, "Entry point not found", "CloseEncoder",
                                                   "CloseReader", "OK (SCARD_S_SUCCESS)"));
  EXPECT_EQ(bench.pcsc->OpenContexts(), 1U);  // the context it never reached stays
  EXPECT_NE(
      std::ranges::find(bench.trace, "Error 453: Entry point not found [OK (SCARD_S_SUCCESS)]"),
      bench.trace.end());
}

// Before each operation the card is taken anew (when force_reconnect asks for it), and the
// identification read again; a driver without the ATR attribute gives the ATR in the card's
// status.
TEST(SelectCardInRange, ReconnectsOnlyWhenForced) {
  for (const bool force : {true, false}) {
    test::ScriptedEncoder bench;
    bench.encoder.Parameters(force ? "force_reconnect=1" : "force_reconnect=0");
    bench.pcsc->SetAtrAttributeSupported(false);
    bench.pcsc->SetAtr("3b 81 80 01 80 80");
    bench.Open();
    bench.pcsc->AnswerAnyFrame("04A1B2C3 9000");
    std::string serial;
    EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceSuccess);
    EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceSuccess);
    EXPECT_EQ(bench.pcsc->Count(PcscCall::Connect), force ? 2U : 0U);
    EXPECT_EQ(bench.pcsc->Count(PcscCall::Disconnect), force ? 2U : 0U);
    EXPECT_EQ(bench.pcsc->Count(PcscCall::Status), force ? 2U : 0U);
    EXPECT_EQ(bench.encoder.ATRString(), force ? "3B 81 80 01 80 80" : "");
  }
}

TEST(SelectCardInRange, ReportsAClosedEncoderAnEmptyReaderAndAFailedCall) {
  test::ScriptedEncoder bench;
  std::string serial;
  EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceError);
  EXPECT_EQ(Record(bench.encoder), std::make_tuple(err::kEncoderClosed, "Encoder is closed",
                                                   "ReadSerialNumber", "SelectCardInRange", ""));
  EXPECT_EQ(bench.encoder.ReaderType(), "Encoder is closed");
  EXPECT_EQ(Record(bench.encoder),
            std::make_tuple(err::kEncoderClosed, "Encoder is closed", "ReaderType", "", ""));
  EXPECT_TRUE(bench.pcsc->calls().empty());

  bench.Open();
  bench.pcsc->SetCardPresent(false);
  EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceError);
  EXPECT_EQ(Record(bench.encoder),
            std::make_tuple(err::kEncoderEmpty, "No card in encoder", "ReadSerialNumber",
                            "SCardConnect", Text(scard::E_NO_SMARTCARD)));
  EXPECT_EQ(bench.pcsc->OpenCards(), 0U);
  EXPECT_EQ(bench.pcsc->OpenContexts(), 1U);
  EXPECT_EQ(bench.encoder.ReaderType(), "Scripted Reader 0");  // no card: the configured name
  bench.pcsc->ThrowOnNext(PcscCall::Connect, 453, "Entry point not found");
  EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceError);
  EXPECT_EQ(bench.encoder.LastError().Number(), 453);
  EXPECT_EQ(bench.pcsc->OpenContexts(), 0U);
}

}  // namespace
}  // namespace lumivex
