// A host whose message queue calls the Encoder again while OpenEncoder waits (the wait lets the
// queue run). Whatever it calls, no context or card connection is left behind once the host closes
// the Encoder, and the card is free for the next program.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "component/encoder.h"
#include "sim/card_factory.h"
#include "sim/simulated_pcsc.h"
#include "tests/support/virtual_host.h"

namespace lumivex::test {
namespace {

// Runs the host's re-entrant call inside the first wait only.
class ReenteringHost : public VirtualHost {
 public:
  std::function<void()> duringWait;
  void WaitPumpingMessages(std::chrono::milliseconds duration) override {
    VirtualHost::WaitPumpingMessages(duration);
    if (auto call = std::exchange(duringWait, nullptr)) call();
  }
};

struct Reentry {
  const char* what;
  bool cardHeldElsewhere;  // another program holds the card when the open starts
  std::function<void(Encoder&, sim::SimulatedPcsc&, PcscContext other)> call;
};

TEST(Reentrance, HostCallsDuringTheOpenWaitLeaveNoHandleBehind) {
  const Reentry cases[] = {
      {"the host closes the encoder", false, [](Encoder& e, auto&, auto) { e.CloseEncoder(); }},
      {"the host opens it again", false, [](Encoder& e, auto&, auto) { e.OpenEncoder(0); }},
      {"the host reads the card", false,
       [](Encoder& e, auto&, auto) {
         std::string serial;
         EXPECT_EQ(e.ReadSerialNumber(serial), sceSuccess);
       }},
      {"the card is freed and the host opens again", true,
       [](Encoder& e, sim::SimulatedPcsc& pcsc, PcscContext other) {
         pcsc.ReleaseContext(other);
         e.OpenEncoder(0);
       }},
      {"the host re-opens twice over", false,
       [](Encoder& e, auto&, auto) {
         e.ReOpenEncoder();
         e.OpenEncoder(0);
       }},
  };
  for (const Reentry& c : cases) {
    auto pcsc = std::make_shared<sim::SimulatedPcsc>();
    pcsc->InsertCard(sim::MakeCard("mifare1k", "04A1B2C3").card);
    auto host = std::make_shared<ReenteringHost>();
    PcscContext other = 0;
    if (c.cardHeldElsewhere) {
      PcscHandle card = 0;
      PcscDword protocol = 0;
      pcsc->EstablishContext(scard::SCOPE_SYSTEM, &other);
      pcsc->Connect(other, sim::SimulatedPcsc::kDefaultReaderName, scard::SHARE_EXCLUSIVE,
                    scard::PROTOCOL_T0, &card, &protocol);
    }
    {
      Encoder encoder(Platform{pcsc, host, nullptr});
      encoder.Parameters("Device=Lumivex Simulator 0");
      host->duringWait = [&] { c.call(encoder, *pcsc, other); };
      encoder.OpenEncoder(0);
      encoder.CloseEncoder();
      EXPECT_EQ(pcsc->openContexts(), 0U) << c.what;
      EXPECT_EQ(pcsc->openConnections(), 0U) << c.what;
    }
    // The card is free: a new Encoder takes it exclusively at the first attempt.
    Encoder next(Platform{pcsc, std::make_shared<VirtualHost>(), nullptr});
    next.Parameters("Device=Lumivex Simulator 0");
    EXPECT_EQ(next.OpenEncoder(0), sceSuccess) << c.what;
    EXPECT_EQ(next.LastError().Number(), 0) << c.what;
  }
}

}  // namespace
}  // namespace lumivex::test
