// Numbers read from host texts the way automation hosts read them: the leading number of the text
// (blanks anywhere are skipped, then an optional sign, digits, a decimal point, an exponent), the
// rest ignored; a text without a number reads as 0.
#pragma once

#include <cstdint>
#include <string_view>

namespace lumivex {

double LeadingNumber(std::string_view text);

// The nearest 32-bit integer, halves to the even neighbour; values beyond the range are clamped.
std::int32_t RoundToInt32(double value);

}  // namespace lumivex
