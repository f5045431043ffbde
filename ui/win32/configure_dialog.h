// frmConfigure, the Windows view of the configuration dialog: the reader and protocol lists and
// the Test, OK and Cancel buttons over a ConfigureModel, which decides everything they show and
// hand back.
#pragma once

#include <windows.h>

#include "ui/configure_model.h"
#include "ui/win32/modal_dialog.h"

namespace lumivex::ui::win32 {

class ConfigureDialog final : public ModalDialog {
 public:
  explicit ConfigureDialog(ConfigureModel& model) : model_(model) {}

  // Shows the dialog modally; true when the operator confirmed with OK, the model then holding
  // the choices. Throws std::runtime_error when the dialog cannot be shown.
  bool Show(HWND owner);

 private:
  INT_PTR Handle(UINT message, WPARAM wParam, LPARAM lParam) override;
  void Load();
  void Layout();
  // The entries selected in the two lists, into the model.
  void ReadChoices();

  ConfigureModel& model_;
};

}  // namespace lumivex::ui::win32
