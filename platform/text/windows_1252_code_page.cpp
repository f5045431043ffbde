#include "platform/text/windows_1252_code_page.h"

#include <array>

namespace lumivex {

namespace {

// Bytes 80..9F; every other byte is the character of its own value.
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80..87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88..8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90..97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98..9F
};

}  // namespace

char32_t Windows1252CodePage::CharacterOf(std::uint8_t byte) {
  return byte >= 0x80 && byte <= 0x9F ? kHighControls[byte - 0x80U] : char32_t{byte};
}

std::optional<std::uint8_t> Windows1252CodePage::ByteOf(char32_t character) {
  if (character < 0x80 || (character >= 0xA0 && character <= 0xFF)) {
    return static_cast<std::uint8_t>(character);
  }
  for (std::size_t i = 0; i < kHighControls.size(); ++i) {
    if (kHighControls[i] == character) return static_cast<std::uint8_t>(0x80 + i);
  }
  return std::nullopt;
}

char32_t Windows1252CodePage::Character(std::uint8_t byte) const {
  return CharacterOf(byte);
}

std::optional<std::uint8_t> Windows1252CodePage::Byte(char32_t character) const {
  return ByteOf(character);
}

}  // namespace lumivex
