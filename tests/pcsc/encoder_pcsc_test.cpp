// The Encoder on the system's bindings through the real PC/SC stack: pcsc-lite, pcscd, the virtual
// reader driver and the simulated cards behind it, exactly as a USB reader is seen. What only the
// daemon shows is checked here: the card's identity as pcscd reports it and the exclusive hold
// against another program. Whole card sessions through the stack are the demo's (cli.demo.*, one
// for each reader), frames and records the unit tests'.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "component/encoder.h"
#include "platform/platform.h"

namespace lumivex {
namespace {

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

class RealStack : public testing::Test {
 protected:
  // Opens the encoder on the reader that holds a card of this kind in this run, once pcscd shows
  // the card (it polls the virtual reader), or skips the test.
  void OpenOn(const std::string& kind) {
    if (Env("LUMIVEX_PCSC_HARNESS").empty())
      GTEST_SKIP() << "needs the real PC/SC stack: run inside tests/pcsc/with-pcscd.sh";
    const bool first = Env("LUMIVEX_SIM_CARD").starts_with(kind);
    if (!first && !Env("LUMIVEX_SIM_CARD2").starts_with(kind))
      GTEST_SKIP() << "no " << kind << " card in a reader this run started";
    card = Env(first ? "LUMIVEX_SIM_CARD" : "LUMIVEX_SIM_CARD2");
    reader = Env(first ? "LUMIVEX_PCSC_READER" : "LUMIVEX_PCSC_READER2");
    encoder.SetOpenWait(std::chrono::milliseconds(0));
    encoder.Parameters("Device=" + reader);
    ASSERT_EQ(encoder.OpenEncoder(0), sceSuccess) << encoder.LastError().Description();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (encoder.EncoderState() != sceReady && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    ASSERT_EQ(encoder.EncoderState(), sceReady);
  }

  Encoder encoder{DefaultPlatform()};
  std::string card, reader;
};

TEST_F(RealStack, MifareSessionHoldsTheCardExclusively) {
  ASSERT_NO_FATAL_FAILURE(OpenOn("mifare"));
  if (IsSkipped()) return;  // a skip in the helper only leaves the helper
  std::string uid;
  ASSERT_EQ(encoder.ReadSerialNumber(uid), sceSuccess);
  EXPECT_EQ(uid, "12345678");
  // The card name bytes of the ATR: 00 01 for 1K, 00 02 for 4K.
  EXPECT_EQ(encoder.ATRString().substr(39, 5), card == "mifare1k" ? "00 01" : "00 02");
  // Another program (here another Encoder) cannot take the card: it ends closed.
  Encoder other(DefaultPlatform());
  other.SetOpenWait(std::chrono::milliseconds(0));
  other.Parameters("Device=" + reader);
  other.OpenEncoder(0);
  EXPECT_EQ(other.EncoderState(), sceClosed);
  EXPECT_EQ(encoder.CloseEncoder(), sceSuccess);
}

}  // namespace
}  // namespace lumivex
