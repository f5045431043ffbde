#include "platform/text/one_byte_code_page.h"

#include "platform/text/utf8.h"

namespace lumivex {

std::string OneByteCodePage::ToText(std::span<const std::uint8_t> bytes) const {
  std::string text;
  text.reserve(bytes.size());
  for (const std::uint8_t byte : bytes) AppendUtf8(text, Character(byte));
  return text;
}

std::optional<std::vector<std::uint8_t>> OneByteCodePage::ToBytes(std::string_view text,
                                                                  char32_t* unmappable) const {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size());
  for (const char32_t character : DecodeUtf8(text)) {
    const auto byte = Byte(character);
    if (!byte) {
      if (unmappable != nullptr) *unmappable = character;
      return std::nullopt;
    }
    bytes.push_back(*byte);
  }
  return bytes;
}

}  // namespace lumivex
