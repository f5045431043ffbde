#include "platform/text/utf8.h"

namespace lumivex {

namespace {

// Length of the well-formed UTF-8 sequence at text[i] and its character, or 0 when the bytes there
// do not form one (overlong forms, surrogates and codes above 10FFFF are not well-formed; with
// withSurrogates the three-byte form of a surrogate code is read as that code).
std::size_t SequenceAt(std::string_view text, std::size_t i, char32_t& c,
                       bool withSurrogates = false) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[i + k]); };
  const unsigned char b0 = byte(0);
  std::size_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    length = 2;
    c = b0 & 0x1F;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    length = 3;
    c = b0 & 0x0F;
    if (b0 == 0xE0) low = 0xA0;
    if (b0 == 0xED && !withSurrogates) high = 0x9F;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    length = 4;
    c = b0 & 0x07;
    if (b0 == 0xF0) low = 0x90;
    if (b0 == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  for (std::size_t k = 1; k < length; ++k) {
    const unsigned char b = byte(k);
    if (b < (k == 1 ? low : 0x80) || b > (k == 1 ? high : 0xBF)) return 0;
    c = (c << 6) | (b & 0x3F);
  }
  return length;
}

std::vector<char32_t> Decode(std::string_view text, bool withSurrogates) {
  std::vector<char32_t> out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    char32_t c = 0;
    const std::size_t length = SequenceAt(text, i, c, withSurrogates);
    if (length == 0) {
      out.push_back(static_cast<unsigned char>(text[i]));
      ++i;
    } else {
      out.push_back(c);
      i += length;
    }
  }
  return out;
}

std::u16string Encode16(const std::vector<char32_t>& characters) {
  std::u16string out;
  out.reserve(characters.size());
  for (const char32_t c : characters) {
    if (c < 0x10000) {
      out.push_back(static_cast<char16_t>(c));
    } else {
      out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    }
  }
  return out;
}

}  // namespace

std::vector<char32_t> DecodeUtf8(std::string_view text) {
  return Decode(text, false);
}

void AppendUtf8(std::string& out, char32_t c) {
  const auto put = [&](unsigned v) { out.push_back(static_cast<char>(v)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6));
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | (c >> 18));
    put(0x80 | ((c >> 12) & 0x3F));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

std::vector<std::uint8_t> Utf8ToUtf16Le(std::string_view text) {
  std::vector<std::uint8_t> out;
  for (const char16_t unit : Encode16(DecodeUtf8(text))) {
    out.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    out.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  return out;
}

std::string Utf16LeToUtf8(const std::vector<std::uint8_t>& bytes) {
  std::u16string units;
  units.reserve((bytes.size() + 1) / 2);
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    units.push_back(i + 1 < bytes.size() ? static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8))
                                         : static_cast<char16_t>(bytes[i]));
  }
  return Utf16ToUtf8(units);
}

std::u16string Utf8ToUtf16(std::string_view text) {
  return Encode16(Decode(text, true));
}

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size()) {
      const char32_t next = text[i + 1];
      if (next >= 0xDC00 && next <= 0xDFFF) {
        c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
        ++i;
      }
    }
    AppendUtf8(out, c);
  }
  return out;
}

std::string FoldCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char32_t c : DecodeUtf8(text)) {
    if ((c >= U'a' && c <= U'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7)) c -= 0x20;
    AppendUtf8(out, c);
  }
  return out;
}

}  // namespace lumivex
