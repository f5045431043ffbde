// The PC/SC stack failing under an open Encoder: the daemon stopped or restarted, the reader
// unplugged, another process holding the card, a binding that cannot make a call. Each failure is
// recorded with its own number and text, no handle leaks, and the Encoder works again without the
// host doing anything more than reopening it when the session itself was lost.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/texts.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex::test {
namespace {

// A result code of 0 means the call cannot be made at all (the binding throws).
struct SessionFault {
  const char* what;
  PcscCall call;
  std::uint32_t code;
};

// One fault of each kind: any connection failure other than an empty reader takes one path, any
// failed frame another.
const std::vector<SessionFault> kFaults = {
    {"card held by another process", PcscCall::Connect, scard::E_SHARING_VIOLATION},
    {"daemon stopped during the frame", PcscCall::Transmit, scard::E_SERVICE_STOPPED},
    {"transmit cannot be made", PcscCall::Transmit, 0},
    {"connect cannot be made", PcscCall::Connect, 0},
};

TEST(SessionFaults, AreRecordedAndLeaveTheEncoderUsable) {
  for (const SessionFault& fault : kFaults) {
    const bool connect = fault.call == PcscCall::Connect;
    const bool thrown = fault.code == 0;
    ScriptedEncoder bench;
    bench.Open();
    bench.pcsc->AnswerAnyFrame("04 A1 B2 C3 90 00");
    if (thrown) {
      bench.pcsc->ThrowOnNext(fault.call, 6, "The handle is invalid");
    } else {
      bench.pcsc->QueueResult(fault.call, fault.code);
    }

    std::string serial = "stale";
    EXPECT_EQ(bench.encoder.ReadSerialNumber(serial), sceError) << fault.what;
    EXPECT_EQ(serial, "") << fault.what;
    const CError& record = bench.encoder.LastError();
    const auto [number, description, retCode] =
        thrown ? std::make_tuple(6, "The handle is invalid", connect ? "" : "OK (SCARD_S_SUCCESS)")
        : connect ? std::make_tuple(err::kCannotConnect, "Cannot open encoder", "")
                  : std::make_tuple(err::kCommandFailed, "Encoder command failed", "");
    EXPECT_EQ(std::make_tuple(record.Number(), record.Description(), record.ComFunction()),
              std::make_tuple(number, description, "ReadSerialNumber"))
        << fault.what;
    EXPECT_EQ(record.RdrRetCode(),
              thrown ? retCode : SCardErrorText(static_cast<std::int32_t>(fault.code)))
        << fault.what;

    // The next operation either works at once or, with the session lost, finds the Encoder
    // closed without touching the reader; reopening brings it back.
    bench.pcsc->ClearLog();
    const sceReturnCode next = bench.encoder.ReadSerialNumber(serial);
    // Only a connect that cannot be made loses the session.
    if (thrown && connect) {
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
