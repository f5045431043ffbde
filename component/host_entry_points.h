// The host's information and configuration entry points: GetInformation tells what the component
// is and encodes; Configure shows the configuration dialog (through the dialogs seam), where the
// operator chooses and tests the reader and the protocol.
#pragma once

#include <string>

#include "component/operation.h"
#include "component/types.h"
#include "platform/platform.h"

namespace lumivex {

class ReaderSession;

class HostEntryPoints {
 public:
  HostEntryPoints(Reporting& reporting, ReaderSession& session, const Platform& platform)
      : reporting_(reporting), session_(session), platform_(platform) {}

  std::string GetInformation();
  sceReturnCode Configure(const std::string& Language);

 private:
  Reporting& reporting_;
  ReaderSession& session_;
  const Platform& platform_;
};

}  // namespace lumivex
