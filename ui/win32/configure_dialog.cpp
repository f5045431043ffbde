#include "ui/win32/configure_dialog.h"

#include <algorithm>
#include <string>

#include "ui/win32/control_ids.h"
#include "ui/win32/dialog_layout.h"
#include "ui/win32/dialog_style.h"
#include "ui/win32/test_dialog.h"
#include "ui/win32/wide_text.h"

namespace lumivex::ui::win32 {

namespace {

// Entries a dropped list shows before it scrolls.
constexpr int kVisibleEntries = 10;

void AddEntries(HWND list, const std::vector<std::string>& entries, std::size_t selected) {
  for (const auto& entry : entries) {
    SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(Wide(entry).c_str()));
  }
  SendMessageW(list, CB_SETCURSEL, selected, 0);
}

int WidestEntry(const DialogMeasure& measure, const std::vector<std::string>& entries) {
  int widest = 0;
  for (const auto& entry : entries) widest = std::max(widest, measure.TextWidth(Wide(entry)));
  return widest;
}

// Places a drop-down list; its window is as high as the list it drops. Returns the height of
// the closed list as the list reports it.
int PlaceList(HWND dialog, int id, int x, int y, int width, int entries) {
  HWND list = GetDlgItem(dialog, id);
  const auto field = static_cast<int>(SendMessageW(list, CB_GETITEMHEIGHT, -1, 0));
  const auto item = static_cast<int>(SendMessageW(list, CB_GETITEMHEIGHT, 0, 0));
  const int closed = field + 2 * GetSystemMetrics(SM_CYEDGE) + 2;
  PlaceControl(dialog, id, x, y, width, closed + std::min(entries, kVisibleEntries) * item + 2);
  RECT shown{};
  GetWindowRect(list, &shown);
  // A list that keeps the height it was given reports the dropped height: use the computed one.
  const int reported = shown.bottom - shown.top;
  return reported > 0 && reported <= closed + 2 ? reported : closed;
}

}  // namespace

bool ConfigureDialog::Show(HWND owner) {
  const ConfigureCaptions& captions = model_.captions();
  DialogTemplate dialog(Wide(captions.title), kDialogStyle, kDialogFont, kDialogFontSize);
  dialog.AddControl(kLblDevice, ControlClass::Static, Wide(captions.deviceLabel),
                    SS_LEFT | WS_GROUP);
  dialog.AddControl(kCboDevice, ControlClass::ComboBox, L"",
                    CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP);
  dialog.AddControl(kLblProtocol, ControlClass::Static, Wide(captions.protocolLabel),
                    SS_LEFT | WS_GROUP);
  dialog.AddControl(kCboProtocol, ControlClass::ComboBox, L"",
                    CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP);
  dialog.AddControl(kCmdTest, ControlClass::Button, Wide(captions.testButton),
                    BS_PUSHBUTTON | WS_TABSTOP | WS_GROUP);
  dialog.AddControl(kCmdOK, ControlClass::Button, Wide(captions.okButton),
                    BS_DEFPUSHBUTTON | WS_TABSTOP);
  dialog.AddControl(kCmdCancel, ControlClass::Button, Wide(captions.cancelButton),
                    BS_PUSHBUTTON | WS_TABSTOP);
  return Run(dialog, owner) == IDOK;
}

INT_PTR ConfigureDialog::Handle(UINT message, WPARAM wParam, LPARAM /*lParam*/) {
  switch (message) {
    case WM_INITDIALOG:
      Load();
      Layout();
      return TRUE;  // the focus goes to the reader list, the first control that takes it
    case WM_COMMAND:
      switch (LOWORD(wParam)) {
        case kCboDevice:
        case kCboProtocol:
          if (HIWORD(wParam) == CBN_SELCHANGE) ReadChoices();
          return TRUE;
        case kCmdTest:
          ReadChoices();
          ShowTestDialog(window(), model_.Test());
          return TRUE;
        case kCmdOK:
          ReadChoices();
          EndDialog(window(), IDOK);
          return TRUE;
        case kCmdCancel:  // Escape and the close box as well
          EndDialog(window(), IDCANCEL);
          return TRUE;
        default:
          return FALSE;
      }
    default:
      return FALSE;
  }
}

