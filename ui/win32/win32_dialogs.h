// The dialogs seam bound to the Windows views: Configure shows frmConfigure as a modal dialog
// owned by the host's active window, and frmTest from its Test button.
#pragma once

#include <memory>

#include "platform/dialogs.h"

namespace lumivex::ui::win32 {

std::shared_ptr<Dialogs> MakeWin32Dialogs();

}  // namespace lumivex::ui::win32
