#include "ui/win32/dialog_template.h"

#include <cstddef>

namespace lumivex::ui::win32 {

namespace {

// Offset of DLGTEMPLATE::cdit, the item count, in words.
constexpr std::size_t kCountWord = 4;

}  // namespace

DialogTemplate::DialogTemplate(const std::wstring& title, DWORD style, const std::wstring& fontFace,
                               WORD pointSize) {
  AddDword(style | DS_SETFONT);
  AddDword(0);                             // extended style
  AddWord(0);                              // item count, counted by AddControl
  for (int i = 0; i < 4; ++i) AddWord(0);  // x, y, cx, cy
  AddWord(0);                              // no menu
  AddWord(0);                              // the dialog class
  AddText(title);
  AddWord(pointSize);
  AddText(fontFace);
}

void DialogTemplate::AddControl(WORD id, ControlClass type, const std::wstring& text, DWORD style,
                                DWORD extendedStyle) {
  AlignToDword();
  AddDword(style | WS_CHILD | WS_VISIBLE);
  AddDword(extendedStyle);
  for (int i = 0; i < 4; ++i) AddWord(0);  // x, y, cx, cy
  AddWord(id);
  AddWord(0xFFFF);  // a predefined class by its atom
  AddWord(static_cast<WORD>(type));
  AddText(text);
  AddWord(0);  // no creation data
  ++words_[kCountWord];
}

const DLGTEMPLATE* DialogTemplate::get() const {
  return reinterpret_cast<const DLGTEMPLATE*>(words_.data());
}

void DialogTemplate::AddDword(DWORD value) {
  AddWord(LOWORD(value));
  AddWord(HIWORD(value));
}

void DialogTemplate::AddText(const std::wstring& text) {
  for (const wchar_t c : text) AddWord(static_cast<WORD>(c));
  AddWord(0);
}

void DialogTemplate::AlignToDword() {
  if (words_.size() % 2 != 0) AddWord(0);
}

}  // namespace lumivex::ui::win32
