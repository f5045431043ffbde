#include "tests/com/dialog_checks.h"

#include <algorithm>
#include <vector>

#include "tests/com/window_probe.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/dialog_style.h"
#include "ui/win32/wide_text.h"

namespace lumivex::wine {

namespace {

namespace ids = ui::win32;
using ui::win32::Wide;

struct Control {
  int id;
  const wchar_t* type;         // window class
  const std::string* caption;  // null: not checked
  DWORD mask;
  DWORD style;  // (style & mask) must equal this
};

// The font of both dialogs. A font handle belongs to its process: the dialogs' own cannot be
// borrowed for measuring.
LOGFONTW DialogFace() {
  LOGFONTW face{};
  HDC dc = GetDC(nullptr);
  face.lfHeight = -MulDiv(ui::win32::kDialogFontSize, GetDeviceCaps(dc, LOGPIXELSY), 72);
  ReleaseDC(nullptr, dc);
  wcscpy_s(face.lfFaceName, ui::win32::kDialogFont);
  return face;
}

// The width of a text on one line in a font, as DrawText lays it out ("&" marks an accelerator
// unless DT_NOPREFIX is among the flags).
int TextWidth(const LOGFONTW& face, const std::wstring& text, UINT flags = 0) {
  HDC dc = GetDC(nullptr);
  HFONT font = CreateFontIndirectW(&face);
  HGDIOBJ previous = SelectObject(dc, font);
  RECT r{0, 0, 0, 0};
  DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &r,
            DT_CALCRECT | DT_SINGLELINE | flags);
  SelectObject(dc, previous);
  DeleteObject(font);
  ReleaseDC(nullptr, dc);
  return r.right;
}

int WidthOf(const RECT& r) {
  return r.right - r.left;
}

void CheckControls(Checks& check, HWND dialog, const std::vector<Control>& controls,
                   const std::string& name) {
  RECT client{};
  GetClientRect(dialog, &client);
  std::vector<RECT> placed;
  for (const Control& c : controls) {
    HWND control = GetDlgItem(dialog, c.id);
    const std::string what = name + "control " + std::to_string(c.id);
    if (!check.That(
            control != nullptr && lstrcmpiW(ClassOf(control).c_str(), c.type) == 0 &&
                (static_cast<DWORD>(GetWindowLongPtrW(control, GWL_STYLE)) & c.mask) == c.style,
            what + " is a " + std::string(c.type, c.type + wcslen(c.type)) + " of its style")) {
      continue;
    }
    const RECT r = ClientRect(control);
    check.That(r.left >= 0 && r.top >= 0 && r.right <= client.right && r.bottom <= client.bottom,
               what + " lies inside the dialog");
    const bool apart = std::none_of(placed.begin(), placed.end(), [&](const RECT& other) {
      RECT overlap{};
      return IntersectRect(&overlap, &r, &other) != FALSE;
    });
    check.That(apart, what + " covers none of the controls before it");
    placed.push_back(r);
    if (c.caption != nullptr) {
      const std::wstring caption = Wide(*c.caption);
      check.That(WindowText(control) == caption, what + " shows \"" + *c.caption + "\"");
      // A button draws its caption inside its frame and focus rectangle.
      const int frame = lstrcmpiW(c.type, L"Button") == 0 ? 6 : 0;
      check.That(TextWidth(DialogFace(), caption) + frame <= WidthOf(r),
                 what + " is wide enough for \"" + *c.caption + "\"");
    }
  }
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof(metrics);
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
  RECT frame{};
  GetWindowRect(dialog, &frame);
  check.That(
      TextWidth(metrics.lfCaptionFont, WindowText(dialog), DT_NOPREFIX) + metrics.iCaptionWidth <=
          WidthOf(frame),
      name + "the title bar shows the whole title beside the close box");
}

}  // namespace

