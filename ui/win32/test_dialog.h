// frmTest, the Windows view of the reader test: txtLog shows the lines of a ReaderTest as they
// come, tmrTest starts the test once the dialog is on screen, and cmdOK closes the dialog once
// the test has ended (Enter, Escape and the close box too; before, nothing closes it).
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "ui/reader_test.h"
#include "ui/win32/modal_dialog.h"

namespace lumivex::ui::win32 {

class TestDialog final : public ModalDialog {
 public:
  explicit TestDialog(ReaderTestRequest request);

  // Shows the dialog modally and returns when the operator closes it. Throws
  // std::runtime_error when the dialog cannot be shown.
  void Show(HWND owner);

 private:
  INT_PTR Handle(UINT message, WPARAM wParam, LPARAM lParam) override;
  void Layout();
  void RunTest();
  // Appends a line to txtLog and lets the message queue run, so the line shows at once.
  void Append(const std::string& line);
  void AllowClosing(bool allowed);

  std::string reader_;
  std::int32_t protocol_;
  std::string okCaption_;
  ReaderTest test_;
};

void ShowTestDialog(HWND owner, ReaderTestRequest request);

}  // namespace lumivex::ui::win32
