// What every code page of one byte a character shares: texts and bytes convert character by
// character, through the character of each byte and the byte of each character that the code
// page itself gives.
#pragma once

#include "platform/code_page.h"

namespace lumivex {

class OneByteCodePage : public CodePage {
 public:
  [[nodiscard]] std::string ToText(std::span<const std::uint8_t> bytes) const final;
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> ToBytes(
      std::string_view text, char32_t* unmappable = nullptr) const final;

 protected:
  [[nodiscard]] virtual char32_t Character(std::uint8_t byte) const = 0;
  // nullopt: the character has no one-byte form.
  [[nodiscard]] virtual std::optional<std::uint8_t> Byte(char32_t character) const = 0;
};

}  // namespace lumivex
