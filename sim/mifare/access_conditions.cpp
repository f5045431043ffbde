#include "sim/mifare/access_conditions.h"

namespace lumivex::sim {

namespace {

constexpr Who N = Who::Never;
constexpr Who A = Who::KeyA;
constexpr Who B = Who::KeyB;
constexpr Who AB = Who::Either;

// Indexed by 4 x C1 + 2 x C2 + C3.
constexpr DataBlockAccess kDataBlockTable[8] = {
    {AB, AB, AB, AB},  // 000: transport configuration
    {AB, N, N, AB},    // 001: value block
    {AB, N, N, N},     // 010: read/write block
    {B, B, N, N},      // 011: read/write block
    {AB, B, N, N},     // 100: read/write block
    {B, N, N, N},      // 101: read/write block
    {AB, B, B, AB},    // 110: value block
    {N, N, N, N},      // 111: read/write block
};

constexpr TrailerAccess kTrailerTable[8] = {
    {N, A, A, N, A, A},   // 000
    {N, A, A, A, A, A},   // 001: transport configuration
    {N, N, A, N, A, N},   // 010
    {N, B, AB, B, N, B},  // 011
    {N, B, AB, N, N, B},  // 100
    {N, N, AB, B, N, N},  // 101
    {N, N, AB, N, N, N},  // 110
    {N, N, AB, N, N, N},  // 111
};

}  // namespace

std::optional<Conditions> DecodeAccessBytes(std::span<const std::uint8_t, 3> bytes) {
  const unsigned c1 = bytes[1] >> 4;
  const unsigned c2 = bytes[2] & 0x0F;
  const unsigned c3 = bytes[2] >> 4;
  const unsigned notC1 = bytes[0] & 0x0F;
  const unsigned notC2 = bytes[0] >> 4;
  const unsigned notC3 = bytes[1] & 0x0F;
  if ((c1 ^ notC1) != 0x0F || (c2 ^ notC2) != 0x0F || (c3 ^ notC3) != 0x0F) return std::nullopt;
  Conditions conditions{};
  for (unsigned group = 0; group < 4; ++group) {
    const unsigned bit = 1U << group;
    conditions[group] = static_cast<std::uint8_t>(
        ((c1 & bit) != 0 ? 4 : 0) | ((c2 & bit) != 0 ? 2 : 0) | ((c3 & bit) != 0 ? 1 : 0));
  }
  return conditions;
}

std::array<std::uint8_t, 3> EncodeAccessBytes(const Conditions& conditions) {
  unsigned c1 = 0;
  unsigned c2 = 0;
  unsigned c3 = 0;
  for (unsigned group = 0; group < 4; ++group) {
    const unsigned bit = 1U << group;
    if ((conditions[group] & 4) != 0) c1 |= bit;
    if ((conditions[group] & 2) != 0) c2 |= bit;
    if ((conditions[group] & 1) != 0) c3 |= bit;
  }
  return {static_cast<std::uint8_t>(((~c2 & 0x0F) << 4) | (~c1 & 0x0F)),
          static_cast<std::uint8_t>((c1 << 4) | (~c3 & 0x0F)),
          static_cast<std::uint8_t>((c3 << 4) | c2)};
}

DataBlockAccess DataBlockAccessFor(std::uint8_t condition) {
  return kDataBlockTable[condition & 7];
}

TrailerAccess TrailerAccessFor(std::uint8_t condition) {
  return kTrailerTable[condition & 7];
}

bool KeyBIsReadable(std::uint8_t trailerCondition) {
  return Allows(TrailerAccessFor(trailerCondition).readKeyB, KeySlot::A);
}

}  // namespace lumivex::sim
