#include <gtest/gtest.h>

#include "sim/mifare/mifare_classic_card.h"
#include "sim/vpcd_client.h"
#include "tests/sim/apdu_text.h"

namespace lumivex::sim::test {
namespace {

// The messages of the vpcd driver and their answers; the link itself is exercised by the pcsc tier.
TEST(VpcdClient, AnswersControlsAndCommands) {
  SimulatedReader reader;
  reader.InsertCard(MakeMifareClassic());
  VpcdClient client(reader, "127.0.0.1", 1);
  EXPECT_EQ(Hex(*client.Answer(Bytes("04"))), "3B8F8001804F0CA000000306030001000000006A");
  for (const char* control : {"00", "01", "02"}) EXPECT_FALSE(client.Answer(Bytes(control)));
  EXPECT_EQ(Hex(*client.Answer(Bytes("FFCA000000"))), "123456789000");
  // An empty command still gets an answer, or the driver would wait for it forever.
  EXPECT_EQ(Hex(*client.Answer({})), "6700");
  reader.SetFault(Fault::Mute);
  EXPECT_EQ(client.Answer(Bytes("FFCA000000")), std::vector<std::uint8_t>{}) << "no answer";
  reader.SetFault(Fault::RemoveAfter, 0);
  EXPECT_EQ(client.Answer(Bytes("FFCA000000")), std::vector<std::uint8_t>{}) << "card gone";
}

}  // namespace
}  // namespace lumivex::sim::test
