// The PC/SC stack failing under an open Encoder: the daemon stopped or restarted, the reader
// unplugged, another process holding the card, a binding that cannot make a call. Each failure is
// recorded with its own number and text, no handle leaks, and the Encoder works again without the
// host doing anything more than reopening it when the session itself was lost.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/texts.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex::test {
namespace {

struct SessionFault {
  const char* what;
  PcscCall call;
  std::uint32_t code;   // the call's result, or 0 when the call cannot be made at all
  std::int32_t number;  // what LastError records
  const char* description;
  bool sessionLost;  // the Encoder closed itself: the host must reopen it
};

const std::vector<SessionFault> kFaults = {
    {"daemon stopped", PcscCall::Connect, scard::E_NO_SERVICE, err::kCannotConnect,
     "Cannot open encoder", false},
    {"daemon restarted", PcscCall::Connect, scard::E_INVALID_HANDLE, err::kCannotConnect,
     "Cannot open encoder", false},
    {"reader unplugged", PcscCall::Connect, scard::E_READER_UNAVAILABLE, err::kCannotConnect,
     "Cannot open encoder", false},
    {"card held by another process", PcscCall::Connect, scard::E_SHARING_VIOLATION,
     err::kCannotConnect, "Cannot open encoder", false},
    {"daemon stopped during the frame", PcscCall::Transmit, scard::E_SERVICE_STOPPED,
     err::kCommandFailed, "Encoder command failed", false},
    {"reader unplugged during the frame", PcscCall::Transmit, scard::E_READER_UNAVAILABLE,
     err::kCommandFailed, "Encoder command failed", false},
    {"transmit cannot be made", PcscCall::Transmit, 0, 6, "The handle is invalid", false},
    {"connect cannot be made", PcscCall::Connect, 0, 6, "The handle is invalid", true},
};

TEST(SessionFaults, AreRecordedAndLeaveTheEncoderUsable) {
  for (const SessionFault& fault : kFaults) {
    ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->AnswerAnyFrame("04 A1 B2 C3 90 00");
    if (fault.code == 0) {
      bench.pcsc->ThrowOnNext(fault.call, 6, "The handle is invalid");
    } else {
      bench.pcsc->QueueResult(fault.call, fault.code);
    }

    std::string serial = "stale";
    EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceError) << fault.what;
    EXPECT_EQ(serial, "") << fault.what;
    const CError& record = bench.encoder.LastError();
    EXPECT_EQ(record.Number(), fault.number) << fault.what;
    EXPECT_EQ(record.Description(), fault.description) << fault.what;
    EXPECT_EQ(record.ComFunction(), "ReadSerialNumber") << fault.what;
    if (fault.code != 0) {
      EXPECT_EQ(record.RdrRetCode(), SCardErrorText(static_cast<std::int32_t>(fault.code)))
          << fault.what;
    }

    // The next operation either works at once or, with the session lost, finds the Encoder
    // closed without touching the reader; reopening brings it back.
    bench.pcsc->ClearLog();
    const sceReturnCode next = bench.encoder.ReadSerialNumber(serial);
    if (fault.sessionLost) {
      EXPECT_EQ(next, sceError) << fault.what;
      EXPECT_EQ(record.Number(), err::kEncoderClosed) << fault.what;
      EXPECT_TRUE(bench.pcsc->calls().empty()) << fault.what;
      EXPECT_EQ(bench.encoder.EncoderState(), sceClosed) << fault.what;
      bench.encoder.ReOpenEncoder();
      EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceSuccess) << fault.what;
    } else {
      EXPECT_EQ(next, sceSuccess) << fault.what;
    }
    EXPECT_EQ(serial, "04A1B2C3") << fault.what;
    EXPECT_EQ(bench.pcsc->OpenContexts(), 1U) << fault.what;
    EXPECT_EQ(bench.pcsc->OpenCards(), 1U) << fault.what;
  }
}

}  // namespace
}  // namespace lumivex::test
