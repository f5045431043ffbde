// Hexadecimal text helpers used by every part of the component.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace lumivex {

// Normalises text in place (upper-cased, trimmed, every blank removed); true when every character
// is a hexadecimal digit and, unless expectedLength is -1, the length is expectedLength.
bool IsHexString(std::string& text, std::int32_t expectedLength = -1);

// Bytes first..last (1-based, last -1 = the end) as upper-case hexadecimal, one blank between
// bytes when spaced; the result is trimmed.
std::string BytesToHex(std::span<const std::uint8_t> bytes, std::int32_t first = 1,
                       std::int32_t last = -1, bool spaced = false);

// Two digits a byte. Characters that are not hexadecimal digits count as 0; an odd last digit is
// taken as the high nibble of a last byte.
std::vector<std::uint8_t> HexToBytes(const std::string& text);

// The trace form of received data: compact upper-case hexadecimal.
std::string ByteArrayToHex(std::span<const std::uint8_t> bytes);

}  // namespace lumivex
