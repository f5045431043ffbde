// The MIFARE operations against a simulated 1K or 4K card behind the in-process reader.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "sim/mifare/mifare_classic_card.h"
#include "tests/support/simulated_encoder.h"

namespace lumivex {
namespace {

const std::string kFactoryKey = "FFFFFFFFFFFF";
const std::string kKeyA = "A0A1A2A3A4A5";
const std::string kKeyB = "B0B1B2B3B4B5";
const std::string kBadLevels = "Invalid security information in parameters";

struct Station : test::SimulatedEncoder {
  explicit Station(sim::MifareClassicOptions options = {})
      : SimulatedEncoder(sim::MakeMifareClassic(options)) {
    EXPECT_EQ(encoder.OpenEncoder(0), sceSuccess);
    trace.clear();
  }
  std::string Read(std::int32_t bloc, const std::string& key = kFactoryKey) {
    std::string contents;
    EXPECT_EQ(encoder.ReadDataBloc(bloc, key, 1, contents), sceSuccess);
    Expect(0, "", "MifareReadDataBloc");
    return contents;
  }
  // Sector 1 (blocks 4 to 7) gets keys A and B and the levels; the factory key authorises it.
  sceReturnCode WriteSector1(std::uint8_t keysToUse, std::array<std::int32_t, 4> levels,
                             const std::optional<Variant>& bx = std::nullopt,
                             const std::string& keyA = kKeyA) {
    return encoder.WriteSectorTrailer(
        1, kFactoryKey, 1, keyA, kKeyB, keysToUse, SCBS_SecurityLevelEnum(levels[0]),
        SCBS_SecurityLevelEnum(levels[1]), SCBS_SecurityLevelEnum(levels[2]),
        SCSS_SecurityLevelEnum(levels[3]), bx);
  }
  // The last operation's outcome (number 0: a success, recorded with the operation's name alone).
  // Every operation opens and closes its own trace, whatever the operations it calls inside
  // trace in between.
  void Expect(std::int32_t number, const std::string& description, const std::string& function,
              const std::string& rdrCommand = "") {
    const CError& e = encoder.LastError();
    EXPECT_EQ(std::make_tuple(e.Number(), e.Description(), e.ComFunction(), e.RdrCommand()),
              std::tie(number, description, function, rdrCommand));
    ASSERT_FALSE(trace.empty()) << function;
    EXPECT_EQ(trace.front() + " " + trace.back(), "--> " + function + " <-- " + function);
    trace.clear();
  }
};

TEST(MifareCard, BlocksValueBlocksAndTheManufacturerBlockRoundTrip) {
  for (const bool fourK : {false, true}) {
    Station station({.fourK = fourK, .uid = {0xF2, 0x34, 0x56, 0x78}});
    const std::int32_t bloc = fourK ? 200 : 62;
    std::string data = "00 11 22 33 44 55 66 77 88 99 aa bb cc dd ee ff";
    ASSERT_EQ(station.encoder.WriteDataBloc(bloc, "ff ff ff ff ff ff", 2, data), sceSuccess);
    station.Expect(0, "", "MifareWriteDataBloc");
    EXPECT_EQ(data, "00112233445566778899AABBCCDDEEFF");  // normalised in the caller's variable
    EXPECT_EQ(station.Read(bloc), data);
    for (const auto& [value, text] : {std::pair{1, "01000000FEFFFFFF01000000FF00FF00"},
                                      {0x12345678, "7856341287A9CBED78563412FF00FF00"},
                                      {-1, "00000000FFFFFFFF00000000FF00FF00"}}) {
      ASSERT_EQ(station.encoder.WriteValueBloc(bloc - 1, kFactoryKey, 1, value), sceSuccess);
      station.Expect(0, "", "MifareWriteValueBloc");
      EXPECT_EQ(station.Read(bloc - 1), text);
    }
    const std::string bloc0 = station.Read(256);  // block 256 addresses block 0
    std::int32_t serial = 7;
    std::uint8_t check = 0;
    std::string info;
    ASSERT_EQ(station.encoder.ReadManufacturerCode(kFactoryKey, 1, serial, check, info),
              sceSuccess);
    station.Expect(0, "", "MifareReadManufacturerCode");
    EXPECT_EQ(serial, -231451016);
    EXPECT_EQ(bloc0.substr(0, 8) + ":" + bloc0.substr(10), "F2345678:" + info);
    EXPECT_EQ(check, std::stoi(bloc0.substr(8, 2), nullptr, 16));  // as read, not verified
  }
}

TEST(MifareCard, ByteRangesAreReadModifiedAndWritten) {
  const std::string original = "000102030405060708090A0B0C0D0E0F";
  // clang-format off
  const std::tuple<std::uint8_t, std::uint8_t, std::string, std::string> cases[] = {  // "": refused
      {0, 15, "ffeeddccbbaa99887766554433221100", "FFEEDDCCBBAA99887766554433221100"},
      {3, 3, "7", "000102700405060708090A0B0C0D0E0F"},           // short input: zero-filled
      {14, 15, "AB", "000102030405060708090A0B0C0DAB00"},        // up to the last byte
      {0, 1, "1122334455", "112202030405060708090A0B0C0D0E0F"},  // long input: cut
      {5, 4, "77", ""}, {16, 16, "77", ""}, {0, 16, "77", ""}};
  // clang-format on
  for (const auto& [from, to, input, expected] : cases) {
    Station station;
    std::string contents = original;
    ASSERT_EQ(station.encoder.WriteDataBloc(4, kFactoryKey, 1, contents), sceSuccess);
    station.trace.clear();
    contents = input;
    const bool refused = expected.empty();  // offsets are refused after the read
    EXPECT_EQ(station.encoder.WriteBytesInBloc(4, kFactoryKey, 1, from, to, contents),
              refused ? sceError : sceSuccess);
    station.Expect(refused ? err::kIncorrectOffsets : 0,
                   refused ? "Incorrect offsets in parameters" : "", "MifareWriteBytesInBloc");
    EXPECT_EQ(station.pcsc->transmitCount(), refused ? 2U : 3U);  // the read, then the write if any
    EXPECT_EQ(contents, refused ? original : expected);           // the whole block as it now is
    EXPECT_EQ(station.Read(4), refused ? original : expected);
  }
}

TEST(MifareCard, TrailersWrittenFromLevelsHoldTheirBitsAndReadBackAsLevels) {
  struct Case {
    std::vector<std::pair<std::int32_t, std::string>> table;  // MifareSetAccessCondition calls
    std::uint8_t keysToUse;
    std::array<std::int32_t, 4> levels;
    std::string bits;                          // C1C2C3 of blocks 0 to 3 as the card holds them
    std::array<std::int32_t, 6> readBack;      // levels 0 to 3, keys used, BX
    std::optional<Variant> bx = std::nullopt;  // absent: the card's own user byte stays
    bool valueBloc = false;                    // block 4 written as a value block first
  };
  const std::array<std::int32_t, 4> keyB{scbs_A_Read + scbs_B_Write, scbs_B_Read, scbs_B_ReadWrite,
                                         scss_B_WriteKeysConditions};
  // clang-format off
  const Case cases[] = {  // level -1: the card's level stays
      {{}, 1, {scbs_A_ReadWrite, scbs_A_Read, scbs_A_Nothing, scss_A_WriteKeysConditions}, "000001111001",
       {15, 5, 0, 3, 1, 0x69}},
      {{}, 2, {-1, -1, -1, scss_B_WriteConditions}, "000000000101", {15, 15, 15, 8, 2, 7}, Variant::FromByte(7)},
      {{}, 1, {scbs_A_Write, scbs_A_Read + scbs_B_ReadWrite, scbs_B_ReadWrite, scss_A_Nothing}, "000001111010",
       {15, 5, 0, 0, 1, 0x69}},  // key A only: the B part of a level is dropped
      {{}, 1, {1, 1, 1, scss_A_WriteKeys}, "001001001000", {5, 5, 5, 1, 1, 0x69}},
      {{}, 1, {3, 3, 3, scss_A_WriteConditions + scss_B_WriteKeys}, "000000000001", {15, 15, 15, 3, 1, 0x69}},
      {{}, 0, {5, 8, 10, scss_B_Nothing}, "001011000111", {5, 12, 15, 0, 2, 0x69}},
      {{}, 2, {11, 14, 15, scss_B_WriteKeys}, "000000000100", {15, 15, 15, 4, 2, 0x69}},
      {{}, 2, keyB, "100101011011", {13, 12, 12, 12, 2, 42}, Variant::FromText("42")},
      {{}, 2, keyB, "110101011011", {13, 12, 12, 12, 2, 0x69}, std::nullopt, true},
      {{{5, "110"}, {8, "010"}}, 2, keyB, "010110011011", {5, 13, 12, 12, 2, 0x69}, std::nullopt, true},
      {{{4, "010"}, {6, "100"}, {7, "110"}, {9, "001"}}, 2, {0, 5, 8, 12}, "010100110011", {5, 13, 13, 12, 2, 0x69}},
      {{{1, "110"}, {2, "101"}, {3, "100"}, {9, "001"}}, 1, {0, 1, 2, 3}, "110101100001", {13, 12, 13, 3, 1, 0x69}},
      {{{9, "101"}}, 2, {10, 11, 14, 12}, "101101101011", {12, 12, 12, 12, 2, 0x69}},
      {{{0, "000"}, {10, "000"}, {5, "0000"}, {5, "012"}}, 2, keyB, "100101011011",
       {13, 12, 12, 12, 2, 0x69}}};  // silently refused
  // clang-format on
  for (const auto& c : cases) {
    Station station;
    if (c.valueBloc) {
      ASSERT_EQ(station.encoder.MifareWriteValueBloc(4, kFactoryKey, 1, 10), sceSuccess);
      station.Expect(0, "", "MifareWriteValueBloc");
    }
    for (const auto& [number, bits] : c.table) station.encoder.SetAccessCondition(number, bits);
    ASSERT_EQ(station.WriteSector1(c.keysToUse, c.levels, c.bx), sceSuccess);
    station.Expect(0, "", "MifareWriteSectorTrailer");
    const std::string key = c.keysToUse == 1 ? kKeyA : kKeyB;
    const std::string trailer = station.Read(7, key);
    const long access = std::stol(trailer.substr(12, 6), nullptr, 16);  // bytes 6 to 8
    std::string bits;  // C1 of block b is bit 4+b of byte 7, C2 bit b and C3 bit 4+b of byte 8
    for (const int b : {0, 1, 2, 3})
      for (const int at : {12, 0, 4}) bits += char('0' + ((access >> (at + b)) & 1));
    EXPECT_EQ(bits, c.bits);
    std::uint8_t keysUsed = 0, bx = 0;
    std::array<SCBS_SecurityLevelEnum, 3> s{};
    SCSS_SecurityLevelEnum t{};
    ASSERT_EQ(station.encoder.ReadSectorTrailer(1, key, 1, keysUsed, s[0], s[1], s[2], t, bx),
              sceSuccess);
    station.Expect(0, "", "MifareReadSectorTrailer");
    EXPECT_EQ((std::array<std::int32_t, 6>{s[0], s[1], s[2], t, keysUsed, bx}), c.readBack);
  }
}

TEST(MifareCard, ArgumentsAreCheckedInOrderBeforeAnyTraffic) {
  // clang-format off
  const std::tuple<std::string, std::int32_t, std::optional<Variant>, std::int32_t, std::string> cases[] = {
      {"A0A1A2A3A4A", 16, std::nullopt, err::kKeyNot12Hex, "A key must contain 12 hex digits"},
      {kKeyA, 16, Variant::FromText("x"), err::kInvalidSecurity, kBadLevels},
      {kKeyA, -2, std::nullopt, err::kInvalidSecurity, kBadLevels},
      {kKeyA, 0, Variant::FromText("x"), err::kIncorrectBX, "Incorrect value for BX"},
      {kKeyA, 0, Variant::FromInt32(256), err::kIncorrectBX, "Incorrect value for BX"}};
  // clang-format on
  for (const auto& [keyA, level, bx, number, description] : cases) {
    Station station;
    EXPECT_EQ(station.WriteSector1(2, {0, 0, 0, level}, bx, keyA), sceError);
    station.Expect(number, description, "MifareWriteSectorTrailer");
    EXPECT_EQ(station.pcsc->transmitCount(), 0U) << description;
  }
  Station station;
  std::string shortBloc(31, 'A');
  EXPECT_EQ(station.encoder.MifareWriteDataBloc(4, kFactoryKey, 1, shortBloc), sceError);
  station.Expect(err::kBlocNot32Hex, "A data bloc must contain 32 hex digits",
                 "MifareWriteDataBloc");
  EXPECT_EQ(station.pcsc->transmitCount(), 0U);
  // Levels without bits in key-B mode show only once the trailer has been read.
  const std::array<std::int32_t, 4> noBits[] = {{1, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 3, 0},
                                                {6, 0, 0, 0}, {7, 0, 0, 0}, {0, 0, 0, 1},
                                                {0, 0, 0, 13}};
  for (std::size_t i = 0; i < std::size(noBits); ++i) {
    EXPECT_EQ(station.WriteSector1(2, noBits[i]), sceError);
    station.Expect(err::kInvalidSecurity, kBadLevels, "MifareWriteSectorTrailer");
    EXPECT_EQ(station.pcsc->transmitCount(), i + 1);
  }
}

TEST(MifareCard, CardAndReaderFailuresNameTheOperation) {
  const std::string transmit = "EncoderCommand:SCardTransmit:MifareClassicRead";
  // clang-format off
  const std::tuple<std::int32_t, std::string, std::int32_t, std::string, std::string> cases[] = {
      {4, "000000000000", err::kCommandFailed, "Encoder command failed", transmit},  // wrong key
      {4, kFactoryKey, err::kEncoderEmpty, "No card in encoder", "SCardConnect"},
      {4, kFactoryKey, err::kEncoderClosed, "Encoder is closed", "SelectCardInRange"}};
  // clang-format on
  for (const auto& [bloc, key, number, description, rdrCommand] : cases) {
    SCOPED_TRACE(description + " " + std::to_string(bloc));
    Station station;
    if (number == err::kEncoderEmpty) station.pcsc->RemoveCard();
    if (number == err::kEncoderClosed) station.encoder.CloseEncoder();
    station.trace.clear();
    std::string contents = "was";
    EXPECT_EQ(station.encoder.MifareReadDataBloc(bloc, key, 1, contents), sceError);
    station.Expect(number, description, "MifareReadDataBloc", rdrCommand);
    EXPECT_EQ(contents, rdrCommand == transmit ? "" : "was");  // kept when nothing was sent
    contents = "77";  // an operation built on the read marks itself in front of the read
    EXPECT_EQ(station.encoder.MifareWriteBytesInBloc(bloc, key, 1, 0, 0, contents), sceError);
    station.Expect(number, description, "MifareWriteBytesInBloc",
                   "MifareReadDataBloc:" + rdrCommand);
    EXPECT_EQ(contents, "");
  }
}

}  // namespace
}  // namespace lumivex
