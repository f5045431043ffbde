#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include "sim/mifare/mifare_classic_card.h"
#include "sim/simulated_pcsc.h"
#include "tests/sim/apdu_text.h"

namespace lumivex::sim::test {
namespace {

using namespace lumivex::scard;

constexpr PcscLong kOk = 0;
PcscLong R(std::uint32_t code) {
  return ScardResult(code);
}

class SimulatedPcscTest : public testing::Test {
 protected:
  void SetUp() override {
    pcsc_.InsertCard(MakeMifareClassic());
    ASSERT_EQ(pcsc_.EstablishContext(SCOPE_SYSTEM, &context_), kOk);
  }

  PcscLong Connect(PcscHandle* card, PcscDword share = SHARE_EXCLUSIVE) {
    PcscDword protocol = 0;
    return pcsc_.Connect(context_, SimulatedPcsc::kDefaultReaderName, share, PROTOCOL_T0, card,
                         &protocol);
  }

  // Sends a command as the component does (T=0 header, 4096-byte buffer); the answer as hex text,
  // or the failing PC/SC code.
  std::string Send(PcscHandle card, const std::string& hex, PcscDword bufferSize = 4096) {
    const auto command = Bytes(hex);
    std::vector<std::uint8_t> buffer(4096);
    PcscDword length = bufferSize;
    const PcscIoRequest header{PROTOCOL_T0, 8};
    const PcscLong result =
        pcsc_.Transmit(card, &header, command.data(), static_cast<PcscDword>(command.size()),
                       nullptr, buffer.data(), &length);
    if (result != kOk) {
      char text[16];
      (void)std::snprintf(text, sizeof text, "%08X", ScardCode(result));
      return std::string("error ") + text;
    }
    return Hex(std::span(buffer.data(), length));
  }

