#include "ui/win32/test_dialog.h"

#include <algorithm>
#include <utility>

#include "ui/dialog_choices.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/dialog_layout.h"
#include "ui/win32/dialog_style.h"
#include "ui/win32/wide_text.h"

namespace lumivex::ui::win32 {

namespace {

// Lines txtLog shows without scrolling: every line of a test with a card, and one more.
constexpr int kVisibleLines = 12;

}  // namespace

TestDialog::TestDialog(ReaderTestRequest request)
    : reader_(request.reader),
      protocol_(request.protocol),
      okCaption_(ConfigureCaptionsIn(DialogLanguage(request.language)).okButton),
      test_(std::move(request), [this](const std::string& line) { Append(line); }) {}

void TestDialog::Show(HWND owner) {
  DialogTemplate dialog(Wide(test_.texts().title), kDialogStyle, kDialogFont, kDialogFontSize);
  dialog.AddControl(kTxtLog, ControlClass::Edit, L"",
                    ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL | WS_TABSTOP,
                    WS_EX_CLIENTEDGE);
  dialog.AddControl(kCmdOK, ControlClass::Button, Wide(okCaption_),
                    BS_DEFPUSHBUTTON | WS_TABSTOP | WS_DISABLED);
  Run(dialog, owner);
}

INT_PTR TestDialog::Handle(UINT message, WPARAM wParam, LPARAM /*lParam*/) {
  switch (message) {
    case WM_INITDIALOG:
      Layout();
      AllowClosing(false);
      // The first tick comes once the dialog has been drawn: timer messages wait for paints.
      SetTimer(window(), kTmrTest, static_cast<UINT>(ReaderTest::timerInterval().count()), nullptr);
      return TRUE;
    case WM_TIMER:
      if (wParam != kTmrTest) return FALSE;
      KillTimer(window(), kTmrTest);
      RunTest();
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) != kCmdOK && LOWORD(wParam) != IDCANCEL) return FALSE;
      if (test_.finished()) EndDialog(window(), IDOK);
      return TRUE;
    case WM_DESTROY:
      KillTimer(window(), kTmrTest);
      return FALSE;
    default:
      return FALSE;
  }
}

void TestDialog::Layout() {
  const TestTexts& texts = test_.texts();
  const DialogMeasure measure(window());
  const int margin = measure.X(7);
  const int top = measure.Y(7);
  // Wide enough for the lines of a test with a card on this reader; longer lines (error
  // descriptions, long reader attributes) wrap.
  const std::string protocol = ProtocolText(texts, static_cast<unsigned long>(protocol_));
  int line = measure.X(240);
  for (const std::string& text :
       {FillIn(texts.opening, reader_, protocol), FillIn(texts.readerName, reader_),
        FillIn(texts.opened, protocol), texts.cardPresent, texts.noCard, texts.closing,
        texts.starting, texts.success, texts.failure, texts.openFailed}) {
    line = std::max(line, measure.TextWidth(Wide(text)));
  }
  const auto margins = SendMessageW(Control(kTxtLog), EM_GETMARGINS, 0, 0);
  const int frame = 2 * GetSystemMetrics(SM_CXEDGE) + LOWORD(margins) + HIWORD(margins);
  const int maximum = WorkAreaWidth(window()) - 2 * GetSystemMetrics(SM_CXDLGFRAME) - 2 * margin;
  const int log = std::min(line + frame + GetSystemMetrics(SM_CXVSCROLL) + measure.X(4), maximum);
  const int logHeight = kVisibleLines * measure.LineHeight() + 2 * GetSystemMetrics(SM_CYEDGE) + 4;
  const int width = std::max(log + 2 * margin, TitleClientWidth(Wide(texts.title)));

  HWND dialog = window();
  PlaceControl(dialog, kTxtLog, margin, top, width - 2 * margin, logHeight);
  const int button =
      std::max(measure.X(50), measure.CaptionWidth(Wide(okCaption_)) + measure.X(12));
  const int buttonTop = top + logHeight + measure.Y(7);
  const int buttonHeight = measure.Y(14);
  PlaceControl(dialog, kCmdOK, width - margin - button, buttonTop, button, buttonHeight);
  SizeAndCenter(dialog, width, buttonTop + buttonHeight + top);
}

void TestDialog::RunTest() {
  SetWindowTextW(Control(kTxtLog), L"");
  test_.OnTimer();
  HWND ok = Control(kCmdOK);
  EnableWindow(ok, TRUE);
  SendMessageW(window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(ok), TRUE);
  AllowClosing(true);
}

void TestDialog::Append(const std::string& line) {
  HWND log = Control(kTxtLog);
  const int end = GetWindowTextLengthW(log);
  const std::wstring text = (end > 0 ? L"\r\n" : L"") + Wide(line);
  SendMessageW(log, EM_SETSEL, end, end);
  SendMessageW(log, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
  SendMessageW(log, EM_SCROLLCARET, 0, 0);
  RunPendingMessages();
}

void TestDialog::AllowClosing(bool allowed) {
  EnableMenuItem(GetSystemMenu(window(), FALSE), SC_CLOSE,
                 MF_BYCOMMAND | (allowed ? MF_ENABLED : MF_GRAYED));
}

void ShowTestDialog(HWND owner, ReaderTestRequest request) {
  TestDialog dialog(std::move(request));
  dialog.Show(owner);
}

}  // namespace lumivex::ui::win32
