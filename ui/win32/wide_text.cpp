#include "ui/win32/wide_text.h"

#include <windows.h>

#include <limits>

namespace lumivex::ui::win32 {

namespace {

// The text in the given code page, or empty when it does not convert (flags as for
// MultiByteToWideChar).
std::wstring Convert(UINT codePage, DWORD flags, std::string_view text) {
  if (text.empty() || text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    return {};
  }
  const int length = static_cast<int>(text.size());
  const int wide = MultiByteToWideChar(codePage, flags, text.data(), length, nullptr, 0);
  if (wide <= 0) return {};
  std::wstring out(static_cast<std::size_t>(wide), L'\0');
  if (MultiByteToWideChar(codePage, flags, text.data(), length, out.data(), wide) != wide)
    return {};
  return out;
}

}  // namespace

std::wstring Wide(std::string_view text) {
  if (text.empty()) return {};
  std::wstring out = Convert(CP_UTF8, MB_ERR_INVALID_CHARS, text);
  if (out.empty()) out = Convert(CP_ACP, 0, text);
  return out;
}

}  // namespace lumivex::ui::win32
