// The PC/SC context a dialog works through: the one it was handed (borrowed, never released), or,
// when handed none, one of its own, established here and released when this object ends.
#pragma once

#include "platform/pcsc_api.h"

namespace lumivex::ui {

class DialogContext {
 public:
  // Establishes a context (scope system) only when given is 0. A binding that cannot make the
  // call at all throws PcscCallError from here.
  DialogContext(PcscApi& pcsc, PcscContext given);
  ~DialogContext();
  DialogContext(const DialogContext&) = delete;
  DialogContext& operator=(const DialogContext&) = delete;
  DialogContext(DialogContext&&) = delete;
  DialogContext& operator=(DialogContext&&) = delete;

  // The context to use; 0 when establishing one failed.
  [[nodiscard]] PcscContext handle() const { return handle_; }
  // The result of establishing the context (0 when one was handed over).
  [[nodiscard]] PcscLong result() const { return result_; }

 private:
  PcscApi& pcsc_;
  PcscContext handle_ = 0;
  PcscLong result_ = 0;
  bool owned_ = false;
};

}  // namespace lumivex::ui
