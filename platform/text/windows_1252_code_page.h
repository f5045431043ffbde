// Windows-1252 as a portable table: the plain-text code page of systems without an ANSI code page
// of their own, and of the tests. Its five unassigned bytes (81, 8D, 8F, 90, 9D) stand for the
// control characters of the same value, as Windows maps them, so every byte has a character and
// every byte read as text and written back is unchanged.
#pragma once

#include "platform/code_page.h"

namespace lumivex {

class Windows1252CodePage : public CodePage {
 public:
  [[nodiscard]] std::string ToText(std::span<const std::uint8_t> bytes) const override;
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> ToBytes(
      std::string_view text, char32_t* unmappable = nullptr) const override;

  // The character of one byte, and the byte of one character (nullopt: none).
  static char32_t CharacterOf(std::uint8_t byte);
  static std::optional<std::uint8_t> ByteOf(char32_t character);
};

}  // namespace lumivex
