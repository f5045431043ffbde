#include <gtest/gtest.h>

#include <limits>
#include <regex>

#include "tests/support/encoder_test_peer.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

using Peer = EncoderTestPeer;

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
    EXPECT_EQ(Peer::Device(encoder), c.device) << c.text;
    EXPECT_EQ(Peer::Protocol(encoder), c.protocol) << c.text;
    EXPECT_EQ(Peer::ForceReconnect(encoder), c.forceReconnect) << c.text;
    EXPECT_EQ(encoder.LastError().ComFunction(), "Parameters");
  }
}

TEST(Parameters, GettersReportTheFieldsAndNewObjectHasAClearRecord) {
  test::ScriptedEncoder bench;
  bench.encoder.Parameters("Protocol=2\r\nforce_reconnect=0");
  EXPECT_EQ(bench.encoder.Parameters(),
            "Encoding capabilities=Mifare Classic, Mifare Ultralight, Mifare DESFire\r\n"
            "Device=Scripted Reader 0\r\nProtocol=2\r\nForce_Reconnect=0");
  Encoder fresh(Platform{bench.pcsc, bench.host, nullptr});
  EXPECT_NE(fresh.Parameters().find("Device=<unknown>\r\nProtocol=1\r\nForce_Reconnect=1"),
            std::string::npos);
  EXPECT_EQ(fresh.LastError().Number(), 0);
  bench.trace.clear();
  EXPECT_EQ(fresh.ATRString(), "");
  EXPECT_EQ(bench.encoder.CardType(), sceUnknownType);
  EXPECT_EQ(bench.encoder.SerialNumberLength(), -1);
  EXPECT_EQ(bench.trace,
            (std::vector<std::string>{
                "--> Get CardType", "Card type is 1", "<-- Get CardType",
                "--> Get SerialNumberLength", "Serial Number length is -1",
                "<-- Get SerialNumberLength"}));  // the number getters trace their name and value
}

TEST(LastError, FinishStampsTheOperationAndKeepsTheInnerRoutine) {
  const std::vector<std::array<std::string, 3>> cases = {
      {"", "", ""},
      {"", "SCardConnect", "SCardConnect"},
      {"EncoderCommand", "", "EncoderCommand"},
      {"EncoderCommand", "SCardTransmit:GetUID", "EncoderCommand:SCardTransmit:GetUID"}};
  test::ScriptedEncoder bench;
  const CError& record = bench.encoder.LastError();
  for (const auto& [cf, rc, expectedRc] : cases) {
    Peer::SetLastError(bench.encoder, {.Number = 7,
                                       .Description = "d",
                                       .LastDllError = 9,
                                       .ComFunction = cf,
                                       .RdrCommand = rc,
                                       .RdrRetCode = "6A82"});
    Peer::SetLastError(bench.encoder, {.Description = "kept"});  // absent fields stay
    Peer::FinishLastError(bench.encoder, "ReadSerialNumber");
    EXPECT_EQ(record.ComFunction(), "ReadSerialNumber");
    EXPECT_EQ(record.RdrCommand(), expectedRc);
    EXPECT_EQ(record.Description() + record.RdrRetCode(), "kept6A82");
    EXPECT_EQ(record.Number() * 10 + record.LastDllError(), 79);
  }
  bench.encoder.Parameters("Protocol=1");  // a successful public call clears the record
  EXPECT_EQ(record.Number(), 0);
  EXPECT_EQ(record.RdrRetCode(), "");
}

TEST(Trace, MasksRememberedSecretsBeforeTheSinkAndKeepsTheListBounded) {
  test::ScriptedEncoder bench;
  bench.trace.clear();
  Peer::RememberSecret(bench.encoder, "a0a1a2a3a4a5");
  Peer::RememberSecret(bench.encoder, "0F");  // too short to be a key: never masked
  Peer::Trace(bench.encoder, "k=A0A1A2A3A4A5 s=A0 A1 A2 A3 A4 A5 l=a0a1a2a3a4a5 0F");
  for (int i = 0; i < 70; ++i)
    Peer::RememberSecret(bench.encoder, "00112233445566" + std::to_string(10 + i));
  EXPECT_EQ(Peer::SecretCount(bench.encoder), 64U);
  Peer::Trace(bench.encoder, "A0A1A2A3A4A5 0011223344556679");  // the oldest was forgotten
  bench.encoder.SetTraceSink(nullptr);
  bench.encoder.WriteLog("discarded");
  EXPECT_EQ(bench.trace,
            (std::vector<std::string>{"k=************ s=***************** l=************ 0F",
                                      "A0A1A2A3A4A5 ****************"}));
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
