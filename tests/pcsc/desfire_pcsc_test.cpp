// A DESFire card life, shortened, through the real PC/SC stack: the Encoder on pcsc-lite, pcscd,
// the virtual reader driver and the simulated card behind it.
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

constexpr const char* kFactoryKey = "0000000000000000";
constexpr const char* kAppKey = "00112233445566778899AABBCCDDEEFF";

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

// The reader that holds the simulated DESFire card in this run, or "" when there is none.
std::string DesfireReader() {
  if (Env("LUMIVEX_SIM_CARD") == "desfire") return Env("LUMIVEX_PCSC_READER");
  if (Env("LUMIVEX_SIM_CARD2") == "desfire") return Env("LUMIVEX_PCSC_READER2");
  return {};
}

TEST(DesfireRealStack, CardLife) {
  if (Env("LUMIVEX_PCSC_HARNESS").empty()) {
    GTEST_SKIP() << "needs the real PC/SC stack: run inside tests/pcsc/with-pcscd.sh";
  }
  const std::string reader = DesfireReader();
  if (reader.empty()) GTEST_SKIP() << "no DESFire card in a reader this run started";

  Encoder encoder(DefaultPlatform());
  encoder.SetOpenWait(std::chrono::milliseconds(0));
  encoder.Parameters("Device=" + reader);
  ASSERT_EQ(encoder.OpenEncoder(0), sceSuccess) << encoder.LastError().Description();
  // pcscd polls the virtual reader: the card may show up a moment after the daemon started.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (encoder.EncoderState() != sceReady && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  ASSERT_EQ(encoder.EncoderState(), sceReady);

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

  ASSERT_EQ(encoder.DESFireCreateValueFile(2, dfcPlain, 0, 0, 0, 0, 0, 100, 10, false), sceSuccess);
  ASSERT_EQ(encoder.DESFireCredit(2, 5), sceSuccess);
  ASSERT_EQ(encoder.DESFireCommitTransaction(), sceSuccess);
  std::int32_t value = 0;
  ASSERT_EQ(encoder.DESFireGetValue(2, value), sceSuccess);
  EXPECT_EQ(value, 15);

  ASSERT_EQ(encoder.DESFireSelectRoot(kFactoryKey), sceSuccess);
  ASSERT_EQ(encoder.DESFireDeleteApplication("A1B2C3"), sceSuccess);
  std::string apps = "unchanged";
  ASSERT_EQ(encoder.DESFireGetApplications(apps), sceSuccess);
  EXPECT_EQ(apps, "");
  EXPECT_EQ(encoder.CloseEncoder(), sceSuccess);
}

}  // namespace
}  // namespace lumivex
