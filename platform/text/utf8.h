// UTF-8 helpers for the core's texts. A byte that does not start a well-formed UTF-8 sequence
// counts as the character whose code is the byte's value (so Latin-1 bytes read as Latin-1).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lumivex {

// The characters (code points) of a text.
std::vector<char32_t> DecodeUtf8(std::string_view text);
// Appends the UTF-8 form of one character.
void AppendUtf8(std::string& out, char32_t c);
// UTF-16 little-endian bytes of a text (characters above FFFF as surrogate pairs).
std::vector<std::uint8_t> Utf8ToUtf16Le(std::string_view text);
// The UTF-8 text of UTF-16 little-endian bytes (an odd last byte counts as a unit of its own;
// a lone surrogate keeps its code).
std::string Utf16LeToUtf8(const std::vector<std::uint8_t>& bytes);
// UTF-16 texts as they cross to and from hosts that speak it (automation strings, window texts).
// Any UTF-16 text survives the round trip to UTF-8 and back, a lone surrogate included: it is
// written as the three bytes of its code, which Utf8ToUtf16 reads back as that code.
std::u16string Utf8ToUtf16(std::string_view text);
std::string Utf16ToUtf8(std::u16string_view text);
// Upper-cases a-z and the Latin-1 letters, leaves every other character as it is.
std::string FoldCase(std::string_view text);

}  // namespace lumivex
