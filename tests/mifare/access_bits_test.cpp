#include "component/mifare/access_bits.h"

#include <gtest/gtest.h>

namespace lumivex::mifare {
namespace {

// C1C2C3 of one block as the card reads them back from bytes 7 and 8.
std::string BitsOf(const AccessBytes& bytes, int blockIndex) {
  const int p = AccessPattern(bytes[1], bytes[2], blockIndex);
  return {char('0' + (p >> 2)), char('0' + ((p >> 1) & 1)), char('0' + (p & 1))};
}

TEST(AccessBits, LevelsFollowTheTableOfTheirKeyMode) {
  struct Case {
    bool trailer;
    std::uint8_t keysToUse;
    std::int32_t level;
    std::string bits;  // "-": no bits for the level; "": kept as it is
  };
  const Case cases[] = {
      {false, 1, 0, "111"},  {false, 1, 1, "001"},  {false, 1, 3, "000"},  {false, 1, 13, "001"},
      {false, 1, 12, "111"}, {false, 0, 4, "101"},  {false, 2, 5, "001"},  {false, 2, 12, "011"},
      {false, 2, 9, "100"},  {false, 2, 11, "000"}, {false, 2, 14, "000"}, {false, 2, 0, "111"},
      {false, 2, 2, "-"},    {false, 2, 7, "-"},    {false, 2, 16, "-"},   {false, 2, -1, ""},
      {true, 1, 0, "010"},   {true, 1, 1, "000"},   {true, 1, 2, "001"},   {true, 1, 15, "001"},
      {true, 2, 0, "111"},   {true, 2, 4, "100"},   {true, 2, 8, "101"},   {true, 2, 12, "011"},
      {true, 2, 1, "-"},     {true, 2, 13, "-"},    {true, 2, -1, ""}};
  const AccessConditionTable defaults{};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << c.trailer << " keys " << int{c.keysToUse} << " level " << c.level);
    AccessBytes bytes{0x5A, 0xA5, 0x3C};
    const AccessBytes before = bytes;
    const int status =
        c.trailer ? TrailerLevelToBits(c.level, c.keysToUse, kBlock2Mask, bytes)
                  : DataBlockLevelToBits(c.level, c.keysToUse, kBlock2Mask, bytes, false, defaults);
    EXPECT_EQ(status, c.bits == "-" ? kNoBitsForLevel : kConverted);
    EXPECT_EQ(bytes == before, c.bits.size() != 3);
    EXPECT_EQ(BitsOf(bytes, 2), c.bits.size() == 3 ? c.bits : BitsOf(before, 2));
  }
  AccessConditionTable overrides{};
  overrides[8] = "010";  // beats the value-block bits, and changes only its own condition
  AccessBytes bytes{0xFF, 0x07, 0x80};  // the transport configuration: "000" for every data block
  DataBlockLevelToBits(13, 2, kBlock0Mask, bytes, true, overrides);
  DataBlockLevelToBits(12, 2, kBlock1Mask, bytes, true, overrides);
  EXPECT_EQ(BitsOf(bytes, 0) + BitsOf(bytes, 1) + BitsOf(bytes, 2) + BitsOf(bytes, 3),
            "010011000001");
  PlaceAccessBits("100", kBlock0Mask, bytes);  // with its inverted copies in byte 6
  PlaceAccessBits("100", kBlock1Mask, bytes);
  PlaceAccessBits("100", kBlock2Mask, bytes);
  PlaceAccessBits("011", kTrailerMask, bytes);
  EXPECT_EQ(bytes, (AccessBytes{0x78, 0x77, 0x88}));
}

}  // namespace
}  // namespace lumivex::mifare
