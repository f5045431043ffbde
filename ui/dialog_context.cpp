#include "ui/dialog_context.h"

namespace lumivex::ui {

DialogContext::DialogContext(PcscApi& pcsc, PcscContext given) : pcsc_(pcsc), handle_(given) {
  if (given != 0) return;
  PcscContext own = 0;
  result_ = pcsc_.EstablishContext(scard::SCOPE_SYSTEM, &own);
  if (result_ == 0) {
    handle_ = own;
    owned_ = true;
  }
}

DialogContext::~DialogContext() {
  if (!owned_) return;
  try {
    pcsc_.ReleaseContext(handle_);  // its result changes nothing for the dialog
  } catch (const PcscCallError&) {  // NOLINT(bugprone-empty-catch): nothing may leave a destructor
  }
}

}  // namespace lumivex::ui
