#include "component/host_entry_points.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "component/reader_session.h"
#include "platform/dialogs.h"
#include "platform/host.h"

namespace lumivex {

std::string HostEntryPoints::GetInformation() {
  Operation operation(reporting_, {.name = "GetInformation"});
  std::string text;
  operation.Run([&] {
    // The integer part of a random fraction times 100000: 0 to 99999.
    double fraction = platform_.host->Random();
    if (!(fraction >= 0.0 && fraction < 1.0)) fraction = 0.0;
    const auto draw = std::min(static_cast<std::int32_t>(std::floor(fraction * 100000.0)), 99999);
    const std::string version = std::to_string(LUMIVEX_VERSION_MAJOR) + "." +
                                std::to_string(LUMIVEX_VERSION_MINOR) + "." +
                                std::to_string(LUMIVEX_VERSION_PATCH);
    text = "Badgeline|Orbanet Lumivex|" + version + "|1|" + std::to_string(draw) +
           "|Mifare Classic, Mifare Ultralight, Mifare DESFire";
    reporting_.trace.Line("GetInformation returns: ", text);
    return Finished(sceSuccess);
  });
  return text;
}

sceReturnCode HostEntryPoints::Configure(const std::string& Language) {
  Operation operation(reporting_, {.name = "Configure"});
  return operation.Run([&]() -> Outcome {
    // Without a dialog binding nothing can be chosen: say so before opening anything.
    if (!platform_.dialogs) {
      reporting_.trace.Line("No dialog binding, the configuration dialog cannot be shown");
      reporting_.record.Set(
          {.Number = failure::kNoDialog.number, .Description = failure::kNoDialog.description});
      return Finished(sceError);
    }
    if (session_.context() == 0 && session_.Open(0, false) == sceError) return Finished(sceError);
    // The dialog's reader test connects exclusively through this context: a card connection of
    // the encoder would make it fail with a sharing violation, so the card is released first.
    // The next card operation connects again, as after an open without a card.
    session_.ReleaseCard();

    ConfigureRequest request;
    request.language = Language;
    request.device = session_.settings().device;
    request.protocol = session_.settings().protocol;
    request.pcsc = platform_.pcsc;
    request.context = session_.context();
    ConfigureAnswer answer;
    try {
      answer = platform_.dialogs->ShowConfigure(request);
    } catch (const std::exception& error) {
      const std::string reason = std::string("The configuration dialog failed: ") + error.what();
      reporting_.trace.Line(reason);
      reporting_.record.Clear();  // what the open left in the record is not the reason
      reporting_.record.Set({.Number = failure::kNoDialog.number, .Description = reason});
      return Finished(sceError);
    }
    if (!answer.confirmed) return {sceCanceled, Ending::kReset};
    session_.settings().device = answer.device;
    session_.settings().protocol = answer.protocol;
    // After the dialog the record is always cleared and names Configure.
    return Succeeded();
  });
}

}  // namespace lumivex
