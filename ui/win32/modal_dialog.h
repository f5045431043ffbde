// The part the two dialogs share: a modal dialog run from an in-memory template, whose window
// procedure forwards to the object that showed it. An exception from a handler never reaches
// the window system: the dialog closes and Run throws it on as std::runtime_error.
#pragma once

#include <windows.h>

#include <string>

#include "ui/win32/dialog_template.h"

namespace lumivex::ui::win32 {

class ModalDialog {
 public:
  ModalDialog() = default;
  virtual ~ModalDialog() = default;
  ModalDialog(const ModalDialog&) = delete;
  ModalDialog& operator=(const ModalDialog&) = delete;
  ModalDialog(ModalDialog&&) = delete;
  ModalDialog& operator=(ModalDialog&&) = delete;

 protected:
  // Shows the dialog modally over owner (may be null) and returns the value given to EndDialog.
  // Throws std::runtime_error when the dialog cannot be created or a handler failed.
  INT_PTR Run(const DialogTemplate& dialogTemplate, HWND owner);

  // A message of the dialog, from WM_INITDIALOG on; as a dialog procedure answers.
  virtual INT_PTR Handle(UINT message, WPARAM wParam, LPARAM lParam) = 0;

  [[nodiscard]] HWND window() const { return window_; }
  [[nodiscard]] HWND Control(int id) const { return GetDlgItem(window_, id); }

  // Dispatches the messages waiting in this thread's queue (the host's included) and returns
  // when none is left, so what the dialog just drew shows at once.
  void RunPendingMessages() const;

 private:
  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  HWND window_ = nullptr;
  std::string failure_;
};

}  // namespace lumivex::ui::win32
