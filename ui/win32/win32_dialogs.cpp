#include "ui/win32/win32_dialogs.h"

#include "ui/configure_model.h"
#include "ui/win32/configure_dialog.h"
#include "ui/win32/dialog_layout.h"

namespace lumivex::ui::win32 {

namespace {

class Win32Dialogs final : public Dialogs {
 public:
  ConfigureAnswer ShowConfigure(const ConfigureRequest& request) override {
    ConfigureModel model(request);
    ConfigureDialog dialog(model);
    return dialog.Show(HostOwner()) ? model.Ok() : ConfigureModel::Cancel();
  }
};

}  // namespace

std::shared_ptr<Dialogs> MakeWin32Dialogs() {
  return std::make_shared<Win32Dialogs>();
}

}  // namespace lumivex::ui::win32
