#include <gtest/gtest.h>

#include "sim/mifare/access_conditions.h"
#include "sim/mifare/mifare_classic_card.h"
#include "tests/sim/apdu_text.h"

namespace lumivex::sim::test {
namespace {

const std::string kFactoryKey = "FFFFFFFFFFFF";
const std::string kKeyA = "A0A1A2A3A4A5";
const std::string kKeyB = "B0B1B2B3B4B5";
const std::string kData = "00112233445566778899AABBCCDDEEFF";
const std::string kFactoryTrailer = "000000000000FF078069FFFFFFFFFFFF9000";  // as read

std::string Ok(bool allowed) {
  return allowed ? "9000" : "6982";
}

class Card {
 public:
  explicit Card(bool fourK = false) : card_(MakeMifareClassic({fourK, {0x12, 0x34, 0x56, 0x78}})) {}

  std::string Send(const std::string& hex) { return Hex(card_->Transmit(Bytes(hex))); }
  std::string Read(int block, const std::string& key) {
    return Send("FFF300" + Byte(block) + "06" + key + "10");
  }
  std::string Write(int block, const std::string& data, const std::string& key) {
    return Send("FFF400" + Byte(block) + "16" + data + key);
  }
  // Gives the sector keys A and B and the conditions of its four groups (trailer last).
  void SetTrailer(int trailer, const Conditions& conditions) {
    const std::string bits = Hex(EncodeAccessBytes(conditions));
    ASSERT_EQ(Write(trailer, kKeyA + bits + "69" + kKeyB, kFactoryKey), "9000");
  }
  SimCard& card() { return *card_; }