void CheckConfigureDialog(Checks& check, HWND dialog, const ui::ConfigureCaptions& captions,
                          const std::string& name) {
  const DWORD list = CBS_DROPDOWNLIST | WS_TABSTOP;
  const DWORD button = BS_TYPEMASK | WS_TABSTOP;
  CheckControls(
      check, dialog,
      {{ids::kLblDevice, L"Static", &captions.deviceLabel, SS_NOPREFIX, 0},
       {ids::kCboDevice, L"ComboBox", nullptr, list, list},
       {ids::kLblProtocol, L"Static", &captions.protocolLabel, SS_NOPREFIX, 0},
       {ids::kCboProtocol, L"ComboBox", nullptr, list, list},
       {ids::kCmdTest, L"Button", &captions.testButton, button, WS_TABSTOP},
       {ids::kCmdOK, L"Button", &captions.okButton, button, BS_DEFPUSHBUTTON | WS_TABSTOP},
       {ids::kCmdCancel, L"Button", &captions.cancelButton, button, WS_TABSTOP}},
      name);

  HWND readers = GetDlgItem(dialog, ids::kCboDevice);
  const auto readerEntries = ListEntries(readers);
  check.That(!readerEntries.empty() && readerEntries.front() == Wide(captions.unknownReader),
             name + "cboDevice starts with \"" + captions.unknownReader + "\"");
  check.That(ListEntries(GetDlgItem(dialog, ids::kCboProtocol)) ==
                 std::vector<std::wstring>{L"T=0", L"T=1"},
             name + "cboProtocol holds T=0 and T=1");
  // The closed list shows its longest entry whole beside the arrow button.
  int widest = 0;
  for (const auto& entry : readerEntries) {
    widest = std::max(widest, TextWidth(DialogFace(), entry, DT_NOPREFIX));
  }
  check.That(widest + GetSystemMetrics(SM_CXVSCROLL) <= WidthOf(ClientRect(readers)),
             name + "cboDevice is wide enough for its entries");

  // Tab goes round the controls that take the focus in this order.
  const std::vector<int> order{ids::kCboProtocol, ids::kCmdTest, ids::kCmdOK, ids::kCmdCancel,
                               ids::kCboDevice};
  std::vector<int> seen;
  HWND at = readers;
  for (std::size_t i = 0; i < order.size() && at != nullptr; ++i) {
    at = GetNextDlgTabItem(dialog, at, FALSE);
    seen.push_back(GetDlgCtrlID(at));
  }
  check.That(seen == order, name + "the tab order: reader, protocol, Test, OK, Cancel");
}

void CheckTestDialog(Checks& check, HWND dialog, const ui::TestTexts& texts,
                     const std::string& okCaption, const std::string& name) {
  const DWORD log = ES_MULTILINE | ES_READONLY | WS_VSCROLL;
  CheckControls(check, dialog,
                {{ids::kTxtLog, L"Edit", nullptr, log, log},
                 {ids::kCmdOK, L"Button", &okCaption, BS_TYPEMASK, BS_DEFPUSHBUTTON}},
                name);
  HWND edit = GetDlgItem(dialog, ids::kTxtLog);
  std::vector<std::wstring> lines;
  const std::wstring text = WindowText(edit);
  for (std::size_t start = 0;;) {
    const auto end = text.find(L"\r\n", start);
    lines.push_back(text.substr(start, end - start));
    if (end == std::wstring::npos) break;
    start = end + 2;
  }
  check.That(lines.front() == Wide(texts.starting), name + "txtLog starts with the first line");
  check.That(std::find(lines.begin(), lines.end(), Wide(texts.cardPresent)) != lines.end(),
             name + "txtLog tells the card is there");
  check.That(lines.back() == Wide(texts.success), name + "txtLog ends with the success line");
  // Every line of a test with a card fits the log's width: none is wrapped.
  check.That(SendMessageW(edit, EM_GETLINECOUNT, 0, 0) == static_cast<LRESULT>(lines.size()),
             name + "no line of txtLog is wrapped (" + std::to_string(lines.size()) + " lines)");
}

}  // namespace lumivex::wine
