#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "tests/support/encoder_test_peer.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

using Peer = EncoderTestPeer;

TEST(Parameters, SplitsTrimsAndParsesItems) {
  struct Case {
    std::string text;
    std::string device;
    std::int32_t protocol;
    bool forceReconnect;
  };
  const std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  const std::vector<Case> cases = {
      {"Device=Reader 0;Protocol=2", "Reader 0", 2, true},
      {"Device=X;Protocol=2\r\nforce_reconnect=0", "X;Protocol=2", 1, false},  // CR LF wins
      {" Device = X", " X", 1, true},  // key trimmed, value untrimmed
      {"DEVICE=X", "X", 1, true},
      {"Protocol=abc", "<unknown>", 0, true},
      {"Protocol=2.5", "<unknown>", 2, true},  // halves go to the even neighbour
      {"Protocol=3.5", "<unknown>", 4, true},
      {"Protocol=-2.5", "<unknown>", -2, true},
      {"Protocol= 1e1xyz", "<unknown>", 10, true},  // a leading number, the rest ignored
      {"Protocol=1 2", "<unknown>", 12, true},      // blanks inside the number are skipped
      {"Protocol=1e", "<unknown>", 1, true},
      {"Protocol=99999999999", "<unknown>", kMax, true},
      {"force_reconnect=2", "<unknown>", 1, true},
      {"force_reconnect=", "<unknown>", 1, false},
      {"force_reconnect=0.0", "<unknown>", 1, false},
      {"Protocol=2;;junk;Encoding capabilities=x;Protocol=3", "<unknown>", 3, true},
      {"", "<unknown>", 1, true},
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

TEST(Parameters, GetterReportsTheFieldsAndNewObjectHasAClearRecord) {
  test::ScriptedEncoder bench;
  bench.encoder.Parameters("Protocol=2\r\nforce_reconnect=0");
  EXPECT_EQ(bench.encoder.Parameters(),
            "Encoding capabilities=Mifare Classic, Mifare Ultralight, Mifare DESFire\r\n"
            "Device=Scripted Reader 0\r\nProtocol=2\r\nForce_Reconnect=0");
  Encoder fresh(Platform{bench.pcsc, bench.host, nullptr});
  EXPECT_NE(fresh.Parameters().find("Device=<unknown>\r\nProtocol=1\r\nForce_Reconnect=1"),
            std::string::npos);
  EXPECT_EQ(fresh.LastError().Number(), 0);
  EXPECT_EQ(&fresh.LastError(), &fresh.LastError());
  EXPECT_EQ(&Peer::Des(fresh), &Peer::Des(fresh));  // one cipher object per Encoder
  EXPECT_EQ(fresh.ATRString(), "");
  EXPECT_EQ(fresh.SerialNumberLength(), -1);
  EXPECT_EQ(fresh.CardType(), sceUnknownType);
}

TEST(LastError, FinishStampsTheOperationAndKeepsTheInnerRoutine) {
  struct Case {
    std::string cf, rc, expectedRc;
  };
  const std::vector<Case> cases = {
      {"", "", ""},
      {"", "SCardConnect", "SCardConnect"},
      {"EncoderCommand", "", "EncoderCommand"},
      {"EncoderCommand", "SCardTransmit:GetUID", "EncoderCommand:SCardTransmit:GetUID"}};
  test::ScriptedEncoder bench;
  for (const Case& c : cases) {
    Peer::SetLastError(bench.encoder, {.Number = 7,
                                       .Description = "d",
                                       .LastDllError = 9,
                                       .ComFunction = c.cf,
                                       .RdrCommand = c.rc,
                                       .RdrRetCode = "6A82"});
    Peer::SetLastError(bench.encoder, {.Description = "kept"});  // absent fields stay
    Peer::FinishLastError(bench.encoder, "ReadSerialNumber");
    const CError& record = bench.encoder.LastError();
    EXPECT_EQ(record.ComFunction(), "ReadSerialNumber");
    EXPECT_EQ(record.RdrCommand(), c.expectedRc);
    EXPECT_EQ(record.Number(), 7);
    EXPECT_EQ(record.Description(), "kept");
    EXPECT_EQ(record.LastDllError(), 9);
    EXPECT_EQ(record.RdrRetCode(), "6A82");
  }
  bench.encoder.Parameters("Protocol=1");  // a successful public call clears the record
  EXPECT_EQ(bench.encoder.LastError().Number(), 0);
  EXPECT_EQ(bench.encoder.LastError().RdrRetCode(), "");
}

TEST(Trace, MasksRememberedSecretsBeforeTheSinkAndKeepsTheListBounded) {
  test::ScriptedEncoder bench;
  bench.trace.clear();
  Peer::RememberSecret(bench.encoder, "a0a1a2a3a4a5");
  Peer::RememberSecret(bench.encoder, "0F");  // too short to be a key: never masked
  Peer::Trace(bench.encoder, "k=A0A1A2A3A4A5 s=A0 A1 A2 A3 A4 A5 l=a0a1a2a3a4a5 0F");
  ASSERT_EQ(bench.trace.size(), 1U);
  EXPECT_EQ(bench.trace[0], "k=************ s=***************** l=************ 0F");

  for (int i = 0; i < 70; ++i)
    Peer::RememberSecret(bench.encoder, "00112233445566" + std::to_string(10 + i));
  EXPECT_EQ(Peer::SecretCount(bench.encoder), 64U);
  bench.trace.clear();
  Peer::Trace(bench.encoder, "A0A1A2A3A4A5 0011223344556679");
  EXPECT_EQ(bench.trace[0], "A0A1A2A3A4A5 ****************");  // the oldest was forgotten

  bench.encoder.SetTraceSink(nullptr);
  bench.encoder.WriteLog("discarded");
  EXPECT_EQ(bench.trace.size(), 1U);
}

struct NearlyOneHost : test::VirtualHost {
  double Random() override { return 0.9999999999; }
};

TEST(Trace, NumberGettersTraceTheirNameAndValue) {
  test::ScriptedEncoder bench;
  bench.Open();
  const std::string type = std::to_string(bench.encoder.CardType());
  const std::string length = std::to_string(bench.encoder.SerialNumberLength());
  bench.trace.clear();
  bench.encoder.CardType();
  bench.encoder.SerialNumberLength();
  EXPECT_EQ(bench.trace, (std::vector<std::string>{"--> Get CardType", "Card type is " + type,
                                                   "<-- Get CardType", "--> Get SerialNumberLength",
                                                   "Serial Number length is " + length,
                                                   "<-- Get SerialNumberLength"}));
}

TEST(GetInformation, NamesTheComponentAndDrawsANumber) {
  test::ScriptedEncoder bench;
  for (int call = 0; call < 3; ++call) {
    std::vector<std::string> fields;
    std::stringstream text(bench.encoder.GetInformation());
    for (std::string field; std::getline(text, field, '|');) fields.push_back(field);
    ASSERT_EQ(fields.size(), 6U);
    EXPECT_EQ(fields[0], "Badgeline");
    EXPECT_EQ(fields[1], "Orbanet Lumivex");
    EXPECT_EQ(fields[2], "7.1.1875");
    EXPECT_EQ(fields[3], "1");
    EXPECT_EQ(fields[4].find_first_not_of("0123456789"), std::string::npos);
    EXPECT_LE(std::stol(fields[4]), 99999);
    EXPECT_EQ(fields[5], "Mifare Classic, Mifare Ultralight, Mifare DESFire");
  }
  EXPECT_EQ(bench.encoder.LastError().ComFunction(), "GetInformation");
  Encoder top(Platform{bench.pcsc, std::make_shared<NearlyOneHost>(), nullptr});
  EXPECT_NE(top.GetInformation().find("|1|99999|"), std::string::npos);
}

}  // namespace
}  // namespace lumivex
