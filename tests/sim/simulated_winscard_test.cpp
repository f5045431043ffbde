#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "sim/simulated_winscard.h"
#include "tests/sim/apdu_text.h"

namespace lumivex::sim::test {
namespace {

using namespace lumivex::scard;

constexpr PcscLong kOk = 0;
const auto R = [](std::uint32_t code) { return ScardResult(code); };
const std::string kReaderList = std::string("Lumivex Simulator 0") + '\0' + '\0';

// A simulator with a context and, when the reader has a card, an exclusive connection.
struct Session {
  Session() : winscard(nullptr, nullptr) {
    EXPECT_EQ(winscard.EstablishContext(SCOPE_SYSTEM, &context), kOk);
    connected = winscard.Connect(context, "Lumivex Simulator 0", SHARE_EXCLUSIVE,
                                 PROTOCOL_T0 | PROTOCOL_T1, &card, &protocol);
  }
  std::string Send(PcscHandle handle, const std::string& hex) {
    const auto command = Bytes(hex);
    std::vector<std::uint8_t> answer(258);
    PcscDword length = answer.size();
    const PcscIoRequest header{PROTOCOL_T1, 8};
    const PcscLong result = winscard.Transmit(handle, &header, command.data(), command.size(),
                                              nullptr, answer.data(), &length);
    return result == kOk ? Hex(std::span(answer.data(), length)) : "error";
  }

  SimulatedWinscard winscard;
  PcscContext context = 0;
  PcscHandle card = 0;
  PcscDword protocol = 0;
  PcscLong connected = 0;
};

// Every output follows one buffer protocol: a null buffer asks for the length, a short buffer is
// refused with the length needed, and SCARD_AUTOALLOCATE hands out a block for FreeMemory.
TEST(SimulatedWinscardTest, BufferProtocolOfEveryOutput) {
  Session session;
  ASSERT_EQ(session.connected, kOk);
  SimulatedWinscard& w = session.winscard;
  PcscDword state = 0;
  ASSERT_EQ(w.Status(session.card, nullptr, nullptr, &state, nullptr, nullptr, nullptr), kOk);
  EXPECT_EQ(state, winscard_state::kSpecific) << "powered, with a protocol";

  const std::vector<std::uint8_t> atr = Bytes("3B8F8001804F0CA000000306030001000000006A");
  const auto text = [](void* buffer) { return static_cast<char*>(buffer); };
  const auto bytes = [](void* buffer) { return static_cast<std::uint8_t*>(buffer); };
  const PcscHandle card = session.card;
  const struct {
    const char* name;
    std::function<PcscLong(void* buffer, PcscDword* length)> fetch;
    std::string value;
  } outputs[] = {
      {"reader list",
       [&](void* b, PcscDword* l) { return w.ListReaders(session.context, text(b), l); },
       kReaderList},
      {"reader list without a context",
       [&](void* b, PcscDword* l) { return w.ListReaders(0, text(b), l); }, kReaderList},
      {"status names",
       [&](void* b, PcscDword* l) {
         return w.Status(card, text(b), l, nullptr, nullptr, nullptr, nullptr);
       },
       kReaderList},
      {"status ATR",
       [&](void* b, PcscDword* l) {
         return w.Status(card, nullptr, nullptr, nullptr, nullptr, bytes(b), l);
       },
       std::string(atr.begin(), atr.end())},
      {"vendor attribute",
       [&](void* b, PcscDword* l) { return w.GetAttrib(card, ATTR_VENDOR_NAME, bytes(b), l); },
       std::string("Lumivex") + '\0'},
  };
  for (const auto& output : outputs) {
    SCOPED_TRACE(output.name);
    const auto size = static_cast<PcscDword>(output.value.size());
    PcscDword length = 0;
    ASSERT_EQ(output.fetch(nullptr, &length), kOk);
    EXPECT_EQ(length, size);
    std::string buffer(size, 'x');
    length = size - 1;
    EXPECT_EQ(output.fetch(buffer.data(), &length), R(E_INSUFFICIENT_BUFFER));
    EXPECT_EQ(length, size);
    length = size + 5;
    ASSERT_EQ(output.fetch(buffer.data(), &length), kOk);
    EXPECT_EQ(buffer, output.value);
    EXPECT_EQ(length, size);

    char* block = nullptr;
    length = AUTOALLOCATE;
    ASSERT_EQ(output.fetch(static_cast<void*>(&block), &length), kOk);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(block, length), output.value);
    EXPECT_EQ(w.blockCount(), 1U);
    EXPECT_EQ(w.FreeMemory(session.context, block), kOk);
    EXPECT_EQ(w.FreeMemory(session.context, block), R(E_INVALID_PARAMETER)) << "freed once only";
    EXPECT_EQ(w.blockCount(), 0U);
    length = AUTOALLOCATE;
    EXPECT_EQ(output.fetch(nullptr, &length), R(E_INVALID_PARAMETER)) << "nowhere to put it";
  }
  EXPECT_EQ(w.ListReaders(session.context, nullptr, nullptr), R(E_INVALID_PARAMETER));
}

TEST(SimulatedWinscardTest, Transactions) {
  constexpr std::uint32_t kNotTransacted = 0x80100016;
  constexpr PcscDword kUnpower = 2;
  Session session;
  ASSERT_EQ(session.connected, kOk);
  SimulatedWinscard& w = session.winscard;
  const PcscHandle card = session.card;
  PcscDword protocol = 0;
  ASSERT_EQ(w.Reconnect(card, SHARE_SHARED, PROTOCOL_T1, LEAVE_CARD, &protocol), kOk);
  PcscHandle other = 0;
  ASSERT_EQ(w.Connect(session.context, "Lumivex Simulator 0", SHARE_SHARED, PROTOCOL_T1, &other,
                      &protocol),
            kOk);

  EXPECT_EQ(w.EndTransaction(card, LEAVE_CARD), R(kNotTransacted));
  ASSERT_EQ(w.BeginTransaction(card), kOk);
  EXPECT_EQ(w.BeginTransaction(other), R(E_SHARING_VIOLATION)) << "refused, not waited for";
  EXPECT_EQ(w.EndTransaction(other, LEAVE_CARD), R(kNotTransacted));
  EXPECT_EQ(w.EndTransaction(card, 4), R(E_INVALID_VALUE));
  // Authenticated, so that the end's power cycle shows as a refused read.
  ASSERT_EQ(session.Send(card, "FF82001006FFFFFFFFFFFF"), "9000");
  ASSERT_EQ(session.Send(card, "FF860000050100006010"), "9000");
  EXPECT_EQ(w.EndTransaction(card, kUnpower), kOk);
  EXPECT_EQ(Sw(session.Send(other, "FFB0000010")), "6982");

  ASSERT_EQ(w.BeginTransaction(card), kOk);
  ASSERT_EQ(w.Disconnect(card, LEAVE_CARD), kOk);
  EXPECT_EQ(w.BeginTransaction(other), kOk) << "the holder disconnected";
  EXPECT_EQ(w.BeginTransaction(card), R(E_INVALID_HANDLE));
}

}  // namespace
}  // namespace lumivex::sim::test
