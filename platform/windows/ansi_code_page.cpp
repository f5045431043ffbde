#include "platform/windows/ansi_code_page.h"

#include <windows.h>

#include "platform/text/windows_1252_code_page.h"

namespace lumivex {

namespace {

constexpr unsigned kUtf8CodePage = 65001;
constexpr unsigned kWindows1252 = 1252;

}  // namespace

AnsiCodePage::AnsiCodePage() : codePage_(GetACP()) {
  if (codePage_ == kUtf8CodePage) codePage_ = kWindows1252;
  for (unsigned byte = 0; byte < characters_.size(); ++byte) {
    const char in = static_cast<char>(byte);
    wchar_t out = 0;
    // One byte at a time: plain text is one character a byte, even in a double-byte code page
    // (whose lead bytes then read as what Windows gives for them alone).
    if (MultiByteToWideChar(codePage_, 0, &in, 1, &out, 1) == 1) {
      characters_[byte] = static_cast<char32_t>(out);
    } else {
      characters_[byte] = Windows1252CodePage::CharacterOf(static_cast<std::uint8_t>(byte));
    }
  }
}

char32_t AnsiCodePage::Character(std::uint8_t byte) const {
  return characters_[byte];
}

std::optional<std::uint8_t> AnsiCodePage::Byte(char32_t character) const {
  if (character > 0xFFFF) return std::nullopt;  // a character beyond FFFF never has a one-byte form
  std::array<char, 4> out{};
  BOOL usedDefault = FALSE;
  const auto unit = static_cast<wchar_t>(character);
  const int written = WideCharToMultiByte(codePage_, WC_NO_BEST_FIT_CHARS, &unit, 1, out.data(),
                                          static_cast<int>(out.size()), nullptr, &usedDefault);
  const auto byte = static_cast<std::uint8_t>(out[0]);
  // Exactly one byte, no default character, and that byte reads back as this character.
  if (written != 1 || usedDefault != FALSE || characters_[byte] != character) return std::nullopt;
  return byte;
}

}  // namespace lumivex
