// The code-page seam bound to the system's ANSI code page (the code page of the host's own 8-bit
// strings), through MultiByteToWideChar and WideCharToMultiByte. When the ANSI code page is UTF-8
// (which has no one-byte form beyond ASCII), Windows-1252 stands in for it.
#pragma once

#include <array>

#include "platform/code_page.h"

namespace lumivex {

class AnsiCodePage : public CodePage {
 public:
  AnsiCodePage();

  [[nodiscard]] std::string ToText(std::span<const std::uint8_t> bytes) const override;
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> ToBytes(
      std::string_view text, char32_t* unmappable = nullptr) const override;

 private:
  unsigned codePage_ = 0;
  std::array<char32_t, 256> characters_{};  // the character of each byte
};

}  // namespace lumivex
