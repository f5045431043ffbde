// The operator at the configuration dialog:
//
//   dialog_driver.exe SHOTS CLIENT...
//
// starts the client (tests/com/vbs/configure.vbs, which calls Configure on the registered DLL),
// answers the dialogs it shows with the keys and clicks a person would produce, checks what each
// dialog shows, and saves pictures of both dialogs in each language as BMP files in the folder
// SHOTS. The client's output comes through; the summary line is the driver's own.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "tests/com/check.h"
#include "tests/com/window_probe.h"
#include "ui/dialog_choices.h"
#include "ui/dialog_texts.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/dialog_style.h"
#include "ui/win32/wide_text.h"

namespace lumivex::wine {

namespace {

namespace ids = ui::win32;
using ui::ConfigureCaptions;
using ui::TestTexts;
using ui::win32::Wide;
using namespace std::chrono_literals;

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

// What the driver checks on each dialog it meets: the controls the dialog is described with
// (class, style, caption, tab order) and a layout a person can read (every control inside the
// dialog, none over another, every caption, entry and line at full length, the whole title).
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

// On a test that ended with the success line.
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

constexpr const char* kReader = "Lumivex Simulator 0";

enum class Close { OkButton, Enter, Escape, CloseBox };

// One Configure call of the client, in the order of tests/com/vbs/configure.vbs, and how the
// operator answers it.
struct Step {
  const char* language;    // as the client passes it
  const char* pictures;    // suffix of the two pictures' names; null: no pictures, no layout checks
  bool readerPreselected;  // else the unknown entry is selected and the operator picks the reader
  LRESULT protocolBefore;  // the protocol entry selected when the dialog opens
  LRESULT protocolChosen;  // the entry the operator then picks with the keyboard (-1: none)
  bool runTest;
  Close closeTest;
  Close closeConfigure;
};

constexpr Step kSteps[] = {
    {"English", "english", false, 0, 1, true, Close::Enter, Close::OkButton},
    {"francais", "francais", true, 1, 0, true, Close::OkButton, Close::Escape},
    {"", nullptr, true, 1, -1, false, Close::Enter, Close::Enter},
    {"FRANCAIS", nullptr, true, 1, -1, false, Close::Enter, Close::CloseBox},
};

// The letter after "&" in a caption, as the keyboard sends it with Alt.
wchar_t AcceleratorOf(const std::string& caption) {
  const auto at = caption.find('&');
  return at + 1 < caption.size() ? static_cast<wchar_t>(std::tolower(caption[at + 1])) : L'\0';
}

// A key as the dialog's thread receives it from the keyboard: posted to the window that has
// the focus (to the dialog when none of its windows has it).
void PressKey(HWND dialog, UINT message, WPARAM key) {
  HWND target = FocusIn(dialog);
  if (target == nullptr || (target != dialog && IsChild(dialog, target) == FALSE)) target = dialog;
  constexpr LPARAM kAltDown = 1 << 29;
  PostMessageW(target, message, key, message == WM_SYSCHAR ? kAltDown | 1 : 1);
}

LRESULT EntryOf(HWND list, const std::wstring& text) {
  return SendMessageW(list, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                      reinterpret_cast<LPARAM>(text.c_str()));
}

void CloseWith(HWND dialog, Close how) {
  if (how == Close::OkButton) PostMessageW(GetDlgItem(dialog, ids::kCmdOK), BM_CLICK, 0, 0);
  if (how == Close::Enter) PressKey(dialog, WM_KEYDOWN, VK_RETURN);
  if (how == Close::Escape) PressKey(dialog, WM_KEYDOWN, VK_ESCAPE);
  if (how == Close::CloseBox) PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
}

class Operator {
 public:
  Operator(Checks& check, DWORD client, std::wstring pictures)
      : check_(check), client_(client), pictures_(std::move(pictures)) {}

  // Answers one Configure call; false when the dialog could not be driven to its end.
  bool Answer(const Step& step) {
    const auto language = ui::DialogLanguage(step.language);
    const ConfigureCaptions& captions = ui::ConfigureCaptionsIn(language);
    const std::string name = std::string("[") + step.language + "] ";
    HWND dialog = WaitForDialog(captions.title, 90s);
    if (!check_.That(dialog != nullptr, name + "frmConfigure appears with its title")) return false;
    if (step.pictures != nullptr) CheckConfigureDialog(check_, dialog, captions, name);

    HWND readers = GetDlgItem(dialog, ids::kCboDevice);
    HWND protocols = GetDlgItem(dialog, ids::kCboProtocol);
    const std::wstring reader = Wide(step.readerPreselected ? kReader : captions.unknownReader);
    const LRESULT preselected = EntryOf(readers, reader);
    check_.That(preselected != CB_ERR && SendMessageW(readers, CB_GETCURSEL, 0, 0) == preselected &&
                    SendMessageW(protocols, CB_GETCURSEL, 0, 0) == step.protocolBefore,
                name + "the reader and protocol selected when the dialog opens");
    if (!step.readerPreselected) {
      // A choice with the mouse: the list selects the entry and tells the dialog.
      const LRESULT entry = EntryOf(readers, Wide(kReader));
      if (!check_.That(entry != CB_ERR, name + "the simulated reader is in the list")) return false;
      SendMessageW(readers, CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
      SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(ids::kCboDevice, CBN_SELCHANGE),
                   reinterpret_cast<LPARAM>(readers));
    }
    if (step.protocolChosen >= 0) {
      // Alt and the label's letter move to the protocol list; an arrow key changes the entry.
      PressKey(dialog, WM_SYSCHAR, AcceleratorOf(captions.protocolLabel));
      check_.That(WaitUntil([&] { return FocusIn(dialog) == protocols; }, 5s),
                  name + "the protocol label's accelerator moves to the protocol list");
      const auto before = SendMessageW(protocols, CB_GETCURSEL, 0, 0);
      PressKey(dialog, WM_KEYDOWN, step.protocolChosen > before ? VK_DOWN : VK_UP);
      check_.That(
          WaitUntil(
              [&] { return SendMessageW(protocols, CB_GETCURSEL, 0, 0) == step.protocolChosen; },
              5s),
          name + "an arrow key chooses the protocol");
    }
    if (step.pictures != nullptr) Picture(dialog, std::string("configure-") + step.pictures);
    if (step.runTest && !RunTest(dialog, captions, ui::TestTextsIn(language), step, name)) {
      return false;
    }
    return Closes(dialog, step.closeConfigure, name + "frmConfigure");
  }