  SimulatedPcsc pcsc_;
  PcscContext context_ = 0;
};

TEST_F(SimulatedPcscTest, ListReadersAsAMultiString) {
  PcscDword length = 0;
  ASSERT_EQ(pcsc_.ListReaders(context_, nullptr, &length), kOk);
  const std::string expected = std::string("Lumivex Simulator 0") + '\0' + '\0';
  EXPECT_EQ(length, expected.size());
  std::string buffer(length, 'x');
  PcscDword shortLength = length - 1;
  EXPECT_EQ(pcsc_.ListReaders(context_, buffer.data(), &shortLength), R(E_INSUFFICIENT_BUFFER));
  ASSERT_EQ(pcsc_.ListReaders(context_, buffer.data(), &length), kOk);
  EXPECT_EQ(buffer, expected);
  EXPECT_EQ(pcsc_.ListReaders(context_ + 1, nullptr, &length), R(E_INVALID_HANDLE));
}

TEST_F(SimulatedPcscTest, ConnectRules) {
  PcscHandle first = 0;
  PcscHandle second = 0;
  PcscDword protocol = 0;
  EXPECT_EQ(
      pcsc_.Connect(context_, "Other reader", SHARE_EXCLUSIVE, PROTOCOL_T0, &first, &protocol),
      R(E_UNKNOWN_READER));
  ASSERT_EQ(Connect(&first), kOk);
  EXPECT_EQ(Connect(&second), R(E_SHARING_VIOLATION));
  EXPECT_EQ(Connect(&second, SHARE_SHARED), R(E_SHARING_VIOLATION));
  ASSERT_EQ(pcsc_.Disconnect(first, LEAVE_CARD), kOk);
  ASSERT_EQ(Connect(&first, SHARE_SHARED), kOk);
  EXPECT_EQ(Connect(&second, SHARE_SHARED), kOk);
  EXPECT_EQ(Connect(&second), R(E_SHARING_VIOLATION));
  // Releasing the context ends its connections.
  ASSERT_EQ(pcsc_.ReleaseContext(context_), kOk);
  EXPECT_EQ(pcsc_.Disconnect(first, LEAVE_CARD), R(E_INVALID_HANDLE));

  ASSERT_EQ(pcsc_.EstablishContext(SCOPE_SYSTEM, &context_), kOk);
  pcsc_.RemoveCard();
  EXPECT_EQ(Connect(&first), R(E_NO_SMARTCARD));
}

TEST_F(SimulatedPcscTest, RemovalMidSessionInvalidatesOldHandles) {
  PcscHandle card = 0;
  ASSERT_EQ(Connect(&card), kOk);
  EXPECT_EQ(Send(card, "FFCA000000"), "123456789000");
  pcsc_.RemoveCard();
  EXPECT_EQ(Send(card, "FFCA000000"), "error 80100069");
  pcsc_.InsertCard(MakeMifareClassic({false, {1, 2, 3, 4}}));
  EXPECT_EQ(Send(card, "FFCA000000"), "error 80100069") << "a handle from before the removal";
  PcscHandle fresh = 0;
  ASSERT_EQ(Connect(&fresh), kOk) << "the stale handle does not hold the new card";
  EXPECT_EQ(Send(fresh, "FFCA000000"), "010203049000");
  EXPECT_EQ(pcsc_.Disconnect(card, LEAVE_CARD), kOk);
}

TEST_F(SimulatedPcscTest, StatusAndAttributes) {
  PcscHandle card = 0;
  ASSERT_EQ(Connect(&card), kOk);
  std::string name;
  PcscDword state = 0;
  PcscDword protocol = 0;
  PcscDword atrLength = 0;
  ASSERT_EQ(pcsc_.Status(card, &name, &state, &protocol, nullptr, &atrLength), kOk);
  EXPECT_EQ(name, "Lumivex Simulator 0");
  EXPECT_NE(state & STATE_PRESENT, 0U);
  EXPECT_EQ(protocol, PROTOCOL_T0);
  std::vector<std::uint8_t> atr(atrLength);
  ASSERT_EQ(pcsc_.Status(card, nullptr, nullptr, nullptr, atr.data(), &atrLength), kOk);
  EXPECT_EQ(Hex(atr), "3B8F8001804F0CA000000306030001000000006A");

  const struct {
    PcscDword id;
    std::string value;
  } attributes[] = {
      {ATTR_DEVICE_FRIENDLY_NAME_A,
       Hex(std::span(reinterpret_cast<const std::uint8_t*>("Lumivex Simulator 0"), 20))},
      {ATTR_VENDOR_IFD_VERSION, "03000201"},
      {ATTR_ATR_STRING, "3B8F8001804F0CA000000306030001000000006A"},
  };
  for (const auto& a : attributes) {
    PcscDword length = 0;
    ASSERT_EQ(pcsc_.GetAttrib(card, a.id, nullptr, &length), kOk);
    std::vector<std::uint8_t> value(length);
    PcscDword shortLength = length - 1;
    EXPECT_EQ(pcsc_.GetAttrib(card, a.id, value.data(), &shortLength), R(E_INSUFFICIENT_BUFFER));
    ASSERT_EQ(pcsc_.GetAttrib(card, a.id, value.data(), &length), kOk);
    EXPECT_EQ(Hex(value), a.value) << std::hex << a.id;
  }
  for (const PcscDword textId :
       {ATTR_VENDOR_NAME, ATTR_VENDOR_IFD_TYPE, ATTR_VENDOR_IFD_SERIAL_NO}) {
    std::uint8_t value[64] = {};
    PcscDword length = sizeof value;
    ASSERT_EQ(pcsc_.GetAttrib(card, textId, value, &length), kOk);
    EXPECT_GT(length, 1U);
    EXPECT_EQ(value[length - 1], 0) << "zero-terminated";
    EXPECT_EQ(std::strlen(reinterpret_cast<const char*>(value)), length - 1);
  }
  PcscDword length = 0;
  EXPECT_EQ(pcsc_.GetAttrib(card, 0x12345678, nullptr, &length), R(E_UNSUPPORTED_FEATURE));
}

TEST_F(SimulatedPcscTest, TransmitChecks) {
  PcscHandle card = 0;
  ASSERT_EQ(Connect(&card), kOk);
  // 16 bytes + status do not fit 17 bytes, but the card has done the write.
  EXPECT_EQ(Send(card, "FFF3000106FFFFFFFFFFFF10", 17), "error 80100008");
  EXPECT_EQ(Send(card, "FFF4000116" + std::string(30, '0') + "01FFFFFFFFFFFF", 2), "9000");
  EXPECT_EQ(Send(card, "FFF3000106FFFFFFFFFFFF10").substr(30), "019000");
  EXPECT_EQ(Send(card + 99, "FFCA000000"), "error 80100003");

  const std::vector<std::uint8_t> command = Bytes("FFCA000000");
  std::uint8_t buffer[16];
  PcscDword length = sizeof buffer;
  const PcscIoRequest t1{PROTOCOL_T1, 8};
  EXPECT_EQ(pcsc_.Transmit(card, &t1, command.data(), 5, nullptr, buffer, &length),
            R(E_PROTO_MISMATCH));
  EXPECT_EQ(pcsc_.transmitCount(), 3U);
}

TEST_F(SimulatedPcscTest, FaultModes) {
  PcscHandle card = 0;
  ASSERT_EQ(Connect(&card), kOk);
  pcsc_.reader().SetFault(Fault::Mute);
  EXPECT_EQ(Send(card, "FFCA000000"), "error 80100066");

  pcsc_.reader().SetFault(Fault::Endless91AF);
  for (int i = 0; i < 3; ++i) {
    const std::string answer = Send(card, "90AF000000");
    EXPECT_GT(answer.size(), 4U);
    EXPECT_EQ(answer.substr(answer.size() - 4), "91AF");
  }

  pcsc_.reader().SetFault(Fault::Garbage);
  std::set<std::size_t> lengths;
  for (int i = 0; i < 20; ++i) {
    const std::string answer = Send(card, "FFCA000000");
    ASSERT_LE(answer.size(), 2 * 4096U);
    lengths.insert(answer.size());
  }
  EXPECT_GT(lengths.size(), 10U) << "random lengths";
  // The garbage is reproducible from the seed.
  const auto garbage = [](std::uint64_t seed) {
    SimulatedReader reader(seed);
    reader.InsertCard(MakeMifareClassic());
    reader.SetFault(Fault::Garbage);
    return reader.Transmit(Bytes("FFCA000000")).response;
  };
  EXPECT_EQ(garbage(7), garbage(7));
  EXPECT_NE(garbage(7), garbage(8));

  pcsc_.reader().SetFault(Fault::RemoveAfter, 2);
  EXPECT_EQ(Send(card, "FFCA000000"), "123456789000");
  EXPECT_EQ(Send(card, "FFCA000000"), "123456789000");
  EXPECT_EQ(Send(card, "FFCA000000"), "error 80100069");
  EXPECT_FALSE(pcsc_.reader().HasCard());
  std::string name;
  PcscDword atrLength = 0;
  EXPECT_EQ(pcsc_.Status(card, &name, nullptr, nullptr, nullptr, &atrLength), R(W_REMOVED_CARD));
  EXPECT_EQ(Connect(&card), R(E_NO_SMARTCARD));
}

}  // namespace
}  // namespace lumivex::sim::test
