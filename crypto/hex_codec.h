// Hexadecimal text <-> bytes, the fast paths behind ConvertData's hex forms that the cipher and
// CRC16 use directly. Private to crypto/.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lumivex::crypto::detail {

// Which separators a text form tolerates between its digits.
enum class Separators { kRefused, kSkipped };

// True for the characters the spaced forms skip: blank, ",", tab, carriage return, line feed.
bool IsSeparator(char ch);

// Hex digits (either case) to bytes; with Separators::kSkipped the separators above are ignored.
// An odd digit count is taken with one "0" in front ("ABC" is 0A BC). Any other character raises
// "Invalid hexadecimal string".
std::vector<std::uint8_t> ParseHex(std::string_view text, Separators separators);

// Upper-case hex digits; spaced: one blank between bytes and none at either end.
std::string FormatHex(std::span<const std::uint8_t> bytes, bool spaced);
// The two upper-case digits of one byte, written at out[0] and out[1].
void WriteHexByte(std::uint8_t byte, char* out);

}  // namespace lumivex::crypto::detail
