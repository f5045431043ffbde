// A broken or hostile card under the simulated reader, through the whole Encoder: a card that
// never answers, answers garbage, always has more to send, or leaves the field mid-command. Every
// operation ends in a bounded number of frames with its failure recorded, and the Encoder works
// again once a good card is back.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/texts.h"
#include "sim/desfire/desfire_card.h"
#include "sim/mifare/mifare_classic_card.h"
#include "tests/support/simulated_encoder.h"

namespace lumivex::test {
namespace {

using sim::Fault;
using E = Encoder;
using S = std::string;

constexpr const char* kMifareKey = "FF FF FF FF FF FF";
constexpr const char* kDesfireKey = "00000000000000000000000000000000";

// An application 112233 holding a 100-byte plain data file 1 (written), selected with its key 0.
void PrepareDesfireApplication(Encoder& e) {
  const bool ready = e.DESFireSelectRoot(kDesfireKey) == sceSuccess &&
                     e.DESFireCreateApplication("112233", dfkApplDefault, 2) == sceSuccess &&
                     e.DESFireSelectApplication("112233", 0, kDesfireKey) == sceSuccess &&
                     e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 100) == sceSuccess &&
                     e.DESFireWriteData(1, 0, 100, S(200, 'A'), true) == sceSuccess;
  if (!ready)
    throw std::runtime_error("DESFire preparation failed: " + e.LastError().Description());
}

// A public operation under a broken card. A DESFire member works on the connection as it stands
// and records its own failure; the others take the card anew and record the engine's.
struct Operation {
  const char* name;  // what the operation records as the failing function
  bool desfireCard;
  std::size_t frames;       // frames a good card exchanges for it
  bool chains;              // follows 91AF continuation frames
  std::size_t continuedAt;  // the first continuation frame a good card needs (0: none)
  bool clearsOutput;        // its output is "" after a failure
  std::function<sceReturnCode(Encoder&, std::string& output)> run;
  bool prepare = false;  // needs PrepareDesfireApplication on a good card first
  [[nodiscard]] bool desfireMember() const { return S(name).starts_with("DESFire"); }
  [[nodiscard]] S what() const { return S(name) + (desfireCard ? " on DESFire" : " on MIFARE"); }
};

const std::vector<Operation> kOperations = {
    {"ReadSerialNumber", false, 1, false, 0, true,
     [](E& e, S& out) { return e.ReadSerialNumber(out); }},
    {"EscapeExt", false, 1, false, 0, true,
     [](E& e, S& out) {
       S sw;
       const sceReturnCode result = e.EscapeExt("ff ca 00 00 00", out, sw);
       out += sw;
       return result;
     }},
    {"MifareReadDataBloc", false, 1, false, 0, false,
     [](E& e, S& out) { return e.MifareReadDataBloc(4, kMifareKey, 0, out); }},
    {"MifareWriteBytesInBloc", false, 2, false, 0, false,
     [](E& e, S& out) {
       out = "A1B2C3";
       return e.MifareWriteBytesInBloc(5, kMifareKey, 0, 3, 5, out);
     }},
    {"DESFireSelectRoot", true, 3, false, 0, false,
     [](E& e, S&) { return e.DESFireSelectRoot(kDesfireKey); }},
    {"DESFireGetVersion", true, 3, true, 2, false,
     [](E& e, S& out) {
       Variant information;
       const sceReturnCode result = e.DESFireGetVersion(dfvAllData, information);
       if (information.AsText() != nullptr) out = *information.AsText();
       return result;
     }},
    {"DESFireReadData", true, 3, true, 3, false,
     [](E& e, S& out) { return e.DESFireReadData(1, 0, 0, out, true); }, true},
    {"DESFireWriteData", true, 3, true, 0, false,
     [](E& e, S&) { return e.DESFireWriteData(1, 0, 80, S(160, 'B'), true); }, true},
};

std::string ScardText(std::uint32_t code) {
  return SCardErrorText(ScardNumber(ScardResult(code)));
}

// An Encoder opened on the simulated reader with a fresh card of the operation's kind, prepared.
class Bench : public SimulatedEncoder {
 public:
  explicit Bench(const Operation& op)
      : SimulatedEncoder(op.desfireCard ? sim::MakeDesfire() : sim::MakeMifareClassic()), op_(op) {
    encoder.SetTraceSink(nullptr);
    EXPECT_EQ(encoder.OpenEncoder(0), sceSuccess);
    if (op.prepare) PrepareDesfireApplication(encoder);
  }
  void SetFault(Fault fault, std::size_t frames = 0) { pcsc->reader().SetFault(fault, frames); }
  // Runs the operation and counts the frames it sent.
  sceReturnCode Run(std::string& output) {
    const std::size_t before = pcsc->transmitCount();
    const sceReturnCode result = op_.run(encoder, output);
    frames = pcsc->transmitCount() - before;
    return result;
  }
  // With the fault gone and a good card present, the Encoder reads the card again.
  void ExpectRecovered(const std::string& context) {
    SetFault(Fault::None);
    if (!pcsc->reader().HasCard())
      pcsc->InsertCard(op_.desfireCard ? sim::MakeDesfire() : sim::MakeMifareClassic());
    std::string serial;
    EXPECT_EQ(encoder.ReadSerialNumber(serial), sceSuccess) << context;
    EXPECT_EQ(serial, op_.desfireCard ? "04112233445566" : "12345678") << context;
  }
  // A failed frame: the operation's number and text, and as return code the PC/SC text (engine
  // failures) or the last status word (DESFire failures).
  void ExpectTransportFailure(sceReturnCode result, const std::string& output,
                              const std::string& pcscText, const std::string& statusWord) {
    const CError& record = encoder.LastError();
    EXPECT_TRUE(!op_.clearsOutput || output.empty()) << op_.what() << ": " << output;
    // DESFire members record their own failure, except a selection, which keeps the engine's.
    const bool engine = !op_.desfireMember() || S(op_.name) == "DESFireSelectRoot";
    EXPECT_EQ(std::make_tuple(result, record.Number(), record.Description(), record.ComFunction(),
                              record.RdrRetCode()),
              std::make_tuple(sceError, engine ? err::kCommandFailed : err::kOperationFailed,
                              engine ? "Encoder command failed" : "The requested operation failed",
                              op_.name, engine ? pcscText : statusWord))
        << op_.what();
  }
  std::size_t frames = 0;

