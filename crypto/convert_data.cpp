// DES::ConvertData: byte data between its seven forms.
//   0 spaced hex text   1 compact hex text   2 array of bits   3 spaced bit text
//   4 compact bit text  5 array of bytes     6 plain text, one character a byte (the code page)
// The mode holds the target form in its low byte and the source form in its second byte.
#include <string_view>

#include "crypto/des.h"
#include "crypto/des_errors.h"
#include "crypto/hex_codec.h"
#include "platform/code_page.h"

namespace lumivex::crypto {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Bits (most significant first) to bytes. A count that is not a multiple of 8 is taken with
// zeros in front, as an odd hex digit count is taken with a "0" in front.
Bytes PackBits(const Bytes& bits) {
  Bytes bytes((bits.size() + 7) / 8);
  std::size_t position = (8 - bits.size() % 8) % 8;
  for (const std::uint8_t bit : bits) {
    if (bit) bytes[position / 8] |= static_cast<std::uint8_t>(0x80U >> (position % 8));
    ++position;
  }
  return bytes;
}

// Bit text: "0" and "1", with or without the separators of the spaced forms.
Bytes ParseBitText(std::string_view text, detail::Separators separators) {
  Bytes bits;
  bits.reserve(text.size());
  for (const char ch : text) {
    if (ch == '0' || ch == '1') {
      bits.push_back(static_cast<std::uint8_t>(ch - '0'));
    } else if (separators == detail::Separators::kRefused || !detail::IsSeparator(ch)) {
      RaiseDesError(kDesInvalidHexString);
    }
  }
  return PackBits(bits);
}

const std::string* TextOf(const ConvertValue& data) {
  return std::get_if<std::string>(&data);
}

// Plain text (UTF-8) to its bytes in the code page, one a character.
Bytes PlainTextBytes(std::string_view text, const CodePage* codePage) {
  if (codePage == nullptr) RaiseDesError(kDesBadParameterType);
  char32_t unmappable = 0;
  auto bytes = codePage->ToBytes(text, &unmappable);
  if (!bytes) RaiseNotInCodePage(unmappable);
  return std::move(*bytes);
}

// Steps 1 to 3: the data's kind against the source form, then the bytes it stands for.
Bytes SourceBytes(const ConvertValue& data, int source, const CodePage* codePage) {
  const auto* array = std::get_if<Bytes>(&data);
  const bool isArraySource = source == 2 || source == 5;
  if (source > 6 || isArraySource != (array != nullptr)) RaiseDesError(kDesBadParameterType);
  const std::string_view text = TextOf(data) ? std::string_view(*TextOf(data)) : std::string_view();
  switch (source) {
    case 0:
      return detail::ParseHex(text, detail::Separators::kSkipped);
    case 1:
      return detail::ParseHex(text, detail::Separators::kRefused);
    case 2:
      for (const std::uint8_t bit : *array) {
        if (bit > 1) RaiseDesError(kDesBadParameterType);
      }
      return PackBits(*array);
    case 3:
      return ParseBitText(text, detail::Separators::kSkipped);
    case 4:
      return ParseBitText(text, detail::Separators::kRefused);
    case 5:
      return *array;
    default:  // 6
      return PlainTextBytes(text, codePage);
  }
}

std::string FormatBits(const Bytes& bytes, bool spaced) {
  const std::size_t step = spaced ? 9 : 8;
  std::string text(bytes.size() * step - (spaced ? 1 : 0), ' ');
  char* out = text.data();
  for (const std::uint8_t b : bytes) {
    for (int bit = 0; bit < 8; ++bit) out[bit] = static_cast<char>('0' + ((b >> (7 - bit)) & 1));
    out += step;
  }
  return text;
}

ConvertValue TargetForm(Bytes bytes, int target, const CodePage* codePage) {
  switch (target) {
    case 0:
      return detail::FormatHex(bytes, true);
    case 1:
      return detail::FormatHex(bytes, false);
    case 2: {
      Bytes bits;
      bits.reserve(bytes.size() * 8);
      for (const std::uint8_t b : bytes) {
        for (int bit = 7; bit >= 0; --bit)
          bits.push_back(static_cast<std::uint8_t>((b >> bit) & 1));
      }
      return bits;
    }
    case 3:
      return FormatBits(bytes, true);
    case 4:
      return FormatBits(bytes, false);
    case 5:
      return bytes;
    default:  // 6
      if (codePage == nullptr) RaiseDesError(kDesBadParameterType);
      return codePage->ToText(bytes);
  }
}

}  // namespace

ConvertValue DES::ConvertData(const ConvertValue& data, std::int32_t mode) {
  // The mode is a 16-bit value; anything wider names no form.
  if (mode < 0 || mode > 0xFFFF) RaiseDesError(kDesBadParameterType);
  const int target = mode & 0xFF;
  const int source = (mode & 0xFF00) >> 8;
  Bytes bytes = SourceBytes(data, source, codePage_.get());
  if (target > 6) RaiseDesError(kDesBadParameterType);
  if (bytes.empty()) return std::monostate{};
  return TargetForm(std::move(bytes), target, codePage_.get());
}

}  // namespace lumivex::crypto
