// What the driver checks on each dialog it meets: the controls the dialog is described with
// (class, style, caption, tab order) and a layout a person can read (every control inside the
// dialog, none over another, every caption, entry and line at full length, the whole title).
#pragma once

#include <windows.h>

#include <string>

#include "tests/com/check.h"
#include "ui/dialog_texts.h"

namespace lumivex::wine {

void CheckConfigureDialog(Checks& check, HWND dialog, const ui::ConfigureCaptions& captions,
                          const std::string& name);

// On a test that ended with the success line.
void CheckTestDialog(Checks& check, HWND dialog, const ui::TestTexts& texts,
                     const std::string& okCaption, const std::string& name);

}  // namespace lumivex::wine
