// The project's hexadecimal codec: text <-> bytes wherever hex text meets bytes (the cipher's text
// layer, ConvertData's hex forms, CRC16, the component's edges). Strict: a character that is
// neither a hex digit nor an allowed separator raises DesError 0xA0010003 "Invalid hexadecimal
// string".
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "crypto/des_errors.h"

namespace lumivex::crypto {

// Which separators a text tolerates between its digits.
enum class Separators { kRefused, kSkipped };

// True for the characters the spaced forms skip: blank, ",", tab, carriage return, line feed.
bool IsSeparator(char ch);

// Hex digits (either case) to bytes; with Separators::kSkipped the separators above are ignored.
// An odd digit count is taken with one "0" in front ("ABC" is 0A BC). Any other character raises
// "Invalid hexadecimal string".
std::vector<std::uint8_t> ParseHex(std::string_view text,
                                   Separators separators = Separators::kRefused);

// Upper-case hex digits; spaced: one blank between bytes and none at either end.
std::string FormatHex(std::span<const std::uint8_t> bytes, bool spaced);

}  // namespace lumivex::crypto
