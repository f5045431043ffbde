// The code-page seam bound to the system's ANSI code page (the code page of the host's own 8-bit
// strings), through MultiByteToWideChar and WideCharToMultiByte. When the ANSI code page is UTF-8
// (which has no one-byte form beyond ASCII), Windows-1252 stands in for it.
#pragma once

#include <array>

#include "platform/text/one_byte_code_page.h"

namespace lumivex {

class AnsiCodePage : public OneByteCodePage {
 public:
  AnsiCodePage();

 protected:
  [[nodiscard]] char32_t Character(std::uint8_t byte) const override;
  [[nodiscard]] std::optional<std::uint8_t> Byte(char32_t character) const override;

 private:
  unsigned codePage_ = 0;
  std::array<char32_t, 256> characters_{};  // the character of each byte
};

}  // namespace lumivex
