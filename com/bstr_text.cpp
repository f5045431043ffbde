#include "com/bstr_text.h"

#include <new>

namespace lumivex::com {

namespace {

void Append(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    // Surrogates that do not pair are written like any other unit of this range, so they survive.
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

bool IsContinuation(unsigned char c) {
  return (c & 0xC0) == 0x80;
}

// Reads one character at text[i]; a byte that starts no well-formed sequence counts as the
// character of its own value, as the component's texts read such bytes.
char32_t Next(std::string_view text, std::size_t& i) {
  const auto lead = static_cast<unsigned char>(text[i]);
  const std::size_t left = text.size() - i;
  const auto at = [&](std::size_t k) { return static_cast<unsigned char>(text[i + k]); };
  if (lead >= 0xC2 && lead <= 0xDF && left >= 2 && IsContinuation(at(1))) {
    const char32_t c = ((lead & 0x1FU) << 6) | (at(1) & 0x3FU);
    i += 2;
    return c;
  }
  if (lead >= 0xE0 && lead <= 0xEF && left >= 3 && IsContinuation(at(1)) && IsContinuation(at(2))) {
    const char32_t c = ((lead & 0x0FU) << 12) | ((at(1) & 0x3FU) << 6) | (at(2) & 0x3FU);
    if (c >= 0x800) {
      i += 3;
      return c;
    }
  }
  if (lead >= 0xF0 && lead <= 0xF4 && left >= 4 && IsContinuation(at(1)) && IsContinuation(at(2)) &&
      IsContinuation(at(3))) {
    const char32_t c =
        ((lead & 0x07U) << 18) | ((at(1) & 0x3FU) << 12) | ((at(2) & 0x3FU) << 6) | (at(3) & 0x3FU);
    if (c >= 0x10000 && c <= 0x10FFFF) {
      i += 4;
      return c;
    }
  }
  ++i;
  return lead;
}

}  // namespace

std::string TextFromBstr(const wchar_t* text, std::size_t length) {
  std::string out;
  out.reserve(length);
  for (std::size_t i = 0; i < length; ++i) {
    const char32_t unit = static_cast<char16_t>(text[i]);
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < length) {
      const char32_t low = static_cast<char16_t>(text[i + 1]);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        Append(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
        ++i;
        continue;
      }
    }
    Append(out, unit);
  }
  return out;
}

std::string TextFromBstr(BSTR text) {
  return text == nullptr ? std::string() : TextFromBstr(text, SysStringLen(text));
}

std::wstring WideFromText(std::string_view text) {
  std::wstring out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const char32_t c = Next(text, i);
    if (c >= 0x10000) {
      out += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
      out += static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      out += static_cast<wchar_t>(c);
    }
  }
  return out;
}

UniqueBstr MakeBstr(std::string_view text) {
  const std::wstring wide = WideFromText(text);
  UniqueBstr bstr(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
  if (!bstr) throw std::bad_alloc();
  return bstr;
}

}  // namespace lumivex::com
