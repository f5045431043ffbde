#include <gtest/gtest.h>

#include <limits>
#include <regex>

#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

TEST(Parameters, SplitsTrimsAndParsesItems) {
  struct Case {
    std::string text, device;
    std::int32_t protocol;
    bool forceReconnect;
  };
  const std::vector<Case> cases = {
      {"Device=Reader 0;Protocol=2", "Reader 0", 2, true},
      {"Device=X;Protocol=2\r\nforce_reconnect=0", "X;Protocol=2", 1, false},  // CR LF wins
      {" DEVICE = X", " X", 1, true},  // key trimmed and caseless, value untrimmed
      {"Protocol=abc", "<unknown>", 0, true},
      {"Protocol=2.5", "<unknown>", 2, true},  // halves go to the even neighbour
      {"Protocol=3.5", "<unknown>", 4, true},
      {"Protocol= 1e1xyz", "<unknown>", 10, true},  // a leading number, the rest ignored
      {"Protocol=1 2", "<unknown>", 12, true},      // blanks inside the number are skipped
      {"Protocol=99999999999", "<unknown>", std::numeric_limits<std::int32_t>::max(), true},
      {"force_reconnect=2", "<unknown>", 1, true},
      {"force_reconnect=", "<unknown>", 1, false},
      {"Protocol=2;;junk;Encoding capabilities=x;Protocol=3", "<unknown>", 3, true},
  };
  for (const Case& c : cases) {
    Encoder encoder(Platform{nullptr, std::make_shared<test::VirtualHost>(), nullptr});
    encoder.Parameters(c.text);
    EXPECT_EQ(encoder.LastError().ComFunction(), "Parameters");
    EXPECT_EQ(encoder.Parameters(),
              "Encoding capabilities=Mifare Classic, Mifare Ultralight, Mifare DESFire\r\nDevice=" +
                  c.device + "\r\nProtocol=" + std::to_string(c.protocol) +
                  "\r\nForce_Reconnect=" + (c.forceReconnect ? "1" : "0"))
        << c.text;
  }
}

TEST(Encoder, ANewObjectIsClosedUnknownAndClear) {
  test::ScriptedEncoder bench;
  Encoder fresh(Platform{bench.pcsc, bench.host, nullptr});
  EXPECT_EQ(fresh.LastError().Number(), 0);
  bench.trace.clear();
  EXPECT_EQ(fresh.ATRString(), "");
  EXPECT_EQ(fresh.EncoderState(), sceClosed);
  EXPECT_EQ(bench.encoder.CardType(), sceUnknownType);
  EXPECT_EQ(bench.encoder.SerialNumberLength(), -1);
  EXPECT_EQ(bench.trace,
            (std::vector<std::string>{
                "--> Get CardType", "Card type is 1", "<-- Get CardType",
                "--> Get SerialNumberLength", "Serial Number length is -1",
                "<-- Get SerialNumberLength"}));  // the number getters trace their name and value
}

struct NearlyOneHost : test::VirtualHost {
  double Random() override { return 0.9999999999; }
};

TEST(GetInformation, NamesTheComponentAndDrawsANumber) {
  test::ScriptedEncoder bench;
  const std::regex shape(R"(Badgeline\|Orbanet Lumivex\|7\.1\.1875\|1\|(\d{1,5})\|)"
                         "Mifare Classic, Mifare Ultralight, Mifare DESFire");
  for (int call = 0; call < 3; ++call)
    EXPECT_TRUE(std::regex_match(bench.encoder.GetInformation(), shape));
  EXPECT_EQ(bench.encoder.LastError().ComFunction(), "GetInformation");
  Encoder top(Platform{bench.pcsc, std::make_shared<NearlyOneHost>(), nullptr});
  EXPECT_NE(top.GetInformation().find("|1|99999|"), std::string::npos);
}

}  // namespace
}  // namespace lumivex
