#include "tests/com/dialog_checks.h"

#include <algorithm>
#include <cwctype>
#include <vector>

#include "tests/com/window_probe.h"
#include "ui/win32/control_ids.h"
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

bool SameClass(const std::wstring& a, const std::wstring& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](wchar_t x, wchar_t y) { return std::towlower(x) == std::towlower(y); });
}

// Text widths in the dialogs' font, or in the title bar's.
class TextMeter {
 public:
  explicit TextMeter(bool titleFont) {
    LOGFONTW face{};
    if (titleFont) {
      NONCLIENTMETRICSW metrics{};
      metrics.cbSize = sizeof(metrics);
      SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
      face = metrics.lfCaptionFont;
      closeBox_ = metrics.iCaptionWidth;
    } else {
      face.lfHeight = -MulDiv(8, GetDeviceCaps(dc_, LOGPIXELSY), 72);
      wcscpy_s(face.lfFaceName, L"MS Shell Dlg");
    }
    font_ = CreateFontIndirectW(&face);
    previous_ = SelectObject(dc_, font_);
  }
  ~TextMeter() {
    SelectObject(dc_, previous_);
    DeleteObject(font_);
    ReleaseDC(nullptr, dc_);
  }
  TextMeter(const TextMeter&) = delete;
  TextMeter& operator=(const TextMeter&) = delete;
  TextMeter(TextMeter&&) = delete;
  TextMeter& operator=(TextMeter&&) = delete;

  // prefix: "&" marks an accelerator.
  [[nodiscard]] int Width(const std::wstring& text, bool prefix = true) const {
    RECT r{0, 0, 0, 0};
    DrawTextW(dc_, text.c_str(), static_cast<int>(text.size()), &r,
              DT_CALCRECT | DT_SINGLELINE | (prefix ? 0 : DT_NOPREFIX));
    return r.right;
  }
  [[nodiscard]] int closeBox() const { return closeBox_; }

 private:
  HDC dc_ = GetDC(nullptr);
  HFONT font_ = nullptr;
  HGDIOBJ previous_ = nullptr;
  int closeBox_ = 0;
};

int WidthOf(const RECT& r) {
  return r.right - r.left;
}

void CheckControls(Checks& check, HWND dialog, const std::vector<Control>& controls,
                   const std::string& name) {
  RECT client{};
  GetClientRect(dialog, &client);
  const TextMeter meter(false);
  std::vector<RECT> placed;
  for (const Control& c : controls) {
    HWND control = GetDlgItem(dialog, c.id);
    const std::string what = name + "control " + std::to_string(c.id);
    if (!check.That(control != nullptr, what + " exists")) continue;
    check.That(SameClass(ClassOf(control), c.type) &&
                   (static_cast<DWORD>(GetWindowLongPtrW(control, GWL_STYLE)) & c.mask) == c.style,
               what + " is a " + std::string(c.type, c.type + wcslen(c.type)) + " of its style");
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
      const int frame = SameClass(c.type, L"Button") ? 6 : 0;
      check.That(meter.Width(caption) + frame <= WidthOf(r),
                 what + " is wide enough for \"" + *c.caption + "\"");
    }
  }
  const TextMeter title(true);
  RECT frame{};
  GetWindowRect(dialog, &frame);
  check.That(title.Width(WindowText(dialog), false) + title.closeBox() <= WidthOf(frame),
             name + "the title bar shows the whole title");
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
  const TextMeter meter(false);
  int widest = 0;
  for (const auto& entry : readerEntries) widest = std::max(widest, meter.Width(entry, false));
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