void ConfigureDialog::Load() {
  AddEntries(Control(kCboDevice), model_.readerEntries(), model_.selectedReader());
  AddEntries(Control(kCboProtocol), model_.protocolEntries(), model_.selectedProtocol());
}

void ConfigureDialog::Layout() {
  const ConfigureCaptions& captions = model_.captions();
  const DialogMeasure measure(window());
  const int margin = measure.X(7);
  const int top = measure.Y(7);
  const int gap = measure.X(4);
  // Room a drop-down list needs beside its text: the arrow button, the frame, some space.
  const int listExtra = GetSystemMetrics(SM_CXVSCROLL) + measure.X(10);
  const auto button = [&](const std::string& caption) {
    return std::max(measure.X(50), measure.CaptionWidth(Wide(caption)) + measure.X(12));
  };

  const int label = std::max(measure.CaptionWidth(Wide(captions.deviceLabel)),
                             measure.CaptionWidth(Wide(captions.protocolLabel))) +
                    measure.X(2);
  const int protocol =
      std::max(measure.X(45), WidestEntry(measure, model_.protocolEntries()) + listExtra);
  const int test = button(captions.testButton);
  const int ok = std::max(button(captions.okButton), button(captions.cancelButton));
  int width = std::max(
      {margin + label + gap + measure.X(160) + margin,
       margin + label + gap + WidestEntry(measure, model_.readerEntries()) + listExtra + margin,
       margin + test + measure.X(14) + ok + gap + ok + margin,
       TitleClientWidth(Wide(captions.title))});
  // A very long reader name never makes the dialog wider than the screen: the list then shows
  // the start of the name, its dropped list shows it whole (CB_SETDROPPEDWIDTH).
  width = std::min(width, WorkAreaWidth(window()) - 2 * GetSystemMetrics(SM_CXDLGFRAME));
  const int device = width - 2 * margin - label - gap;

  HWND dialog = window();
  const int listX = margin + label + gap;
  const int deviceEntries = static_cast<int>(model_.readerEntries().size());
  const int row = PlaceList(dialog, kCboDevice, listX, top, device, deviceEntries);
  SendMessageW(Control(kCboDevice), CB_SETDROPPEDWIDTH,
               WidestEntry(measure, model_.readerEntries()) + listExtra, 0);
  const int protocolTop = top + row + measure.Y(4);
  PlaceList(dialog, kCboProtocol, listX, protocolTop, protocol,
            static_cast<int>(model_.protocolEntries().size()));
  const int labelTop = (row - measure.LineHeight()) / 2;
  PlaceControl(dialog, kLblDevice, margin, top + labelTop, label, measure.LineHeight());
  PlaceControl(dialog, kLblProtocol, margin, protocolTop + labelTop, label, measure.LineHeight());

  const int buttonTop = protocolTop + row + measure.Y(10);
  const int buttonHeight = measure.Y(14);
  PlaceControl(dialog, kCmdTest, margin, buttonTop, test, buttonHeight);
  PlaceControl(dialog, kCmdCancel, width - margin - ok, buttonTop, ok, buttonHeight);
  PlaceControl(dialog, kCmdOK, width - margin - ok - gap - ok, buttonTop, ok, buttonHeight);
  SizeAndCenter(dialog, width, buttonTop + buttonHeight + top);
}

void ConfigureDialog::ReadChoices() {
  const LRESULT reader = SendMessageW(Control(kCboDevice), CB_GETCURSEL, 0, 0);
  if (reader != CB_ERR) model_.SelectReader(static_cast<std::size_t>(reader));
  const LRESULT protocol = SendMessageW(Control(kCboProtocol), CB_GETCURSEL, 0, 0);
  if (protocol != CB_ERR) model_.SelectProtocol(static_cast<std::size_t>(protocol));
}

}  // namespace lumivex::ui::win32
