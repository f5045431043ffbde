// Owners of the GDI handles the views measure text with: a window's device context, a font the
// view created, and a font selected into a device context for as long as the owner lives.
#pragma once

#include <windows.h>

namespace lumivex::ui::win32 {

class WindowDc {
 public:
  explicit WindowDc(HWND window) : window_(window), dc_(GetDC(window)) {}
  ~WindowDc() {
    if (dc_ != nullptr) ReleaseDC(window_, dc_);
  }
  WindowDc(const WindowDc&) = delete;
  WindowDc& operator=(const WindowDc&) = delete;
  WindowDc(WindowDc&&) = delete;
  WindowDc& operator=(WindowDc&&) = delete;
  [[nodiscard]] HDC get() const { return dc_; }

 private:
  HWND window_;
  HDC dc_;
};

class OwnedFont {
 public:
  explicit OwnedFont(HFONT font) : font_(font) {}
  ~OwnedFont() {
    if (font_ != nullptr) DeleteObject(font_);
  }
  OwnedFont(const OwnedFont&) = delete;
  OwnedFont& operator=(const OwnedFont&) = delete;
  OwnedFont(OwnedFont&&) = delete;
  OwnedFont& operator=(OwnedFont&&) = delete;
  [[nodiscard]] HFONT get() const { return font_; }

 private:
  HFONT font_;
};

class SelectedFont {
 public:
  SelectedFont(HDC dc, HFONT font)
      : dc_(dc), previous_(font != nullptr ? SelectObject(dc, font) : nullptr) {}
  ~SelectedFont() {
    if (previous_ != nullptr) SelectObject(dc_, previous_);
  }
  SelectedFont(const SelectedFont&) = delete;
  SelectedFont& operator=(const SelectedFont&) = delete;
  SelectedFont(SelectedFont&&) = delete;
  SelectedFont& operator=(SelectedFont&&) = delete;

 private:
  HDC dc_;
  HGDIOBJ previous_;
};

}  // namespace lumivex::ui::win32
