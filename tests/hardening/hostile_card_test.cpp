// A broken or hostile card under the simulated reader, through the whole Encoder: a card that
// never answers, answers garbage, always has more to send, or leaves the field mid-command. Every
// operation ends in a bounded number of frames with its failure recorded, and the Encoder works
// again once a good card is back.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "component/texts.h"
#include "sim/desfire/desfire_card.h"
#include "sim/mifare/mifare_classic_card.h"
#include "sim/simulated_pcsc.h"
#include "tests/hardening/card_operations.h"
#include "tests/support/virtual_host.h"

namespace lumivex::test {
namespace {

using sim::Fault;

std::string Describe(const Operation& op) {
  return std::string(op.name) + (op.card == Card::Mifare ? " on MIFARE" : " on DESFire");
}

std::string ScardText(std::uint32_t code) {
  return SCardErrorText(ScardNumber(ScardResult(code)));
}

// An Encoder opened on the simulated reader with a fresh card of the operation's kind, prepared
// for the operation.
class Bench {
 public:
  explicit Bench(const Operation& op) : card_(op.card) {
    encoder_.Parameters(std::string("Device=") + sim::SimulatedPcsc::kDefaultReaderName);
    InsertFreshCard();
    EXPECT_EQ(encoder_.OpenEncoder(0), sceSuccess);
    if (op.prepare) op.prepare(encoder_);
  }

  void InsertFreshCard() {
    pcsc_->InsertCard(card_ == Card::Mifare ? sim::MakeMifareClassic() : sim::MakeDesfire());
  }
  void SetFault(Fault fault, std::size_t frames = 0) { pcsc_->reader().SetFault(fault, frames); }

  // Runs the operation and counts the frames it sent.
  sceReturnCode Run(const Operation& op, std::string& output) {
    const std::size_t before = pcsc_->transmitCount();
    const sceReturnCode result = op.run(encoder_, output);
    frames_ = pcsc_->transmitCount() - before;
    return result;
  }

  // With the fault gone and a good card present, the Encoder reads the card again.
  void ExpectRecovered(const std::string& context) {
    SetFault(Fault::None);
    if (!pcsc_->reader().HasCard()) InsertFreshCard();
    std::string serial;
    EXPECT_EQ(encoder_.ReadSerialNumber(serial), sceSuccess) << context;
    EXPECT_EQ(serial, card_ == Card::Mifare ? "12345678" : "04112233445566") << context;
  }

  Encoder& encoder() { return encoder_; }
  const CError& error() { return encoder_.LastError(); }
  [[nodiscard]] std::size_t frames() const { return frames_; }

