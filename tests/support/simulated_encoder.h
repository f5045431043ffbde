// An Encoder on the in-process simulated reader holding a card, in virtual time, with its trace
// collected (the trace outlives the encoder, which traces its own closing).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "component/encoder.h"
#include "sim/simulated_pcsc.h"
#include "tests/support/virtual_host.h"

namespace lumivex::test {

struct SimulatedEncoder {
  explicit SimulatedEncoder(std::shared_ptr<sim::SimCard> card) {
    pcsc->InsertCard(std::move(card));
    encoder.Parameters(std::string("Device=") + sim::SimulatedPcsc::kDefaultReaderName);
    encoder.SetTraceSink([this](std::string_view line) { trace.emplace_back(line); });
  }

  std::shared_ptr<sim::SimulatedPcsc> pcsc = std::make_shared<sim::SimulatedPcsc>();
  std::vector<std::string> trace;
  Encoder encoder{Platform{pcsc, std::make_shared<VirtualHost>(), nullptr}};
};

}  // namespace lumivex::test
