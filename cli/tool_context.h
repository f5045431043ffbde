// What every command of the tool works on: the global options, the PC/SC binding (real or
// simulated, counted), and an Encoder configured from them.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/counting_pcsc.h"
#include "component/encoder.h"
#include "sim/simulated_pcsc.h"

namespace lumivex::cli {

struct GlobalOptions {
  std::string reader;          // --reader: the Device
  int protocol = 2;            // --protocol 1|2: T=1 unless told, as contactless readers speak
  std::string simulate;        // --simulate desfire|mifare1k|mifare4k|none ("" = real readers)
  std::string uid;             // --uid HEX for the simulated card
  std::uint64_t seed = 1;      // --seed N for the simulated card
  double openWaitSeconds = 0;  // --open-wait SECONDS
  bool trace = false;          // --trace
  bool json = false;           // --json
};

class ToolContext {
 public:
  explicit ToolContext(GlobalOptions options);

  [[nodiscard]] const GlobalOptions& options() const { return options_; }
  // The simulator when --simulate was given, else null.
  [[nodiscard]] const std::shared_ptr<sim::SimulatedPcsc>& simulator() const { return simulator_; }
  CountingPcsc& pcsc() { return *pcsc_; }
  Encoder& encoder() { return *encoder_; }

  // Puts a fresh simulated card of the kind ("desfire", "mifare1k", "mifare4k", "none") on the
  // simulated reader. False when the kind or the UID is not valid.
  bool InsertSimulatedCard(const std::string& kind, std::string& error);
  // The reader names the PC/SC binding lists.
  std::vector<std::string> ListReaders(std::string& error);
  // The tool's note on a failed call: which protocol the card offers when its connection was
  // refused for the protocol ("" otherwise).
  std::string FailureNote(const CError& record);

 private:
  GlobalOptions options_;
  std::shared_ptr<sim::SimulatedPcsc> simulator_;
  std::shared_ptr<CountingPcsc> pcsc_;
  std::unique_ptr<Encoder> encoder_;
  std::string device_;  // the reader the Encoder works on
};

}  // namespace lumivex::cli
