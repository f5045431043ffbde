// The simulated cards behind the production PC/SC binding, the real libpcsclite and pcscd, exactly
// as a USB reader would be seen.
#include <gtest/gtest.h>
#include <winscard.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "platform/posix/pcsc_lite_api.h"
#include "tests/sim/apdu_text.h"

namespace lumivex::sim::test {
namespace {

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

class RealStack : public testing::Test {
 protected:
  void SetUp() override {
    if (Env("LUMIVEX_PCSC_HARNESS").empty()) {
      GTEST_SKIP() << "needs the real PC/SC stack: run inside tests/pcsc/with-pcscd.sh";
    }
    ASSERT_EQ(api_.EstablishContext(scard::SCOPE_SYSTEM, &context_), 0);
    card_ = Env("LUMIVEX_SIM_CARD");
    reader_ = Env("LUMIVEX_PCSC_READER");
  }

  void TearDown() override {
    if (handle_ != 0) api_.Disconnect(handle_, scard::LEAVE_CARD);
    if (context_ != 0) api_.ReleaseContext(context_);
  }

  // Waits (pcscd polls the virtual reader) for the card, then connects as the component does.
  void Connect() {
    SCARD_READERSTATE state{};
    state.szReader = reader_.c_str();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while ((state.dwEventState & SCARD_STATE_PRESENT) == 0) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "no card in " << reader_;
      state.dwCurrentState = state.dwEventState;
      const LONG result = SCardGetStatusChange(context_, 1000, &state, 1);
      ASSERT_TRUE(result == 0 || result == SCARD_E_TIMEOUT) << std::hex << result;
    }
    PcscDword protocol = 0;
    ASSERT_EQ(api_.Connect(context_, reader_, scard::SHARE_EXCLUSIVE, scard::PROTOCOL_T0, &handle_,
                           &protocol),
              0);
  }

  // T=0 header and a 4096-byte receive buffer, as the component sends.
  std::string Send(const std::string& hex) {
    const std::vector<std::uint8_t> command = Bytes(hex);
    std::vector<std::uint8_t> buffer(4096);
    PcscDword length = buffer.size();
    const PcscIoRequest header{scard::PROTOCOL_T0, 8};
    const PcscLong result = api_.Transmit(handle_, &header, command.data(), command.size(), nullptr,
                                          buffer.data(), &length);
    EXPECT_EQ(result, 0) << hex;
    return result == 0 ? Hex(std::span(buffer.data(), length)) : "";
  }

  std::string card_;
  std::string reader_;
  PcscLiteApi api_;
  PcscContext context_ = 0;
  PcscHandle handle_ = 0;
};

TEST_F(RealStack, ExclusiveConnectionReadsTheUid) {
  ASSERT_NO_FATAL_FAILURE(Connect());
  PcscHandle second = 0;
  PcscDword protocol = 0;
  EXPECT_EQ(ScardCode(api_.Connect(context_, reader_, scard::SHARE_SHARED, scard::PROTOCOL_T0,
                                   &second, &protocol)),
            scard::E_SHARING_VIOLATION);

  std::string name;
  std::uint8_t atr[MAX_ATR_SIZE];
  PcscDword atrLength = sizeof atr;
  ASSERT_EQ(api_.Status(handle_, &name, nullptr, &protocol, atr, &atrLength), 0);
  EXPECT_EQ(name, reader_);
  EXPECT_EQ(protocol, scard::PROTOCOL_T0);
  const std::string uid = Send("FFCA000000");
  EXPECT_EQ(Sw(uid), "9000");
  if (card_.starts_with("mifare")) {
    EXPECT_EQ(uid, "123456789000");
    // The card name bytes of the ATR: 0001 for 1K, 0002 for 4K.
    EXPECT_EQ(Hex(std::span(atr, atrLength)).substr(26, 4), card_ == "mifare1k" ? "0001" : "0002");
  }
}

TEST_F(RealStack, MifareBlocksWithKeys) {
  if (!card_.starts_with("mifare")) GTEST_SKIP() << "the first slot holds a " << card_ << " card";
  ASSERT_NO_FATAL_FAILURE(Connect());
  EXPECT_EQ(Send("FFF3000006FFFFFFFFFFFF10").substr(0, 10), "1234567808");
  const std::string data = "0102030405060708090A0B0C0D0E0F10";
  EXPECT_EQ(Send("FFF4000216" + data + "FFFFFFFFFFFF"), "9000");
  EXPECT_EQ(Send("FFF3000206FFFFFFFFFFFF10"), data + "9000");
  EXPECT_EQ(Send("FFF3000206A0A1A2A3A4A510"), "6982");
}

TEST_F(RealStack, SecondSlotHoldsTheDesfireCard) {
  if (Env("LUMIVEX_SIM_CARD2") != "desfire") GTEST_SKIP() << "no DESFire card in the second slot";
  reader_ = Env("LUMIVEX_PCSC_READER2");
  ASSERT_NO_FATAL_FAILURE(Connect());
  EXPECT_EQ(Send("FFCA000000"), "041122334455669000");
  EXPECT_EQ(Sw(Send("9060000000")), "91AF");  // GetVersion: the first of three frames
}

}  // namespace
}  // namespace lumivex::sim::test
