#include "component/mifare/access_bits.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>

namespace lumivex::mifare {

namespace {

// A set of levels 0..15 as a bit mask (bit n stands for level n).
constexpr std::uint16_t Levels(std::initializer_list<int> levels) {
  std::uint16_t set = 0;
  for (const int level : levels) set = static_cast<std::uint16_t>(set | (1U << level));
  return set;
}

struct DataBlockRule {
  std::uint16_t levels;
  const char* bits;
  const char* valueBlocBits;  // used instead of bits for a block in the value-block list
  int condition;              // number of the host's override
};

// Key A only: the level is reduced to its A part first.
constexpr std::array<DataBlockRule, 3> kDataBlockKeyA{{
    {Levels({0}), "111", nullptr, 1},
    {Levels({1}), "001", nullptr, 2},
    {Levels({2, 3}), "000", nullptr, 3},
}};

// Key B in use: the whole level; levels 1, 2, 3, 6 and 7 have no bits.
constexpr std::array<DataBlockRule, 6> kDataBlockKeyB{{
    {Levels({0}), "111", nullptr, 4},
    {Levels({4}), "101", nullptr, 5},
    {Levels({5}), "001", nullptr, 6},
    {Levels({8, 12}), "011", nullptr, 7},
    {Levels({9, 13}), "100", "110", 8},
    {Levels({10, 11, 14, 15}), "000", nullptr, 9},
}};

struct TrailerRule {
  int level;
  const char* bits;
};

constexpr std::array<TrailerRule, 4> kTrailerKeyA{{{0, "010"}, {1, "000"}, {2, "001"}, {3, "001"}}};
constexpr std::array<TrailerRule, 4> kTrailerKeyB{
    {{0, "111"}, {4, "100"}, {8, "101"}, {12, "011"}}};

// Reading back, indexed by the pattern 4 x C1 + 2 x C2 + C3.
constexpr std::array<std::int32_t, 8> kDataBlockLevelOfPattern{15, 5, 5, 12, 13, 12, 13, 0};
constexpr std::array<std::uint8_t, 8> kTrailerKeysUsedOfPattern{1, 1, 1, 2, 2, 2, 2, 2};
constexpr std::array<std::int32_t, 8> kTrailerLevelOfPattern{1, 3, 0, 12, 4, 8, 0, 0};

bool KeyAOnly(std::uint8_t keysToUse) {
  return keysToUse == 1;
}

int PatternIndex(int pattern) {
  return std::clamp(pattern, 0, 7);
}

}  // namespace

bool IsAccessBitText(std::string_view bits) {
  return bits.size() == 3 &&
         std::all_of(bits.begin(), bits.end(), [](char c) { return c == '0' || c == '1'; });
}

void PlaceAccessBits(std::string_view bits, int mask, AccessBytes& bytes) {
  const bool c1 = !bits.empty() && bits[0] == '1';
  const bool c2 = bits.size() > 1 && bits[1] == '1';
  const bool c3 = bits.size() > 2 && bits[2] == '1';
  const auto low = static_cast<std::uint8_t>(mask & 0x0F);
  const auto high = static_cast<std::uint8_t>(low << 4);
  const auto keep = static_cast<std::uint8_t>(~(low * 0x11));
  // Byte 6: NOT C2 high, NOT C1 low. Byte 7: C1 high, NOT C3 low. Byte 8: C3 high, C2 low.
  bytes[0] = static_cast<std::uint8_t>((bytes[0] & keep) | (c2 ? 0 : high) | (c1 ? 0 : low));
  bytes[1] = static_cast<std::uint8_t>((bytes[1] & keep) | (c1 ? high : 0) | (c3 ? 0 : low));
  bytes[2] = static_cast<std::uint8_t>((bytes[2] & keep) | (c3 ? high : 0) | (c2 ? low : 0));
}

int DataBlockLevelToBits(std::int32_t level, std::uint8_t keysToUse, int mask, AccessBytes& bytes,
                         bool isValueBloc, const AccessConditionTable& overrides) {
  if (level < 0) return kConverted;  // keep what the card has
  const bool keyA = KeyAOnly(keysToUse);
  if (keyA) level &= 3;
  if (level > 15) return kNoBitsForLevel;
  const auto levelBit = static_cast<std::uint16_t>(1U << level);
  const DataBlockRule* found = nullptr;
  const auto match = [&](const auto& rules) {
    for (const auto& rule : rules) {
      if ((rule.levels & levelBit) != 0) found = &rule;
    }
  };
  if (keyA) {
    match(kDataBlockKeyA);
  } else {
    match(kDataBlockKeyB);
  }
  if (found == nullptr) return kNoBitsForLevel;
  const std::string& override = overrides.at(static_cast<std::size_t>(found->condition));
  std::string_view bits = found->bits;
  if (!override.empty()) {
    bits = override;
  } else if (isValueBloc && found->valueBlocBits != nullptr) {
    bits = found->valueBlocBits;
  }
  PlaceAccessBits(bits, mask, bytes);
  return kConverted;
}

int TrailerLevelToBits(std::int32_t level, std::uint8_t keysToUse, int mask, AccessBytes& bytes) {
  if (level < 0) return kConverted;  // keep what the card has
  const bool keyA = KeyAOnly(keysToUse);
  if (keyA) level &= 3;
  for (const auto& rule : keyA ? kTrailerKeyA : kTrailerKeyB) {
    if (rule.level == level) {
      PlaceAccessBits(rule.bits, mask, bytes);
      return kConverted;
    }
  }
  return kNoBitsForLevel;
}

int AccessPattern(std::uint8_t byte7, std::uint8_t byte8, int blockIndex) {
  const unsigned plain = 1U << blockIndex;
  const int c1 = (byte7 & (plain << 4)) != 0 ? 1 : 0;
  const int c2 = (byte8 & plain) != 0 ? 1 : 0;
  const int c3 = (byte8 & (plain << 4)) != 0 ? 1 : 0;
  return 4 * c1 + 2 * c2 + c3;
}

SCBS_SecurityLevelEnum DataBlockLevelOfPattern(int pattern) {
  return static_cast<SCBS_SecurityLevelEnum>(
      kDataBlockLevelOfPattern.at(static_cast<std::size_t>(PatternIndex(pattern))));
}

std::uint8_t TrailerKeysUsedOfPattern(int pattern) {
  return kTrailerKeysUsedOfPattern.at(static_cast<std::size_t>(PatternIndex(pattern)));
}

SCSS_SecurityLevelEnum TrailerLevelOfPattern(int pattern) {
  return static_cast<SCSS_SecurityLevelEnum>(
      kTrailerLevelOfPattern.at(static_cast<std::size_t>(PatternIndex(pattern))));
}

std::string ValueBlocText(std::int32_t value) {
  std::array<std::uint8_t, 4> bytes{};
  for (auto& byte : bytes) {
    const std::int32_t remainder = value % 256;  // negative for negative values: not storable
    byte = remainder < 0 ? 0 : static_cast<std::uint8_t>(remainder);
    value /= 256;
  }
  std::string text;
  text.reserve(32);
  for (const auto byte : bytes) text += HexByte(byte);
  for (const auto byte : bytes) text += HexByte(static_cast<std::uint8_t>(~byte));
  for (const auto byte : bytes) text += HexByte(byte);
  text += "FF00FF00";
  return text;
}

std::int32_t SectorTrailerBloc(std::int32_t sectorNumber) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(sectorNumber) * 4U + 3U);
}

std::string HexByte(std::uint8_t value) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  return {kDigits[value >> 4], kDigits[value & 0x0F]};
}

}  // namespace lumivex::mifare
