// The Encoder on the system's bindings through the real PC/SC stack: pcsc-lite, pcscd, the virtual
// reader driver and the simulated cards behind it, exactly as a USB reader is seen.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "component/encoder.h"
#include "component/error_codes.h"
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

  const std::string key = "FFFFFFFFFFFF";
  std::string data = "F0E1D2C3B4A5968778695A4B3C2D1E0F";
  std::string read;
  ASSERT_EQ(encoder.MifareWriteDataBloc(2, key, 1, data), sceSuccess)
      << encoder.LastError().RdrRetCode();
  ASSERT_EQ(encoder.MifareReadDataBloc(2, key, 1, read), sceSuccess);
  EXPECT_EQ(read, data);
  EXPECT_EQ(encoder.MifareReadDataBloc(2, "A0A1A2A3A4A5", 1, read), sceError);
  EXPECT_EQ(encoder.LastError().RdrRetCode(), "6982");
  EXPECT_EQ(encoder.CloseEncoder(), sceSuccess);
}

// A DESFire card life, shortened.
TEST_F(RealStack, DesfireCardLife) {
  constexpr const char* kFactoryKey = "0000000000000000";
  constexpr const char* kAppKey = "00112233445566778899AABBCCDDEEFF";
  ASSERT_NO_FATAL_FAILURE(OpenOn("desfire"));
  std::string uid;
  ASSERT_EQ(encoder.ReadSerialNumber(uid), sceSuccess);
  EXPECT_EQ(uid, "04112233445566");
  ASSERT_EQ(encoder.DESFireSelectRoot(kFactoryKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireFormat(), sceSuccess);
  ASSERT_EQ(encoder.DESFireCreateApplication("A1B2C3", dfkApplDefault, 2), sceSuccess);
  ASSERT_EQ(encoder.DESFireSelectApplication("A1B2C3", 0, kFactoryKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireChangeKey(0, kFactoryKey, kAppKey), sceSuccess);
  EXPECT_EQ(encoder.DESFireSelectApplication("A1B2C3", 0, kFactoryKey), sceError);
  EXPECT_EQ(encoder.LastError().Number(), err::kAuthenticationFailure);
  ASSERT_EQ(encoder.DESFireSelectApplication("A1B2C3", 0, kAppKey), sceSuccess);

  // 46 bytes go out in two frames and come back in one answer.
  std::string data;
  for (int i = 0; i < 46; ++i) data += "A5";
  ASSERT_EQ(encoder.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 64), sceSuccess);
  ASSERT_EQ(encoder.DESFireWriteData(1, 0, 0, data, true), sceSuccess);
  std::string read;
  ASSERT_EQ(encoder.DESFireReadData(1, 0, 46, read, true), sceSuccess);
  std::erase(read, ' ');
  EXPECT_EQ(read, data);

  ASSERT_EQ(encoder.DESFireSelectRoot(kFactoryKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireDeleteApplication("A1B2C3"), sceSuccess);
  std::string apps = "unchanged";
  ASSERT_EQ(encoder.DESFireGetApplications(apps), sceSuccess);
  EXPECT_EQ(apps, "");
  EXPECT_EQ(encoder.CloseEncoder(), sceSuccess);
}

}  // namespace
}  // namespace lumivex
