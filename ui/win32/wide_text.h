// The dialogs' texts for the wide (UTF-16) window functions. The models hold UTF-8; reader names
// come from the ANSI reader list and are shown in the system's ANSI code page when they are not
// UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace lumivex::ui::win32 {

std::wstring Wide(std::string_view text);

}  // namespace lumivex::ui::win32
