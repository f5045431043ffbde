#include "ui/win32/modal_dialog.h"

#include <exception>
#include <stdexcept>

namespace lumivex::ui::win32 {

namespace {

// EndDialog's value when a handler failed.
constexpr INT_PTR kHandlerFailed = -2;

// Posted to the dialog once it is shown.
constexpr UINT kComeToFront = WM_APP + 1;

HINSTANCE ThisModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&ThisModule), &module);
  return module;
}

}  // namespace

INT_PTR ModalDialog::Run(const DialogTemplate& dialogTemplate, HWND owner) {
  failure_.clear();
  const INT_PTR result =
      DialogBoxIndirectParamW(ThisModule(), dialogTemplate.get(), owner, &ModalDialog::Procedure,
                              reinterpret_cast<LPARAM>(this));
  window_ = nullptr;
  if (result == kHandlerFailed) throw std::runtime_error(failure_);
  if (result == -1) {
    throw std::runtime_error("the dialog window cannot be created (system error " +
                             std::to_string(GetLastError()) + ")");
  }
  return result;
}

void ModalDialog::RunPendingMessages() const {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
    if (message.message == WM_QUIT) {
      // The host's loop ends when it sees it again.
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    if (window_ == nullptr || IsDialogMessageW(window_, &message) == FALSE) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
}

INT_PTR CALLBACK ModalDialog::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  // The object that showed the dialog comes with WM_INITDIALOG and stays in the window's user
  // word, both integers.
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(window, DWLP_USER, lParam);
    reinterpret_cast<ModalDialog*>(lParam)->window_ = window;  // NOLINT(performance-no-int-to-ptr)
  }
  auto* self = reinterpret_cast<ModalDialog*>(  // NOLINT(performance-no-int-to-ptr)
      GetWindowLongPtrW(window, DWLP_USER));
  if (self == nullptr) return FALSE;
  // Once on screen the dialog asks for the front (the system may refuse and flash it instead): a
  // host without a window in front, a console host for one, would leave the operator looking for
  // it behind other windows. Its title bar then shows whether it is in front, whatever order the
  // activation messages came in.
  if (message == WM_SHOWWINDOW && wParam != FALSE) PostMessageW(window, kComeToFront, 0, 0);
  if (message == kComeToFront) {
    if (GetForegroundWindow() != window) SetForegroundWindow(window);
    SendMessageW(window, WM_NCACTIVATE, GetForegroundWindow() == window ? TRUE : FALSE, 0);
    return TRUE;
  }
  try {
    return self->Handle(message, wParam, lParam);
  } catch (const std::exception& error) {
    self->failure_ = error.what();
  } catch (...) {
    self->failure_ = "unexpected failure";
  }
  EndDialog(window, kHandlerFailed);
  return TRUE;
}

}  // namespace lumivex::ui::win32
