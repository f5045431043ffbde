// CRC_A of ISO/IEC 14443-3 (polynomial x^16 + x^12 + x^5 + 1 processed reflected, initial value
// 0x6363, no final XOR): the checksum DESFire appends, low byte first, behind enciphered data.
#pragma once

#include <cstdint>
#include <span>

namespace lumivex::crypto {

std::uint16_t Crc16A(std::span<const std::uint8_t> data);

}  // namespace lumivex::crypto
