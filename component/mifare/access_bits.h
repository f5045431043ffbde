// MIFARE Classic access conditions: the host's access levels, the card's three access bits C1 C2 C3
// per block, and their place in the three access bytes of a sector trailer (bytes 6, 7 and 8).
// Pure functions over values, shared by the trailer operations of the Encoder.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "component/types.h"

namespace lumivex::mifare {

// Trailer bytes 6, 7 and 8.
using AccessBytes = std::array<std::uint8_t, 3>;
// The host's replacements for the default bit patterns, numbered 1 to 9 (entry 0 is never used);
// an empty entry keeps the default.
using AccessConditionTable = std::array<std::string, 10>;

// Block masks of the four blocks of a sector: the three data blocks, then the trailer.
constexpr std::array<int, 3> kBlockMasks{1, 2, 4};
constexpr int kTrailerMask = 8;

// Status of a level conversion.
constexpr int kConverted = 0;
constexpr int kNoBitsForLevel = 2;

// True for the eight three-character texts "000" to "111".
bool IsAccessBitText(std::string_view bits);

// Sets the three bits C1 C2 C3 of the block with the given mask, and their inverted copies, into
// the access bytes; the other blocks' bits are kept.
void PlaceAccessBits(std::string_view bits, int mask, AccessBytes& bytes);

// The access bits of a data block for a level (sum of one A and one B value). keysToUse 1 means key
// A only. A negative level means "keep" and is left unconverted. Returns kConverted or
// kNoBitsForLevel.
int DataBlockLevelToBits(std::int32_t level, std::uint8_t keysToUse, int mask, AccessBytes& bytes,
                         bool isValueBloc, const AccessConditionTable& overrides);

// The access bits of a sector trailer for a level; same conventions, no overrides.
int TrailerLevelToBits(std::int32_t level, std::uint8_t keysToUse, int mask, AccessBytes& bytes);

// The pattern 4 x C1 + 2 x C2 + C3 (0 to 7) of block 0..3 as read from trailer bytes 7 and 8, which
// hold the bits plainly.
int AccessPattern(std::uint8_t byte7, std::uint8_t byte8, int blockIndex);

// Reading back: the level of a data block, and the key mode and level of the trailer, for a
// pattern.
SCBS_SecurityLevelEnum DataBlockLevelOfPattern(int pattern);
std::uint8_t TrailerKeysUsedOfPattern(int pattern);
SCSS_SecurityLevelEnum TrailerLevelOfPattern(int pattern);

// The 32 hexadecimal digits of a value block holding value (value bytes, their inverse, the value
// bytes again, FF00FF00). Bytes that would be negative are stored as 0.
std::string ValueBlocText(std::int32_t value);

// The trailer of a sector: block 4 x sectorNumber + 3 (no other sector geometry is applied), with
// 32-bit wrap-around instead of overflow.
std::int32_t SectorTrailerBloc(std::int32_t sectorNumber);

// Two upper-case hexadecimal digits.
std::string HexByte(std::uint8_t value);

}  // namespace lumivex::mifare
