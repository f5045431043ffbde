#include "com/bstr_text.h"

#include <new>

#include "platform/text/utf8.h"

namespace lumivex::com {

static_assert(sizeof(wchar_t) == sizeof(char16_t), "automation strings are UTF-16");

std::string TextFromBstr(const wchar_t* text, std::size_t length) {
  std::u16string units(length, u'\0');
  for (std::size_t i = 0; i < length; ++i) units[i] = static_cast<char16_t>(text[i]);
  return Utf16ToUtf8(units);
}

std::string TextFromBstr(BSTR text) {
  return text == nullptr ? std::string() : TextFromBstr(text, SysStringLen(text));
}

std::wstring WideFromText(std::string_view text) {
  const std::u16string units = Utf8ToUtf16(text);
  return {units.begin(), units.end()};
}

UniqueBstr MakeBstr(std::string_view text) {
  const std::wstring wide = WideFromText(text);
  UniqueBstr bstr(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
  if (!bstr) throw std::bad_alloc();
  return bstr;
}

}  // namespace lumivex::com
