// Automation strings (BSTR, UTF-16) and the component's texts (UTF-8). The conversion keeps every
// character both ways, a lone surrogate and an embedded zero included: a text that goes in through
// the surface comes out unchanged.
#pragma once

#include <oaidl.h>

#include <memory>
#include <string>
#include <string_view>

namespace lumivex::com {

std::string TextFromBstr(const wchar_t* text, std::size_t length);
std::string TextFromBstr(BSTR text);  // null is the empty text
std::wstring WideFromText(std::string_view text);

struct BstrFree {
  void operator()(wchar_t* text) const { SysFreeString(text); }
};
using UniqueBstr = std::unique_ptr<wchar_t, BstrFree>;

// A new BSTR holding the text; throws std::bad_alloc when the system has no memory for it.
UniqueBstr MakeBstr(std::string_view text);

}  // namespace lumivex::com