 private:
  std::shared_ptr<SimCard> card_;
};

// The factory trailer, its key read back and its bits are the trailer table's (condition 001),
// the ATR the simulated reader's test.
TEST(MifareClassic, FactoryState) {
  Card card;
  // UID, BCC = 12^34^56^78 = 08, SAK 08, ATQA 0004.
  EXPECT_EQ(card.Read(0, kFactoryKey).substr(0, 16), "1234567808080400");
  EXPECT_EQ(card.Read(1, kFactoryKey), std::string(32, '0') + "9000");
  EXPECT_EQ(card.Write(1, kData, kFactoryKey), "9000");
  EXPECT_EQ(card.Write(0, kData, kFactoryKey), "6982") << "block 0 is locked at manufacture";
  card.card().PowerCycle();
  EXPECT_EQ(card.Read(1, kFactoryKey), kData + "9000") << "memory survives the field";
}

// The card's data-block access table: which keys may read and write ("AB", "B", "").
TEST(MifareClassic, DataBlockConditions) {
  const struct {
    std::uint8_t condition;
    std::string read, write;
  } table[] = {{0b000, "AB", "AB"}, {0b010, "AB", ""}, {0b100, "AB", "B"}, {0b110, "AB", "B"},
               {0b001, "AB", ""},   {0b011, "B", "B"}, {0b101, "B", ""},   {0b111, "", ""}};
  for (const auto& row : table) {
    Card card;
    // Trailer 011: key B is not readable, so it serves for authentication.
    card.SetTrailer(3, {0, row.condition, 0, 3});
    EXPECT_EQ(Sw(card.Read(1, kKeyA)), Ok(row.read.find('A') == 0)) << int(row.condition);
    EXPECT_EQ(Sw(card.Read(1, kKeyB)), Ok(row.read.ends_with('B'))) << int(row.condition);
    EXPECT_EQ(card.Write(1, kData, kKeyA), Ok(row.write == "AB")) << int(row.condition);
    EXPECT_EQ(card.Write(1, kData, kKeyB), Ok(!row.write.empty())) << int(row.condition);
    EXPECT_EQ(Sw(card.Read(0, kKeyA)), "9000") << "block 0 keeps its own group";
  }
}

// The trailer table: what key A sees of key B, whether key B authenticates, and which key may
// change key A and the access bits ('-': none). Key B is written by the same keys as key A.
TEST(MifareClassic, TrailerConditions) {
  const struct {
    std::uint8_t condition;
    bool keyBVisible;
    char writesKeyA, writesBits;
  } table[] = {{0b000, true, 'A', '-'},  {0b010, true, '-', '-'}, {0b100, false, 'B', '-'},
               {0b110, false, '-', '-'}, {0b001, true, 'A', 'A'}, {0b011, false, 'B', 'B'},
               {0b101, false, '-', 'B'}, {0b111, false, '-', '-'}};
  const std::string newKeyA = "C0C1C2C3C4C5";
  for (const auto& row : table) {
    const std::string bits = Hex(EncodeAccessBytes({0, 0, 0, row.condition}));
    const std::string newBits = Hex(EncodeAccessBytes({1, 1, 1, row.condition}));
    for (const char writer : {'A', 'B'}) {
      SCOPED_TRACE(testing::Message() << int(row.condition) << " written with key " << writer);
      Card card;
      card.SetTrailer(7, {0, 0, 0, row.condition});
      EXPECT_EQ(card.Read(7, kKeyA),
                "000000000000" + bits + "69" + (row.keyBVisible ? kKeyB : "000000000000") + "9000");
      EXPECT_EQ(Sw(card.Read(4, kKeyB)), Ok(!row.keyBVisible));
      const bool keyAChanges = row.writesKeyA == writer;
      const bool bitsChange = row.writesBits == writer;
      EXPECT_EQ(card.Write(7, newKeyA + newBits + "69" + kKeyB, writer == 'A' ? kKeyA : kKeyB),
                Ok(keyAChanges || bitsChange));
      EXPECT_EQ(Sw(card.Read(4, newKeyA)), Ok(keyAChanges));
      EXPECT_EQ(card.Read(7, keyAChanges ? newKeyA : kKeyA).substr(12, 6),
                bitsChange ? newBits : bits);
    }
  }
}

TEST(MifareClassic, InconsistentTrailerBlocksTheSector) {
  Card card;
  // FF 07 81: the plain C2 bit of block 0 has no inverted copy.
  ASSERT_EQ(card.Write(7, kFactoryKey + "FF078169" + kFactoryKey, kFactoryKey), "9000");
  EXPECT_EQ(card.Read(4, kFactoryKey), "6982");
  EXPECT_EQ(card.Read(7, kFactoryKey), "6982");
  EXPECT_EQ(card.Write(5, kData, kFactoryKey), "6982");
  EXPECT_EQ(Sw(card.Read(8, kFactoryKey)), "9000") << "other sectors are untouched";
}

TEST(MifareClassic, FourKGeometry) {
  Card card(true);
  EXPECT_EQ(Hex(card.card().Atr()), "3B8F8001804F0CA0000003060300020000000069");
  EXPECT_EQ(card.Read(0, kFactoryKey).substr(10, 6), "180200");
  // Sector 32 spans blocks 128..143: its trailer is 143, blocks 128-132 form group 0.
  EXPECT_EQ(card.Read(143, kFactoryKey), kFactoryTrailer);
  card.SetTrailer(143, {7, 0, 0, 3});  // group 0 unreadable
  EXPECT_EQ(card.Read(128, kKeyA), "6982");
  EXPECT_EQ(card.Read(132, kKeyB), "6982");
  EXPECT_EQ(Sw(card.Read(133, kKeyB)), "9000");
}

TEST(MifareClassic, GeneralAuthenticateThenReadBinary) {
  Card card;
  EXPECT_EQ(card.Send("FFB0000110"), "6982") << "not authenticated";
  EXPECT_EQ(card.Send("FF82001006" + kFactoryKey), "9000");
  EXPECT_EQ(card.Send("FF860000050100056000"), "6982") << "slot 00 is empty";
  EXPECT_EQ(card.Send("FF860000050100056010"), "9000");
  EXPECT_EQ(card.Send("FFD6000510" + kData), "9000");
  EXPECT_EQ(card.Send("FFB0000510"), kData + "9000");
  EXPECT_EQ(card.Send("FFB0000910"), "6982") << "another sector";
  card.card().PowerCycle();
  EXPECT_EQ(card.Send("FFB0000510"), "6982") << "authentication is lost with the field";
  // Key type 61 (B) authenticates, but key B is readable here, so it grants nothing.
  EXPECT_EQ(card.Send("FF860000050100056110"), "9000");
  EXPECT_EQ(card.Send("FFB0000510"), "6982");
}

TEST(MifareClassic, ErrorWords) {
  const std::pair<std::string, std::string> cases[] = {
      {"00A4040000", "6E00"},                           // class not supported
      {"FF00000000", "6D00"},                           // unknown instruction
      {"FFF3", "6700"},                                 // too short
      {"FFF3000105FFFFFFFFFF10", "6700"},               // five-byte key
      {"FFF4000110" + kData + "FFFFFFFFFFFF", "6700"},  // Lc 10 instead of 16
      {"FF82002006FFFFFFFFFFFF", "6988"},               // key slot 20
      {"FF82200006FFFFFFFFFFFF", "6B00"},               // non-volatile memory
      {"FF860000050200010000", "6B00"},                 // version 02
  };
  for (const auto& [command, answer] : cases) EXPECT_EQ(Card().Send(command), answer) << command;
}

}  // namespace
}  // namespace lumivex::sim::test
