#include <array>

#include "crypto/des.h"
#include "crypto/des_cipher.h"
#include "crypto/hex_codec.h"

namespace lumivex::crypto {
namespace {

// One table entry per byte value: the register change of eight reflected steps of 0x8408.
constexpr std::array<std::uint16_t, 256> MakeCrcTable() {
  std::array<std::uint16_t, 256> table{};
  for (unsigned v = 0; v < 256; ++v) {
    unsigned crc = v;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1U) ? (crc >> 1) ^ 0x8408U : crc >> 1;
    table[v] = static_cast<std::uint16_t>(crc);
  }
  return table;
}

constexpr std::array<std::uint16_t, 256> kCrcTable = MakeCrcTable();

}  // namespace

std::uint16_t Crc16A(std::span<const std::uint8_t> data) {
  unsigned crc = 0x6363;
  for (const std::uint8_t b : data) crc = (crc >> 8) ^ kCrcTable[(crc ^ b) & 0xFFU];
  return static_cast<std::uint16_t>(crc);
}

// The CRC of hex text, "LL HH" (low byte first, the order DESFire appends it in). A text that does
// not convert is swallowed: the CRC is then the one of no data.
std::string DES::CRC16(const std::string& data) {
  std::vector<std::uint8_t> bytes;
  try {
    bytes = ParseHex(data, Separators::kSkipped);
  } catch (const DesError&) {
    bytes.clear();
  }
  const std::uint16_t crc = Crc16A(bytes);
  const std::array<std::uint8_t, 2> lowFirst = {static_cast<std::uint8_t>(crc & 0xFF),
                                                static_cast<std::uint8_t>(crc >> 8)};
  return FormatHex(lowFirst, true);
}

}  // namespace lumivex::crypto
