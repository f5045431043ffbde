// Windows-1252 as a portable table: the plain-text code page of systems without an ANSI code page
// of their own, and of the tests. Its five unassigned bytes (81, 8D, 8F, 90, 9D) stand for the
// control characters of the same value, as Windows maps them, so every byte has a character and
// every byte read as text and written back is unchanged.
#pragma once

#include "platform/text/one_byte_code_page.h"

namespace lumivex {

class Windows1252CodePage : public OneByteCodePage {
 public:
  // The character of one byte, and the byte of one character (nullopt: none).
  static char32_t CharacterOf(std::uint8_t byte);
  static std::optional<std::uint8_t> ByteOf(char32_t character);

 protected:
  [[nodiscard]] char32_t Character(std::uint8_t byte) const override;
  [[nodiscard]] std::optional<std::uint8_t> Byte(char32_t character) const override;
};

}  // namespace lumivex
