// An in-memory dialog template (DLGTEMPLATE followed by its items), so the dialogs need no
// resource script: the title, the font and every control with its identifier, class, text and
// style. The order of AddControl is the tab order. Positions and sizes are left at zero: the
// views lay the dialog out in pixels once its font is known.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace lumivex::ui::win32 {

// Predefined window classes of a template item.
enum class ControlClass : WORD {
  Button = 0x0080,
  Edit = 0x0081,
  Static = 0x0082,
  ComboBox = 0x0085,
};

class DialogTemplate {
 public:
  // style gets DS_SETFONT added; the font is given by face name and point size.
  DialogTemplate(const std::wstring& title, DWORD style, const std::wstring& fontFace,
                 WORD pointSize);

  void AddControl(WORD id, ControlClass type, const std::wstring& text, DWORD style,
                  DWORD extendedStyle = 0);

  // The template, valid until the next AddControl.
  [[nodiscard]] const DLGTEMPLATE* get() const;

 private:
  void AddWord(WORD value) { words_.push_back(value); }
  void AddDword(DWORD value);
  void AddText(const std::wstring& text);
  void AlignToDword();

  std::vector<WORD> words_;  // vector storage is aligned for DWORDs, which the items need
};

}  // namespace lumivex::ui::win32
