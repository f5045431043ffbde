// An Encoder wired to a scripted reader and virtual time, with its trace collected:
//
//   test::ScriptedEncoder bench;
//   bench.Open();                                  // opened on "Scripted Reader 0", card present
//   bench.pcsc->Expect("FFCA000000", "04A1B2C3 9000");
//   bench.encoder.ReadSerialNumber(serial);
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "component/encoder.h"
#include "tests/support/scripted_pcsc.h"
#include "tests/support/virtual_host.h"

namespace lumivex::test {

struct ScriptedEncoder {
  explicit ScriptedEncoder(std::shared_ptr<RegistryApi> registry = nullptr,
                           std::shared_ptr<Dialogs> dialogs = nullptr)
      : encoder(Platform{pcsc, host, std::move(registry), std::move(dialogs)}) {
    encoder.SetTraceSink([this](std::string_view line) { trace.emplace_back(line); });
    encoder.Parameters(std::string("Device=") + ScriptedPcsc::kReaderName);
  }

  // Opens the encoder with the card present, then forgets the calls and the trace so far.
  void Open() {
    ASSERT_EQ(encoder.OpenEncoder(0), sceSuccess);
    ASSERT_EQ(encoder.LastError().Number(), 0);
    pcsc->ClearLog();
    trace.clear();
  }

  std::shared_ptr<ScriptedPcsc> pcsc = std::make_shared<ScriptedPcsc>();
  std::shared_ptr<VirtualHost> host = std::make_shared<VirtualHost>();
  std::vector<std::string> trace;
  Encoder encoder;
};

}  // namespace lumivex::test
