// What the dialog driver needs to see another process's dialogs as an operator does: find a
// dialog by its title, read control texts and list entries, the focus, and take a picture.
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace lumivex::wine {

// The visible dialog (class #32770) of the process with exactly this title, or null.
HWND FindDialog(DWORD process, const std::wstring& title);

std::wstring WindowText(HWND window);
std::wstring ClassOf(HWND window);
std::vector<std::wstring> ListEntries(HWND comboBox);
// The window that has the keyboard focus in the thread that owns the given window.
HWND FocusIn(HWND window);

// Polls the condition every 20 ms until it holds or the time is up; true when it held.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

// Writes what the screen shows of the window (its frame and title bar included) as a 24-bit BMP.
bool SaveWindowPicture(HWND window, const std::wstring& path);

// A control's rectangle in the client coordinates of its dialog.
RECT ClientRect(HWND control);

}  // namespace lumivex::wine
