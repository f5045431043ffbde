#include "component/utf8.h"

namespace lumivex {

namespace {

// Length of the well-formed UTF-8 sequence at text[i] and its character, or 0 when the bytes there
// do not form one (overlong forms, surrogates and codes above 10FFFF are not well-formed).
std::size_t SequenceAt(std::string_view text, std::size_t i, char32_t& c) {
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
    if (b0 == 0xED) high = 0x9F;
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

}  // namespace

std::vector<char32_t> DecodeUtf8(std::string_view text) {
  std::vector<char32_t> out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    char32_t c = 0;
    const std::size_t length = SequenceAt(text, i, c);
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
  const auto unit = [&](char32_t u) {
    out.push_back(static_cast<std::uint8_t>(u & 0xFF));
    out.push_back(static_cast<std::uint8_t>(u >> 8));
  };
  for (const char32_t c : DecodeUtf8(text)) {
    if (c < 0x10000) {
      unit(c);
    } else {
      unit(0xD800 + ((c - 0x10000) >> 10));
      unit(0xDC00 + ((c - 0x10000) & 0x3FF));
    }
  }
  return out;
}

std::string Utf16LeToUtf8(const std::vector<std::uint8_t>& bytes) {
  std::string out;
  out.reserve(bytes.size() / 2);
  const auto unitAt = [&](std::size_t i) -> char32_t {
    return i + 1 < bytes.size() ? static_cast<char32_t>(bytes[i] | (bytes[i + 1] << 8))
                                : static_cast<char32_t>(bytes[i]);
  };
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    char32_t c = unitAt(i);
    if (c >= 0xD800 && c <= 0xDBFF && i + 3 < bytes.size()) {
      const char32_t next = unitAt(i + 2);
      if (next >= 0xDC00 && next <= 0xDFFF) {
        c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
        i += 2;
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
