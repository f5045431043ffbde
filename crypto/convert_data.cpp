// DES::ConvertData: byte data between its seven forms (DataForm): spaced and compact hex text, an
// array of bits, spaced and compact bit text, an array of bytes, plain text (one character a byte,
// in the code page). The mode holds the target form in its low byte and the source form in its
// second byte (ConvertMode).
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
Bytes ParseBitText(std::string_view text, Separators separators) {
  Bytes bits;
  bits.reserve(text.size());
  for (const char ch : text) {
    if (ch == '0' || ch == '1') {
      bits.push_back(static_cast<std::uint8_t>(ch - '0'));
    } else if (separators == Separators::kRefused || !IsSeparator(ch)) {
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

// A form number of a conversion mode, or "Bad parameter type" when it names none.
DataForm FormOf(int number) {
  if (number > static_cast<int>(DataForm::kPlainText)) RaiseDesError(kDesBadParameterType);
  return static_cast<DataForm>(number);
}

// Steps 1 to 3: the data's kind against the source form, then the bytes it stands for.
Bytes SourceBytes(const ConvertValue& data, int sourceNumber, const CodePage* codePage) {
  const DataForm source = FormOf(sourceNumber);
  const auto* array = std::get_if<Bytes>(&data);
  const bool isArraySource = source == DataForm::kBitArray || source == DataForm::kByteArray;
  if (isArraySource != (array != nullptr)) RaiseDesError(kDesBadParameterType);
  const std::string_view text = TextOf(data) ? std::string_view(*TextOf(data)) : std::string_view();
  switch (source) {
    case DataForm::kSpacedHex:
      return ParseHex(text, Separators::kSkipped);
    case DataForm::kCompactHex:
      return ParseHex(text, Separators::kRefused);
    case DataForm::kBitArray:
      for (const std::uint8_t bit : *array) {
        if (bit > 1) RaiseDesError(kDesBadParameterType);
      }
      return PackBits(*array);
    case DataForm::kSpacedBits:
      return ParseBitText(text, Separators::kSkipped);
    case DataForm::kCompactBits:
      return ParseBitText(text, Separators::kRefused);
    case DataForm::kByteArray:
      return *array;
    case DataForm::kPlainText:
      break;
  }
  return PlainTextBytes(text, codePage);
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

ConvertValue TargetForm(Bytes bytes, DataForm target, const CodePage* codePage) {
  switch (target) {
    case DataForm::kSpacedHex:
      return FormatHex(bytes, true);
    case DataForm::kCompactHex:
      return FormatHex(bytes, false);
    case DataForm::kBitArray: {
      Bytes bits;
      bits.reserve(bytes.size() * 8);
      for (const std::uint8_t b : bytes) {
        for (int bit = 7; bit >= 0; --bit)
          bits.push_back(static_cast<std::uint8_t>((b >> bit) & 1));
      }
      return bits;
    }
    case DataForm::kSpacedBits:
      return FormatBits(bytes, true);
    case DataForm::kCompactBits:
      return FormatBits(bytes, false);
    case DataForm::kByteArray:
      return bytes;
    case DataForm::kPlainText:
      break;
  }
  if (codePage == nullptr) RaiseDesError(kDesBadParameterType);
  return codePage->ToText(bytes);
}

}  // namespace

ConvertValue DES::ConvertData(const ConvertValue& data, std::int32_t mode) {
  // The mode is a 16-bit value; anything wider names no form.
  if (mode < 0 || mode > 0xFFFF) RaiseDesError(kDesBadParameterType);
  const int target = mode & 0xFF;
  const int source = (mode & 0xFF00) >> 8;
  Bytes bytes = SourceBytes(data, source, codePage_.get());
  const DataForm targetForm = FormOf(target);
  if (bytes.empty()) return std::monostate{};
  return TargetForm(std::move(bytes), targetForm, codePage_.get());
}

}  // namespace lumivex::crypto
