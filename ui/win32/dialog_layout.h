// Laying a dialog out in pixels: dialog units and text extents in the dialog's own font, the
// width a title needs, and the placement of the finished dialog over its owner.
#pragma once

#include <windows.h>

#include <string>

#include "ui/win32/gdi_handles.h"

namespace lumivex::ui::win32 {

class DialogMeasure {
 public:
  explicit DialogMeasure(HWND dialog);

  // Dialog units in pixels.
  [[nodiscard]] int X(int units) const;
  [[nodiscard]] int Y(int units) const;
  // The width of a caption as a label or a button draws it: "&" marks an accelerator.
  [[nodiscard]] int CaptionWidth(const std::wstring& caption) const;
  // The width of a text drawn as it stands (list entries, log lines).
  [[nodiscard]] int TextWidth(const std::wstring& text) const;
  // The height of one line of text.
  [[nodiscard]] int LineHeight() const { return lineHeight_; }

 private:
  [[nodiscard]] int Width(const std::wstring& text, UINT format) const;

  HWND dialog_;
  WindowDc dc_;
  SelectedFont font_;
  int lineHeight_ = 0;
};

// The host's window that owns the dialogs: this thread's active window, else the foreground
// window when this thread owns it, else none.
HWND HostOwner();

// The client width at which a dialog's title bar shows the whole title.
int TitleClientWidth(const std::wstring& title);

// The width of the work area of the monitor that shows the window.
int WorkAreaWidth(HWND window);

void PlaceControl(HWND dialog, int id, int x, int y, int width, int height);

// Gives the dialog the client size and centres it over its owner (over the work area when it has
// none, or the owner is hidden or minimised), inside the work area.
void SizeAndCenter(HWND dialog, int clientWidth, int clientHeight);

}  // namespace lumivex::ui::win32
