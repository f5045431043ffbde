#include "ui/win32/dialog_layout.h"

#include <algorithm>

namespace lumivex::ui::win32 {

namespace {

HFONT DialogFont(HWND dialog) {
  // The window system answers with the handle as an integer.
  return reinterpret_cast<HFONT>(  // NOLINT(performance-no-int-to-ptr)
      SendMessageW(dialog, WM_GETFONT, 0, 0));
}

RECT WorkArea(HWND window) {
  MONITORINFO info{};
  info.cbSize = sizeof(info);
  if (GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTOPRIMARY), &info) == FALSE) {
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &info.rcWork, 0);
  }
  return info.rcWork;
}

}  // namespace

DialogMeasure::DialogMeasure(HWND dialog)
    : dialog_(dialog), dc_(dialog), font_(dc_.get(), DialogFont(dialog)) {
  TEXTMETRICW metrics{};
  if (dc_.get() != nullptr && GetTextMetricsW(dc_.get(), &metrics) != FALSE) {
    lineHeight_ = metrics.tmHeight;
  }
}

int DialogMeasure::X(int units) const {
  RECT r{0, 0, units, 0};
  MapDialogRect(dialog_, &r);
  return r.right;
}

int DialogMeasure::Y(int units) const {
  RECT r{0, 0, 0, units};
  MapDialogRect(dialog_, &r);
  return r.bottom;
}

int DialogMeasure::CaptionWidth(const std::wstring& caption) const {
  return Width(caption, DT_SINGLELINE);
}

int DialogMeasure::TextWidth(const std::wstring& text) const {
  return Width(text, DT_SINGLELINE | DT_NOPREFIX);
}

int DialogMeasure::Width(const std::wstring& text, UINT format) const {
  if (text.empty() || dc_.get() == nullptr) return 0;
  RECT r{0, 0, 0, 0};
  DrawTextW(dc_.get(), text.c_str(), static_cast<int>(text.size()), &r, format | DT_CALCRECT);
  return r.right - r.left;
}

HWND HostOwner() {
  HWND owner = GetActiveWindow();
  if (owner == nullptr) {
    HWND foreground = GetForegroundWindow();
    if (foreground != nullptr &&
        GetWindowThreadProcessId(foreground, nullptr) == GetCurrentThreadId()) {
      owner = foreground;
    }
  }
  return owner;
}

int TitleClientWidth(const std::wstring& title) {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof(metrics);
  if (SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0) == FALSE) {
    return 0;
  }
  const OwnedFont font(CreateFontIndirectW(&metrics.lfCaptionFont));
  const WindowDc dc(nullptr);
  if (font.get() == nullptr || dc.get() == nullptr) return 0;
  const SelectedFont selected(dc.get(), font.get());
  SIZE extent{};
  GetTextExtentPoint32W(dc.get(), title.c_str(), static_cast<int>(title.size()), &extent);
  // Room for the close button and the spaces around the title.
  return extent.cx + 2 * metrics.iCaptionWidth + metrics.iCaptionHeight;
}

int WorkAreaWidth(HWND window) {
  const RECT area = WorkArea(window);
  return area.right - area.left;
}

void PlaceControl(HWND dialog, int id, int x, int y, int width, int height) {
  SetWindowPos(GetDlgItem(dialog, id), nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

void SizeAndCenter(HWND dialog, int clientWidth, int clientHeight) {
  RECT frame{0, 0, clientWidth, clientHeight};
  AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongPtrW(dialog, GWL_STYLE)), FALSE,
                     static_cast<DWORD>(GetWindowLongPtrW(dialog, GWL_EXSTYLE)));
  const int width = frame.right - frame.left;
  const int height = frame.bottom - frame.top;
  const RECT area = WorkArea(dialog);
  RECT around = area;
  HWND owner = GetWindow(dialog, GW_OWNER);
  if (owner != nullptr && IsWindowVisible(owner) != FALSE && IsIconic(owner) == FALSE) {
    GetWindowRect(owner, &around);
  }
  LONG x = around.left + ((around.right - around.left) - width) / 2;
  LONG y = around.top + ((around.bottom - around.top) - height) / 2;
  x = std::max(area.left, std::min(x, area.right - width));
  y = std::max(area.top, std::min(y, area.bottom - height));
  SetWindowPos(dialog, nullptr, static_cast<int>(x), static_cast<int>(y), width, height,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace lumivex::ui::win32
