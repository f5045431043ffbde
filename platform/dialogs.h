// The dialogs seam: the modal configuration dialog that Encoder::Configure shows. The component
// stays free of window code; a binding (Win32 dialogs, the terminal views of the tool, a test
// double) draws it from the portable models of ui/.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/pcsc_api.h"

namespace lumivex {

// What the configuration dialog is given when it is shown.
struct ConfigureRequest {
  std::string language;       // "francais" for French, anything else gives English
  std::string device;         // the Encoder's current Device
  std::int32_t protocol = 1;  // the Encoder's current Protocol (1 = T=0, 2 = T=1)
  // The PC/SC binding and context through which the dialog lists the readers and runs the reader
  // test: the Encoder's own. A context of 0 means the Encoder has none; the dialog then
  // establishes one of its own for as long as it needs it.
  std::shared_ptr<PcscApi> pcsc;
  PcscContext context = 0;
};

// What the operator decided when the dialog closed.
struct ConfigureAnswer {
  bool confirmed = false;     // false: cancelled, nothing else is meaningful
  std::string device;         // the chosen reader, as the dialog showed it
  std::int32_t protocol = 0;  // 1 = T=0, 2 = T=1
};

class Dialogs {
 public:
  virtual ~Dialogs() = default;
  // Shows the configuration dialog modally and returns when the operator closes it.
  virtual ConfigureAnswer ShowConfigure(const ConfigureRequest& request) = 0;
};

}  // namespace lumivex
