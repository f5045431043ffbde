#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "sim/mifare/mifare_classic_card.h"
#include "sim/simulated_pcsc.h"
#include "tests/sim/apdu_text.h"

namespace lumivex::sim::test {
namespace {

using namespace lumivex::scard;

constexpr PcscLong kOk = 0;
const auto R = [](std::uint32_t code) { return ScardResult(code); };
const std::string kAtr1K = "3B8F8001804F0CA000000306030001000000006A";

class SimulatedPcscTest : public testing::Test {
 protected:
  void SetUp() override {
    pcsc_.InsertCard(MakeMifareClassic());
    ASSERT_EQ(pcsc_.EstablishContext(SCOPE_SYSTEM, &context_), kOk);
    ASSERT_EQ(Connect(&card_), kOk);
  }

  PcscLong Connect(PcscHandle* card, PcscDword share = SHARE_EXCLUSIVE) {
    PcscDword protocol = 0;
    return pcsc_.Connect(context_, "Lumivex Simulator 0", share, PROTOCOL_T0, card, &protocol);
  }

  // Sends as the component does (T=0 header); the answer as hex, or "error" and the PC/SC code.
  std::string Send(PcscHandle card, const std::string& hex, PcscDword bufferSize = 4096) {
    const auto command = Bytes(hex);
    std::vector<std::uint8_t> buffer(4096);
    PcscDword length = bufferSize;
    const PcscIoRequest header{PROTOCOL_T0, 8};
    const PcscLong result = pcsc_.Transmit(card, &header, command.data(), command.size(), nullptr,
                                           buffer.data(), &length);
    if (result == kOk) return Hex(std::span(buffer.data(), length));
    char text[20];
    (void)std::snprintf(text, sizeof text, "error %08X", ScardCode(result));
    return text;
  }

  SimulatedPcsc pcsc_;
  PcscContext context_ = 0;
  PcscHandle card_ = 0;
};

TEST_F(SimulatedPcscTest, ConnectRules) {
  PcscHandle other = 0;
  PcscDword protocol = 0;
  EXPECT_EQ(pcsc_.Connect(context_, "Other", SHARE_EXCLUSIVE, PROTOCOL_T0, &other, &protocol),
            R(E_UNKNOWN_READER));
  EXPECT_EQ(Connect(&other), R(E_SHARING_VIOLATION));
  EXPECT_EQ(Connect(&other, SHARE_SHARED), R(E_SHARING_VIOLATION));
  ASSERT_EQ(pcsc_.Disconnect(card_, LEAVE_CARD), kOk);
  ASSERT_EQ(Connect(&card_, SHARE_SHARED), kOk);
  EXPECT_EQ(Connect(&other, SHARE_SHARED), kOk);
  EXPECT_EQ(Connect(&other), R(E_SHARING_VIOLATION));
  pcsc_.RemoveCard();
  EXPECT_EQ(Connect(&other), R(E_NO_SMARTCARD));
}

TEST_F(SimulatedPcscTest, RemovalMidSessionInvalidatesOldHandles) {
  EXPECT_EQ(Send(card_, "FFCA000000"), "123456789000");
  pcsc_.RemoveCard();
  EXPECT_EQ(Send(card_, "FFCA000000"), "error 80100069");
  pcsc_.InsertCard(MakeMifareClassic({false, {1, 2, 3, 4}}));
  EXPECT_EQ(Send(card_, "FFCA000000"), "error 80100069") << "a handle from before the removal";
  PcscHandle fresh = 0;
  ASSERT_EQ(Connect(&fresh), kOk) << "the stale handle does not hold the new card";
  EXPECT_EQ(Send(fresh, "FFCA000000"), "010203049000");
}

TEST_F(SimulatedPcscTest, StatusAndAttributes) {
  std::string name;
  PcscDword protocol = 0;
  std::uint8_t atr[32];
  PcscDword atrLength = sizeof atr;
  ASSERT_EQ(pcsc_.Status(card_, &name, nullptr, &protocol, atr, &atrLength), kOk);
  EXPECT_EQ(name, "Lumivex Simulator 0");
  EXPECT_EQ(protocol, PROTOCOL_T0);
  EXPECT_EQ(Hex(std::span(atr, atrLength)), kAtr1K);

  const std::pair<PcscDword, std::string> attributes[] = {
      {ATTR_DEVICE_FRIENDLY_NAME_A, "4C756D697665782053696D756C61746F72203000"},  // zero-terminated
      {ATTR_VENDOR_IFD_VERSION, "03000201"},
      {ATTR_ATR_STRING, kAtr1K}};
  for (const auto& [id, expected] : attributes) {
    PcscDword length = 0;
    ASSERT_EQ(pcsc_.GetAttrib(card_, id, nullptr, &length), kOk);
    std::vector<std::uint8_t> value(length);
    PcscDword shortLength = length - 1;
    EXPECT_EQ(pcsc_.GetAttrib(card_, id, value.data(), &shortLength), R(E_INSUFFICIENT_BUFFER));
    ASSERT_EQ(pcsc_.GetAttrib(card_, id, value.data(), &length), kOk);
    EXPECT_EQ(Hex(value), expected) << id;
  }
  PcscDword length = 0;
  EXPECT_EQ(pcsc_.GetAttrib(card_, 0x12345678, nullptr, &length), R(E_UNSUPPORTED_FEATURE));
}

TEST_F(SimulatedPcscTest, TransmitChecks) {
  // The write is done even though its answer does not fit; a read then shows it.
  EXPECT_EQ(Send(card_, "FFF4000116" + std::string(30, '0') + "01FFFFFFFFFFFF", 1),
            "error 80100008");
  EXPECT_EQ(Send(card_, "FFF3000106FFFFFFFFFFFF10").substr(30), "019000");
  EXPECT_EQ(Send(card_ + 99, "FFCA000000"), "error 80100003");
  std::uint8_t buffer[16];
  PcscDword length = sizeof buffer;
  const PcscIoRequest t1{PROTOCOL_T1, 8};
  const std::uint8_t getUid[] = {0xFF, 0xCA, 0, 0, 0};
  EXPECT_EQ(pcsc_.Transmit(card_, &t1, getUid, 5, nullptr, buffer, &length), R(E_PROTO_MISMATCH));
  EXPECT_EQ(pcsc_.transmitCount(), 2U);
}

}  // namespace
}  // namespace lumivex::sim::test
