// The operator at the configuration dialog:
//
//   dialog_driver.exe SHOTS CLIENT...
//
// starts the client (tests/com/vbs/configure.vbs, which calls Configure on the registered DLL),
// answers the dialogs it shows with the keys and clicks a person would produce, checks what each
// dialog shows, and saves pictures of both dialogs in each language as BMP files in the folder
// SHOTS. The client's output comes through; the summary line is the driver's own.
#include <windows.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/com/check.h"
#include "tests/com/dialog_checks.h"
#include "tests/com/window_probe.h"
#include "ui/dialog_choices.h"
#include "ui/dialog_texts.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/wide_text.h"

namespace {

using lumivex::ui::ConfigureCaptions;
using lumivex::ui::TestTexts;
using lumivex::ui::win32::Wide;
using lumivex::wine::Checks;
using lumivex::wine::FindDialog;
using lumivex::wine::FocusIn;
using lumivex::wine::WaitUntil;
using lumivex::wine::WindowText;
namespace ids = lumivex::ui::win32;
using namespace std::chrono_literals;

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
    const auto language = lumivex::ui::DialogLanguage(step.language);
    const ConfigureCaptions& captions = lumivex::ui::ConfigureCaptionsIn(language);
    const std::string name = std::string("[") + step.language + "] ";
    HWND dialog = WaitForDialog(captions.title, 90s);
    if (!check_.That(dialog != nullptr, name + "frmConfigure appears with its title")) return false;
    if (step.pictures != nullptr)
      lumivex::wine::CheckConfigureDialog(check_, dialog, captions, name);

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
    if (step.runTest &&
        !RunTest(dialog, captions, lumivex::ui::TestTextsIn(language), step, name)) {
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
    lumivex::wine::CheckTestDialog(check_, dialog, texts, captions.okButton, name);
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
    check_.That(lumivex::wine::SaveWindowPicture(dialog, path), "picture " + name + ".bmp");
  }

  Checks& check_;
  DWORD client_;
  std::wstring pictures_;
};

}  // namespace

int wmain(int argc, wchar_t** argv) {
  Checks check("dialog_driver");
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
  Operator person(check, client.dwProcessId, argv[1]);
  bool answered = true;
  for (const Step& step : kSteps) {
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
