// Words for PC/SC results and card status words.
#pragma once

#include <cstdint>
#include <string>

namespace lumivex {

// The English text of a PC/SC result; "Unexpected error 0x..." for codes without one.
std::string SCardErrorText(std::int32_t code);

// The text of a status word given as 4 hexadecimal digits, SW1 first (e.g. "91AE").
std::string StatusWordText(const std::string& code);

}  // namespace lumivex
