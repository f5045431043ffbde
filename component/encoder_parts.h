// What stands behind the Encoder facade: the platform's bindings, where operations report, the
// reader session, the command engine, the host entry points, and the MIFARE and DESFire objects.
// Private to the facade (encoder*.cpp).
#pragma once

#include "component/command_engine.h"
#include "component/desfire/desfire_applications.h"
#include "component/desfire/desfire_card.h"
#include "component/desfire/desfire_files.h"
#include "component/desfire/desfire_keys.h"
#include "component/desfire/desfire_transfer.h"
#include "component/desfire/desfire_values.h"
#include "component/encoder.h"
#include "component/host_entry_points.h"
#include "component/mifare/mifare_classic.h"
#include "component/operation.h"
#include "component/reader_session.h"
#include "crypto/des.h"
#include "platform/code_page.h"
#include "platform/host.h"

namespace lumivex {

struct Encoder::Parts {
  explicit Parts(Platform bindings)
      : platform(std::move(bindings)),
        des(platform.codePage),
        session(reporting,
                {*platform.pcsc, *platform.host, platform.registry.get(), *platform.codePage}),
        engine(reporting, session, *platform.pcsc),
        host(reporting, session, platform),
        mifare(reporting, session, engine, des),
        desfire(reporting, engine, *platform.host),
        applications(desfire),
        keys(desfire),
        files(desfire),
        transfers(desfire, files, des),
        values(desfire, transfers) {}

  Platform platform;
  Reporting reporting;
  crypto::DES des;  // the data conversions of the host's texts
  ReaderSession session;
  CommandEngine engine;
  HostEntryPoints host;
  MifareClassic mifare;
  desfire::Card desfire;
  desfire::Applications applications;
  desfire::Keys keys;
  desfire::Files files;
  desfire::Transfers transfers;
  desfire::Values values;
};

}  // namespace lumivex
