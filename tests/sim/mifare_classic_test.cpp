#include <gtest/gtest.h>

#include "sim/mifare/access_conditions.h"
#include "sim/mifare/mifare_classic_card.h"
#include "tests/sim/apdu_text.h"

namespace lumivex::sim::test {
namespace {

const std::string kFactoryKey = "FFFFFFFFFFFF";
const std::string kKeyA = "A0A1A2A3A4A5";
const std::string kKeyB = "B0B1B2B3B4B5";
const std::string kZeros = std::string(32, '0');
const std::string kData = "00112233445566778899AABBCCDDEEFF";

// The status word at the end of an answer.
std::string Sw(const std::string& answer) {
  return answer.substr(answer.size() - 4);
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
    ASSERT_EQ(
        Write(trailer, kKeyA + Hex(EncodeAccessBytes(conditions)) + "69" + kKeyB, kFactoryKey),
        "9000");
  }
  SimCard& card() { return *card_; }

 private:
  std::shared_ptr<SimCard> card_;
};

TEST(MifareClassic, FactoryStateAndKeyReadBack) {
  Card card;
  // UID, BCC = 12^34^56^78 = 08, SAK 08, ATQA 0004.
  EXPECT_EQ(card.Read(0, kFactoryKey).substr(0, 16), "1234567808080400");
  EXPECT_EQ(card.Read(1, kFactoryKey), kZeros + "9000");
  // Key A reads back as zeros; in the transport configuration key B is readable.
  EXPECT_EQ(card.Read(3, kFactoryKey), "000000000000FF078069FFFFFFFFFFFF9000");
  EXPECT_EQ(card.Read(63, kFactoryKey), "000000000000FF078069FFFFFFFFFFFF9000");
  EXPECT_EQ(card.Read(1, kKeyA), "6982");
  EXPECT_EQ(Hex(card.card().Atr()), "3B8F8001804F0CA000000306030001000000006A");

  EXPECT_EQ(card.Write(1, kData, kFactoryKey), "9000");
  EXPECT_EQ(card.Read(1, kFactoryKey), kData + "9000");
  EXPECT_EQ(card.Write(0, kData, kFactoryKey), "6982") << "block 0 is locked at manufacture";
  card.card().PowerCycle();
  EXPECT_EQ(card.Read(1, kFactoryKey), kData + "9000") << "memory survives the field";
}

TEST(MifareClassic, AccessBytesCarryEachBitTwice) {
  EXPECT_EQ(Hex(EncodeAccessBytes({0, 0, 0, 1})), "FF0780");
  EXPECT_EQ(Hex(EncodeAccessBytes({3, 4, 6, 5})), "A1E695") << "C1=1110 C2=0101 C3=1001";
  for (std::uint8_t c = 0; c < 8; ++c) {
    const Conditions conditions{c, static_cast<std::uint8_t>(7 - c), 0, c};
    const auto bytes = EncodeAccessBytes(conditions);
    EXPECT_EQ(DecodeAccessBytes(bytes), conditions);
    auto broken = bytes;
    broken[0] ^= 0x01;  // one inverted copy no longer matches
    EXPECT_FALSE(DecodeAccessBytes(broken).has_value());
  }
}

// Data blocks: who may read and write block 1 under each condition of its group (data sheet).
struct DataCase {
  std::uint8_t condition;
  bool readA, readB, writeA, writeB;
};

class DataBlockConditions : public testing::TestWithParam<DataCase> {};

TEST_P(DataBlockConditions, KeysReadAndWriteAsTheTableSays) {
  const DataCase& c = GetParam();
  Card card;
  // Trailer 011: key B is not readable, so it serves for authentication.
  card.SetTrailer(3, {0, c.condition, 0, 3});
  const auto ok = [](bool allowed) { return allowed ? std::string("9000") : std::string("6982"); };
  EXPECT_EQ(Sw(card.Read(1, kKeyA)), ok(c.readA));
  EXPECT_EQ(Sw(card.Read(1, kKeyB)), ok(c.readB));
  EXPECT_EQ(card.Write(1, kData, kKeyA), ok(c.writeA));
  EXPECT_EQ(card.Write(1, kData, kKeyB), ok(c.writeB));
  EXPECT_EQ(Sw(card.Read(0, kKeyA)), "9000") << "block 0 keeps its own group";
}

INSTANTIATE_TEST_SUITE_P(DataSheet, DataBlockConditions,
                         testing::Values(DataCase{0b000, true, true, true, true},
                                         DataCase{0b010, true, true, false, false},
                                         DataCase{0b100, true, true, false, true},
                                         DataCase{0b110, true, true, false, true},
                                         DataCase{0b001, true, true, false, false},
                                         DataCase{0b011, false, true, false, true},
                                         DataCase{0b101, false, true, false, false},
                                         DataCase{0b111, false, false, false, false}));

TEST(MifareClassic, ValueOperationsFollowTheTable) {
  // No reader command carries them, so the table itself is checked: increment, decrement.
  const Who expected[8][2] = {{Who::Either, Who::Either}, {Who::Never, Who::Either},
                              {Who::Never, Who::Never},   {Who::Never, Who::Never},
                              {Who::Never, Who::Never},   {Who::Never, Who::Never},
                              {Who::KeyB, Who::Either},   {Who::Never, Who::Never}};
  for (std::uint8_t c = 0; c < 8; ++c) {
    EXPECT_EQ(DataBlockAccessFor(c).increment, expected[c][0]) << int(c);
    EXPECT_EQ(DataBlockAccessFor(c).decrement, expected[c][1]) << int(c);
  }
}

// Trailers: what key A sees of key B, whether key B authenticates, and which key may change key A
// and the access bits.
struct TrailerCase {
  std::uint8_t condition;
  bool keyBVisible, keyBUsable;
  char writesKeyA, writesBits;  // 'A', 'B' or '-'
};

class TrailerConditions : public testing::TestWithParam<TrailerCase> {};

TEST_P(TrailerConditions, TrailerPartsFollowTheTable) {
  const TrailerCase& c = GetParam();
  const std::string bits = Hex(EncodeAccessBytes({0, 0, 0, c.condition}));
  for (const char writer : {'A', 'B'}) {
    Card card;
    card.SetTrailer(7, {0, 0, 0, c.condition});
    EXPECT_EQ(card.Read(7, kKeyA),
              "000000000000" + bits + "69" + (c.keyBVisible ? kKeyB : "000000000000") + "9000");
    EXPECT_EQ(Sw(card.Read(4, kKeyB)), c.keyBUsable ? "9000" : "6982");
    // Try to change key A and the data groups' access bits with one key (key B is written by the
    // same keys as key A under every condition).
    const std::string newKeyA = "C0C1C2C3C4C5";
    const std::string newBits = Hex(EncodeAccessBytes({1, 1, 1, c.condition}));
    const bool keyAChanges = c.writesKeyA == writer;
    const bool bitsChange = c.writesBits == writer;
    std::string trailerData = newKeyA;
    trailerData += newBits;
    trailerData += "69";
    trailerData += kKeyB;
    const std::string answer = card.Write(7, trailerData, writer == 'A' ? kKeyA : kKeyB);
    EXPECT_EQ(answer, keyAChanges || bitsChange ? "9000" : "6982") << writer;
    EXPECT_EQ(Sw(card.Read(4, newKeyA)), keyAChanges ? "9000" : "6982") << writer;
    const std::string trailer = card.Read(7, keyAChanges ? newKeyA : kKeyA);
    EXPECT_EQ(trailer.substr(12, 6), bitsChange ? newBits : bits) << writer;
  }
}

INSTANTIATE_TEST_SUITE_P(DataSheet, TrailerConditions,
                         testing::Values(TrailerCase{0b000, true, false, 'A', '-'},
                                         TrailerCase{0b010, true, false, '-', '-'},
                                         TrailerCase{0b100, false, true, 'B', '-'},
                                         TrailerCase{0b110, false, true, '-', '-'},
                                         TrailerCase{0b001, true, false, 'A', 'A'},
                                         TrailerCase{0b011, false, true, 'B', 'B'},
                                         TrailerCase{0b101, false, true, '-', 'B'},
                                         TrailerCase{0b111, false, true, '-', '-'}));

TEST(MifareClassic, InconsistentTrailerBlocksTheSector) {
  Card card;
  // FF 07 81: the plain C2 bit of block 0 has no inverted copy.
  ASSERT_EQ(card.Write(7, kFactoryKey + "FF0781" + "69" + kFactoryKey, kFactoryKey), "9000");
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
  EXPECT_EQ(card.Read(131, kFactoryKey), kZeros + "9000");
  EXPECT_EQ(card.Read(143, kFactoryKey), "000000000000FF078069FFFFFFFFFFFF9000");
  EXPECT_EQ(card.Read(255, kFactoryKey), "000000000000FF078069FFFFFFFFFFFF9000");
  card.SetTrailer(143, {7, 0, 0, 3});  // group 0 (blocks 128-132) unreadable
  EXPECT_EQ(card.Read(132, kKeyB), "6982");
  EXPECT_EQ(card.Read(133, kKeyB), kZeros + "9000");
  EXPECT_EQ(card.Read(128, kKeyA), "6982");
}

TEST(MifareClassic, GeneralAuthenticateThenReadBinary) {
  Card card;
  EXPECT_EQ(card.Send("FFB0000110"), "6982") << "not authenticated";
  EXPECT_EQ(card.Send("FF820010"
                      "06" +
                      kFactoryKey),
            "9000");
  EXPECT_EQ(card.Send("FF860000050100056000"), "6982") << "slot 00 is empty";
  EXPECT_EQ(card.Send("FF860000050100056010"), "9000");
  EXPECT_EQ(card.Send("FFD6000510" + kData), "9000");
  EXPECT_EQ(card.Send("FFB0000510"), kData + "9000");
  EXPECT_EQ(card.Send("FFB0000910"), "6982") << "another sector";
  card.card().PowerCycle();
  EXPECT_EQ(card.Send("FFB0000510"), "6982") << "authentication is lost with the field";
  // Key type 61 (B) fails in the transport configuration: key B is readable there.
  EXPECT_EQ(card.Send("FF860000050100056110"), "9000");
  EXPECT_EQ(card.Send("FFB0000510"), "6982");
}

TEST(MifareClassic, ErrorWords) {
  const struct {
    std::string command;
    std::string answer;
  } cases[] = {
      {"00A4040000", "6E00"},                           // class not supported
      {"FF00000000", "6D00"},                           // unknown instruction
      {"FFF3", "6700"},                                 // too short
      {"FFF3004006FFFFFFFFFFFF10", "6A82"},             // block 64 on a 1K card
      {"FFF3000105FFFFFFFFFF10", "6700"},               // five-byte key
      {"FFF300010BFFFFFFFFFFFF", "6700"},               // no Le
      {"FFF4000110" + kData + "FFFFFFFFFFFF", "6700"},  // Lc 10 instead of 16
      {"FF82002006FFFFFFFFFFFF", "6988"},               // key slot 20
      {"FF82200006FFFFFFFFFFFF", "6B00"},               // non-volatile memory
      {"FF860000050200010000", "6B00"},                 // version 02
  };
  for (const auto& c : cases) {
    Card card;
    EXPECT_EQ(card.Send(c.command), c.answer) << c.command;
  }
}

}  // namespace
}  // namespace lumivex::sim::test
