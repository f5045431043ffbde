// The frame and font both dialogs share: a modal frame with a title bar and a close box, in the
// system's dialog font.
#pragma once

#include <windows.h>

namespace lumivex::ui::win32 {

constexpr DWORD kDialogStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
constexpr const wchar_t* kDialogFont = L"MS Shell Dlg";
constexpr WORD kDialogFontSize = 8;

}  // namespace lumivex::ui::win32
