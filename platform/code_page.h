// The code-page seam: plain text as bytes, one byte a character. The component's texts are UTF-8;
// where plain text meets bytes (data and records of a card, the registry's ANSI strings) it goes
// through the host's ANSI code page. Production binds the system's ANSI code page on Windows and
// Windows-1252 elsewhere; tests bind Windows-1252.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lumivex {

class CodePage {
 public:
  virtual ~CodePage() = default;

  // The UTF-8 text of bytes, one character a byte (every byte value has a character).
  [[nodiscard]] virtual std::string ToText(std::span<const std::uint8_t> bytes) const = 0;
  // The bytes of a UTF-8 text, one a character. nullopt when a character has no one-byte form;
  // *unmappable (when given) then receives the first such character. A byte of the text that
  // does not start a well-formed UTF-8 sequence counts as the character of the byte's value.
  [[nodiscard]] virtual std::optional<std::vector<std::uint8_t>> ToBytes(
      std::string_view text, char32_t* unmappable = nullptr) const = 0;
};

}  // namespace lumivex
