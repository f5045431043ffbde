// The access conditions of a MIFARE Classic sector: the three access bytes of the sector trailer
// (each bit C1 C2 C3 of each block group once plain, once inverted) and what each three-bit
// condition lets key A and key B do, as the card's data sheet tables define them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace lumivex::sim {

enum class KeySlot : std::uint8_t { A, B };

// Who may do something: nobody, key A, key B, or either.
enum class Who : std::uint8_t { Never = 0, KeyA = 1, KeyB = 2, Either = 3 };

constexpr bool Allows(Who who, KeySlot slot) {
  return (static_cast<std::uint8_t>(who) & (slot == KeySlot::A ? 1 : 2)) != 0;
}

// A condition is the value 4 x C1 + 2 x C2 + C3 (0..7), for the groups 0, 1, 2 (data blocks) and
// 3 (the trailer) of a sector.
using Conditions = std::array<std::uint8_t, 4>;

// The conditions carried by trailer bytes 6, 7 and 8; none when an inverted copy does not match
// its plain bit (a card treats such a sector as blocked).
std::optional<Conditions> DecodeAccessBytes(std::span<const std::uint8_t, 3> bytes);
// The three access bytes that carry these conditions.
std::array<std::uint8_t, 3> EncodeAccessBytes(const Conditions& conditions);

struct DataBlockAccess {
  Who read;
  Who write;
  Who increment;
  Who decrement;  // decrement, transfer and restore
};

struct TrailerAccess {
  Who readKeyA;
  Who writeKeyA;
  Who readAccessBits;  // the access bytes and the general purpose byte 9
  Who writeAccessBits;
  Who readKeyB;
  Who writeKeyB;
};

DataBlockAccess DataBlockAccessFor(std::uint8_t condition);
TrailerAccess TrailerAccessFor(std::uint8_t condition);
// Where key B can be read it is data, not a key: it authenticates, but the card then refuses
// every access made with it.
bool KeyBIsReadable(std::uint8_t trailerCondition);

}  // namespace lumivex::sim
