#include "component/mifare/access_bits.h"

#include <gtest/gtest.h>

namespace lumivex::mifare {
namespace {

// C1C2C3 of one block as the card reads them back from bytes 7 and 8.
std::string BitsOf(const AccessBytes& bytes, int blockIndex) {
  const int pattern = AccessPattern(bytes[1], bytes[2], blockIndex);
  return {static_cast<char>('0' + (pattern >> 2)), static_cast<char>('0' + ((pattern >> 1) & 1)),
          static_cast<char>('0' + (pattern & 1))};
}

TEST(AccessBits, PlacementGivesTheCardsOwnLayoutWithInvertedCopies) {
  AccessBytes transport{};
  for (const int mask : {kBlock0Mask, kBlock1Mask, kBlock2Mask})
    PlaceAccessBits("000", mask, transport);
  PlaceAccessBits("001", kTrailerMask, transport);
  EXPECT_EQ(transport, (AccessBytes{0xFF, 0x07, 0x80}));

  AccessBytes bytes{0x00, 0xFF, 0x00};  // placing one block keeps the others' bits
  PlaceAccessBits("100", kBlock1Mask, bytes);
  EXPECT_EQ(bytes, (AccessBytes{0x20, 0xFF, 0x00}));
  for (const int mask : {kBlock0Mask, kBlock2Mask}) PlaceAccessBits("100", mask, bytes);
  PlaceAccessBits("011", kTrailerMask, bytes);
  EXPECT_EQ(bytes, (AccessBytes{0x78, 0x77, 0x88}));
}

TEST(AccessBits, DataBlockLevelsFollowTheKeyModeTables) {
  struct Case {
    std::uint8_t keysToUse;
    std::int32_t level;
    bool valueBloc;
    const char* bits;  // nullptr: no bits for the level
  };
  const Case cases[] = {
      {1, 0, false, "111"},   {1, 1, false, "001"},    {1, 2, false, "000"},
      {1, 3, false, "000"},   {1, 13, false, "001"},   {1, 12, false, "111"},
      {2, 0, false, "111"},   {0, 4, false, "101"},    {2, 5, false, "001"},
      {2, 8, false, "011"},   {2, 12, false, "011"},   {2, 9, false, "100"},
      {2, 13, true, "110"},   {2, 10, true, "000"},    {2, 15, false, "000"},
      {2, 1, false, nullptr}, {2, 3, false, nullptr},  {2, 6, false, nullptr},
      {2, 7, false, nullptr}, {2, 16, false, nullptr},
  };
  const AccessConditionTable defaults{};
  for (const auto& c : cases) {
    AccessBytes bytes{0x5A, 0xA5, 0x3C};
    const AccessBytes before = bytes;
    const int status =
        DataBlockLevelToBits(c.level, c.keysToUse, kBlock2Mask, bytes, c.valueBloc, defaults);
    SCOPED_TRACE(testing::Message() << "keys " << int{c.keysToUse} << " level " << c.level);
    if (c.bits == nullptr) {
      EXPECT_EQ(status, kNoBitsForLevel);
      EXPECT_EQ(bytes, before);
    } else {
      EXPECT_EQ(status, kConverted);
      EXPECT_EQ(BitsOf(bytes, 2), c.bits);
    }
  }
  AccessBytes untouched{1, 2, 3};
  EXPECT_EQ(DataBlockLevelToBits(-1, 2, kBlock0Mask, untouched, false, defaults), kConverted);
  EXPECT_EQ(untouched, (AccessBytes{1, 2, 3}));
}

TEST(AccessBits, OverridesReplaceTheDefaultOfTheirConditionOnly) {
  AccessConditionTable overrides{};
  overrides[8] = "010";
  overrides[2] = "111";
  AccessBytes bytes{};
  DataBlockLevelToBits(9, 2, kBlock0Mask, bytes, true, overrides);  // beats the value-block bits
  DataBlockLevelToBits(1, 1, kBlock1Mask, bytes, false, overrides);
  DataBlockLevelToBits(4, 2, kBlock2Mask, bytes, false, overrides);
  EXPECT_EQ(BitsOf(bytes, 0), "010");
  EXPECT_EQ(BitsOf(bytes, 1), "111");
  EXPECT_EQ(BitsOf(bytes, 2), "101");
}

TEST(AccessBits, TrailerLevelsAndTheirReadingBack) {
  struct Case {
    std::uint8_t keysToUse;
    std::int32_t level;
    const char* bits;
    std::uint8_t keysUsed;       // as read back
    std::int32_t readBackLevel;  // as read back
  };
  const Case cases[] = {
      {1, 0, "010", 1, 0}, {1, 1, "000", 1, 1}, {1, 2, "001", 1, 3}, {1, 15, "001", 1, 3},
      {2, 0, "111", 2, 0}, {2, 4, "100", 2, 4}, {2, 8, "101", 2, 8}, {2, 12, "011", 2, 12},
  };
  for (const auto& c : cases) {
    AccessBytes bytes{};
    ASSERT_EQ(TrailerLevelToBits(c.level, c.keysToUse, kTrailerMask, bytes), kConverted);
    const int pattern = AccessPattern(bytes[1], bytes[2], 3);
    EXPECT_EQ(BitsOf(bytes, 3), c.bits);
    EXPECT_EQ(TrailerKeysUsedOfPattern(pattern), c.keysUsed);
    EXPECT_EQ(TrailerLevelOfPattern(pattern), c.readBackLevel);
  }
  AccessBytes bytes{};
  for (const int level : {1, 2, 3, 5, 13, 15}) {
    EXPECT_EQ(TrailerLevelToBits(level, 2, kTrailerMask, bytes), kNoBitsForLevel) << level;
  }
  const int dataLevels[] = {15, 5, 5, 12, 13, 12, 13, 0};
  for (int pattern = 0; pattern < 8; ++pattern) {
    EXPECT_EQ(DataBlockLevelOfPattern(pattern), dataLevels[pattern]);
  }
}

TEST(AccessBits, ValueBlocksAndBlockBytes) {
  EXPECT_EQ(ValueBlocText(1), "01000000FEFFFFFF01000000FF00FF00");
  EXPECT_EQ(ValueBlocText(0x12345678), "7856341287A9CBED78563412FF00FF00");
  EXPECT_EQ(ValueBlocText(-1), "00000000FFFFFFFF00000000FF00FF00");
  EXPECT_EQ(ValueBlocText(-2147483647 - 1), "00000000FFFFFFFF00000000FF00FF00");
  EXPECT_EQ(BlocByte(5), "05");
  EXPECT_EQ(BlocByte(255), "FF");
  EXPECT_EQ(BlocByte(256), "00");
  EXPECT_EQ(BlocByte(-1), "FF");
  EXPECT_EQ(SectorTrailerBloc(35), 143);
  EXPECT_TRUE(IsAccessBitText("101"));
  for (const char* bad : {"0000", "012", "", "10"}) EXPECT_FALSE(IsAccessBitText(bad)) << bad;
}

}  // namespace
}  // namespace lumivex::mifare
