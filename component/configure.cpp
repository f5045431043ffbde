// The host's configuration entry point: the operator chooses the reader and the protocol in the
// configuration dialog, shown modally through the dialogs seam.
#include <exception>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "component/texts.h"
#include "platform/dialogs.h"

namespace lumivex {

sceReturnCode Encoder::Configure(const std::string& Language) {
  try {
    Trace("--> Configure");
    ClearLastError();
    // Without a dialog binding nothing can be chosen: say so before opening anything.
    if (!platform_.dialogs) {
      Trace("No dialog binding, the configuration dialog cannot be shown");
      SetLastError({.Number = err::kNoDialog, .Description = "No dialog can be shown"});
      FinishLastError("Configure");
      Trace("<-- Configure");
      return sceError;
    }
    if (hContext_ == 0 && OpenEncoderCore(0, false) == sceError) {
      FinishLastError("Configure");
      Trace("<-- Configure");
      return sceError;
    }
    // The dialog's reader test connects exclusively through this context: a card connection of
    // the encoder would make it fail with a sharing violation, so the card is released first.
    // The next card operation connects again, as after an open without a card.
    if (hCard_ != 0) {
      Trace("hCard <> 0, releasing the card for the dialog");
      try {
        Trace("SCardDisconnect returned: " +
              SCardErrorText(ScardNumber(platform_.pcsc->Disconnect(hCard_, scard::LEAVE_CARD))));
        hCard_ = 0;
        LetATRString("");
      } catch (const PcscCallError& error) {
        // The card stays connected; the test will report the sharing violation.
        Trace("Error " + std::to_string(error.number()) + ": " + error.what());
      }
    }

    ConfigureRequest request;
    request.language = Language;
    request.device = device_;
    request.protocol = protocol_;
    request.pcsc = platform_.pcsc;
    request.context = hContext_;
    ConfigureAnswer answer;
    try {
      answer = platform_.dialogs->ShowConfigure(request);
    } catch (const std::exception& error) {
      Trace(std::string("The configuration dialog failed: ") + error.what());
      ClearLastError();  // what the open left in the record is not the reason
      SetLastError(
          {.Number = err::kNoDialog,
           .Description = std::string("The configuration dialog failed: ") + error.what()});
      FinishLastError("Configure");
      Trace("<-- Configure");
      return sceError;
    }

    sceReturnCode result = sceCanceled;
    if (answer.confirmed) {
      device_ = answer.device;
      protocol_ = answer.protocol;
      result = sceSuccess;
    }
    // After the dialog the record is always cleared and names Configure.
    ClearLastError("Configure");
    Trace("<-- Configure");
    return result;
  } catch (...) {
    return sceError;
  }
}

}  // namespace lumivex