 private:
  const Operation& op_;
};

// One card per operation: a good card needs only the expected frames; then, under each fault in
// turn, the operation ends in a bounded number of frames with the failure recorded and the
// Encoder reads the card again once the fault is gone. (Answers of any length and status word are
// the engine fuzzer's: it checks the same for every member.)
TEST(HostileCard, GoodMuteAndEndlessCards) {
  for (const Operation& op : kOperations) {
    {
      Bench good(op);
      std::string output;
      EXPECT_EQ(good.Run(output), sceSuccess) << op.what();
      EXPECT_EQ(good.frames, op.frames) << op.what();
    }
    Bench bench(op);
    std::string output = "stale";
    bench.SetFault(Fault::Mute);
    sceReturnCode result = bench.Run(output);
    bench.ExpectTransportFailure(result, output, ScardText(scard::W_UNRESPONSIVE_CARD), "FFFF");
    bench.ExpectRecovered(op.what());

    bench.SetFault(Fault::Endless91AF);
    output = "stale";
    result = bench.Run(output);
    if (!op.chains) {
      // No chain asked for: a 91AF answer is the caller's to continue, so nothing more is sent.
      EXPECT_EQ(bench.frames, op.frames) << op.what();
      // A refusal, if any, names the operation and carries one of the component's numbers.
      const CError& record = bench.encoder.LastError();
      if (result == sceError) {
        EXPECT_EQ(static_cast<std::uint32_t>(record.Number()) >> 16, 0x9001U) << op.what();
        EXPECT_EQ(record.ComFunction(), op.name) << op.what();
      }
    } else {
      EXPECT_LE(bench.frames, 1024U + op.frames) << op.what();
      bench.ExpectTransportFailure(result, output, "91AF", "91AF");
    }
    bench.ExpectRecovered(op.what());
  }
}

// The card leaves during each frame of the operation in turn.
TEST(HostileCard, ACardPulledMidOperationIsReportedUntilAnotherComes) {
  const std::string removed = ScardText(scard::W_REMOVED_CARD);
  for (const Operation& op : kOperations) {
    for (std::size_t cut = 0; cut < op.frames; ++cut) {
      const std::string what = op.what() + ", pulled at frame " + std::to_string(cut + 1);
      Bench bench(op);
      bench.SetFault(Fault::RemoveAfter, cut);
      std::string output = "stale";
      const sceReturnCode result = bench.Run(output);
      EXPECT_EQ(bench.frames, cut + 1) << what;
      // A frame that continues a chain leaves the chain's 91AF as the last status word.
      const bool midChain = op.continuedAt != 0 && cut + 1 >= op.continuedAt;
      bench.ExpectTransportFailure(result, output, removed, midChain ? "91AF" : "FFFF");

      // The card is gone. An operation that takes the card anew finds an empty encoder; a DESFire
      // operation works on the connection it had, which the reader now refuses. Neither sends.
      output = "stale";
      const sceReturnCode next = bench.Run(output);
      EXPECT_EQ(bench.frames, 0U) << what;
      if (!op.desfireMember()) {
        const CError& record = bench.encoder.LastError();
        EXPECT_EQ(next, sceError) << what;
        EXPECT_EQ(record.Number(), err::kEncoderEmpty) << what;
        EXPECT_EQ(record.Description(), "No card in encoder") << what;
        EXPECT_EQ(record.RdrRetCode(), ScardText(scard::E_NO_SMARTCARD)) << what;
      } else {
        bench.ExpectTransportFailure(next, output, removed, "FFFF");
      }
      EXPECT_EQ(bench.encoder.EncoderState(), sceOpened) << what;
      bench.ExpectRecovered(what);
      EXPECT_EQ(bench.encoder.EncoderState(), sceReady) << what;
    }
  }
}

}  // namespace
}  // namespace lumivex::test