 private:
  [[nodiscard]] HWND WaitForDialog(const std::string& title,
                                   std::chrono::milliseconds limit) const {
    HWND found = nullptr;
    WaitUntil([&] { return (found = FindDialog(client_, Wide(title))) != nullptr; }, limit);
    return found;
  }

  bool RunTest(HWND configure, const ConfigureCaptions& captions, const TestTexts& texts,
               const Step& step, const std::string& name) {
    PressKey(configure, WM_SYSCHAR, AcceleratorOf(captions.testButton));
    HWND dialog = WaitForDialog(texts.title, 10s);
    if (!check_.That(dialog != nullptr, name + "the Test accelerator shows frmTest")) return false;
    HWND log = GetDlgItem(dialog, ids::kTxtLog);
    HWND ok = GetDlgItem(dialog, ids::kCmdOK);
    const std::wstring success = Wide(texts.success);
    // The state of OK first, then the log: a test not yet ended must not offer OK.
    const bool enabledEarly = IsWindowEnabled(ok) != FALSE;
    if (WindowText(log).find(success) == std::wstring::npos) {
      check_.That(!enabledEarly, name + "cmdOK is disabled while the test runs");
    } else {
      check_.Skip(name + "cmdOK disabled while the test runs", "the test ended before a look");
    }
    const bool ended =
        WaitUntil([&] { return WindowText(log).find(success) != std::wstring::npos; }, 30s);
    if (!check_.That(ended, name + "txtLog ends with the success line")) return false;
    check_.That(
        WaitUntil([&] { return IsWindowEnabled(ok) != FALSE && FocusIn(dialog) == ok; }, 5s),
        name + "cmdOK is enabled and has the focus when the test has ended");
    CheckTestDialog(check_, dialog, texts, captions.okButton, name);
    if (step.pictures != nullptr) Picture(dialog, std::string("test-") + step.pictures);
    return Closes(dialog, step.closeTest, name + "frmTest");
  }

  bool Closes(HWND dialog, Close how, const std::string& what) {
    CloseWith(dialog, how);
    return check_.That(WaitUntil([&] { return IsWindow(dialog) == FALSE; }, 10s), what + " closes");
  }

  void Picture(HWND dialog, const std::string& name) {
    // Whatever the last action changed is drawn before the picture is taken.
    Sleep(300);
    const std::wstring path = pictures_ + L"\\" + Wide(name) + L".bmp";
    check_.That(SaveWindowPicture(dialog, path), "picture " + name + ".bmp");
  }

  Checks& check_;
  DWORD client_;
  std::wstring pictures_;
};

}  // namespace

}  // namespace lumivex::wine

int wmain(int argc, wchar_t** argv) {
  lumivex::wine::Checks check("dialog_driver");
  if (argc < 3) {
    std::printf("usage: dialog_driver.exe SHOTS CLIENT...\n");
    return 2;
  }
  std::wstring command;
  for (int i = 2; i < argc; ++i) command += std::wstring(i > 2 ? L" \"" : L"\"") + argv[i] + L"\"";
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION client{};
  if (!check.That(CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                 nullptr, &startup, &client) != FALSE,
                  "the client starts")) {
    return check.Finish();
  }
  lumivex::wine::Operator person(check, client.dwProcessId, argv[1]);
  bool answered = true;
  for (const lumivex::wine::Step& step : lumivex::wine::kSteps) {
    if (answered) answered = person.Answer(step);
  }
  // A client whose dialog could not be driven to its end waits for an operator: it is ended.
  if (!answered || WaitForSingleObject(client.hProcess, 120000) != WAIT_OBJECT_0) {
    TerminateProcess(client.hProcess, 99);
  }
  DWORD status = STILL_ACTIVE;
  GetExitCodeProcess(client.hProcess, &status);
  check.That(status == 0,
             "the client ends with no failed check (exit status " + std::to_string(status) + ")");
  CloseHandle(client.hThread);
  CloseHandle(client.hProcess);
  return check.Finish();
}