 private:
  Card card_;
  std::shared_ptr<sim::SimulatedPcsc> pcsc_ = std::make_shared<sim::SimulatedPcsc>();
  Encoder encoder_{Platform{pcsc_, std::make_shared<VirtualHost>(), nullptr}};
  std::size_t frames_ = 0;
};

// A failure names the operation and carries one of the component's numbers (9001xxxx).
void ExpectRecordedFailure(Bench& bench, const Operation& op) {
  EXPECT_EQ(static_cast<std::uint32_t>(bench.error().Number()) >> 16, 0x9001U)
      << Describe(op) << ": " << bench.error().Description();
  EXPECT_EQ(bench.error().ComFunction(), op.name) << Describe(op);
}

// A failed frame: the operation's number and text, and as return code the PC/SC text (engine
// failures) or the last status word (DESFire failures).
void ExpectTransportFailure(Bench& bench, const Operation& op, sceReturnCode result,
                            const std::string& output, const std::string& pcscText,
                            const std::string& statusWord) {
  const std::string what = Describe(op);
  const bool engine = op.transportFailure == err::kCommandFailed;
  EXPECT_EQ(result, sceError) << what;
  if (op.clearsOutput) {
    EXPECT_EQ(output, "") << what;
  }
  EXPECT_EQ(bench.error().Number(), op.transportFailure) << what;
  EXPECT_EQ(bench.error().Description(),
            engine ? "Encoder command failed" : "The requested operation failed")
      << what;
  EXPECT_EQ(bench.error().ComFunction(), op.name) << what;
  EXPECT_EQ(bench.error().RdrRetCode(), engine ? pcscText : statusWord) << what;
}

TEST(HostileCard, AGoodCardNeedsOnlyTheExpectedFrames) {
  for (const Operation& op : Operations()) {
    Bench bench(op);
    std::string output;
    EXPECT_EQ(bench.Run(op, output), sceSuccess) << Describe(op);
    EXPECT_EQ(bench.frames(), op.frames) << Describe(op);
  }
}

// One card per operation, under each fault in turn: each ends in a bounded number of frames with
// the failure recorded and the Encoder reading the card again once the fault is gone.
TEST(HostileCard, MuteEndlessAndGarbageAnswersEndInARecordedFailure) {
  for (const Operation& op : Operations()) {
    const std::string what = Describe(op);
    Bench bench(op);
    std::string output = "stale";
    bench.SetFault(Fault::Mute);
    sceReturnCode result = bench.Run(op, output);
    ExpectTransportFailure(bench, op, result, output, ScardText(scard::W_UNRESPONSIVE_CARD),
                           "FFFF");
    bench.ExpectRecovered(what);

    bench.SetFault(Fault::Endless91AF);
    output = "stale";
    result = bench.Run(op, output);
    if (!op.chains) {
      // No chain asked for: a 91AF answer is the caller's to continue, so nothing more is sent.
      EXPECT_EQ(bench.frames(), op.frames) << what;
      if (result == sceError) ExpectRecordedFailure(bench, op);
    } else {
      EXPECT_LE(bench.frames(), 1024U + op.frames) << what;
      ExpectTransportFailure(bench, op, result, output, "91AF", "91AF");
    }
    bench.ExpectRecovered(what);

    // Random answers of random length: random status words are almost never success.
    bench.SetFault(Fault::Garbage);
    int failures = 0;
    for (int round = 0; round < 40; ++round) {
      output = "stale";
      result = bench.Run(op, output);
      EXPECT_LE(bench.frames(), 1024U) << what;
      EXPECT_LE(output.size(), 2U * 4096U) << what;
      if (result == sceSuccess) continue;
      ++failures;
      EXPECT_EQ(result, sceError) << what;
      if (op.clearsOutput) {
        EXPECT_EQ(output, "") << what;
      }
      ExpectRecordedFailure(bench, op);
    }
    EXPECT_GT(failures, 20) << what;
    bench.ExpectRecovered(what);
  }
}

// The card leaves during each frame of the operation in turn.
TEST(HostileCard, ACardPulledMidOperationIsReportedUntilAnotherComes) {
  for (const Operation& op : Operations()) {
    for (std::size_t cut = 0; cut < op.frames; ++cut) {
      const std::string what = Describe(op) + ", pulled at frame " + std::to_string(cut + 1);
      Bench bench(op);
      bench.SetFault(Fault::RemoveAfter, cut);
      std::string output = "stale";
      const sceReturnCode result = bench.Run(op, output);
      EXPECT_EQ(bench.frames(), cut + 1) << what;
      const std::string removed = ScardText(scard::W_REMOVED_CARD);
      // A frame that continues a chain leaves the chain's 91AF as the last status word.
      const bool midChain = op.continuedAt != 0 && cut + 1 >= op.continuedAt;
      ExpectTransportFailure(bench, op, result, output, removed, midChain ? "91AF" : "FFFF");

      // The card is gone. An operation that takes the card anew finds an empty encoder; a DESFire
      // operation works on the connection it had, which the reader now refuses. Neither sends.
      output = "stale";
      const sceReturnCode next = bench.Run(op, output);
      EXPECT_EQ(bench.frames(), 0U) << what;
      if (op.reconnects) {
        EXPECT_EQ(next, sceError) << what;
        EXPECT_EQ(bench.error().Number(), err::kEncoderEmpty) << what;
        EXPECT_EQ(bench.error().Description(), "No card in encoder") << what;
        EXPECT_EQ(bench.error().RdrRetCode(), ScardText(scard::E_NO_SMARTCARD)) << what;
      } else {
        ExpectTransportFailure(bench, op, next, output, removed, "FFFF");
      }
      EXPECT_EQ(bench.encoder().EncoderState(), sceOpened) << what;
      bench.ExpectRecovered(what);
      EXPECT_EQ(bench.encoder().EncoderState(), sceReady) << what;
    }
  }
}

}  // namespace
}  // namespace lumivex::test
