// Scripts of the lumivex tool as a user may write them: any text. Compiling reports each bad line
// by its number; a script that does not compile sends nothing to the card; one that compiles runs
// every member it names, with any arguments, on an Encoder over the simulated reader holding a
// DESFire or MIFARE card (sometimes a broken one), and the run ends with a defined status.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "cli/script_runner.h"
#include "component/encoder.h"
#include "fuzz/fuzz_check.h"
#include "sim/desfire/desfire_card.h"
#include "sim/mifare/mifare_classic_card.h"
#include "sim/simulated_pcsc.h"
#include "tests/support/virtual_host.h"

using namespace lumivex;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const int card = input.ConsumeIntegralInRange(0, 3);
  const int fault = input.ConsumeIntegralInRange(0, 15);
  const bool json = input.ConsumeBool();
  const bool fourK = input.ConsumeBool();
  const std::string text = input.ConsumeRemainingBytesAsString();

  const cli::CompiledScript compiled = cli::CompileScript(text);
  const auto lines = static_cast<int>(std::count(text.begin(), text.end(), '\n')) + 1;
  for (const cli::ScriptError& error : compiled.errors) {
    FUZZ_CHECK(error.lineNumber >= 1 && error.lineNumber <= lines);
    FUZZ_CHECK(!error.message.empty());
  }
  for (const cli::CompiledCall& call : compiled.calls) {
    FUZZ_CHECK((call.member != nullptr) != (call.property != nullptr));
    FUZZ_CHECK(call.line.lineNumber >= 1 && call.line.lineNumber <= lines);
  }

  auto pcsc = std::make_shared<sim::SimulatedPcsc>();
  if (card == 1) pcsc->InsertCard(sim::MakeMifareClassic({fourK, {1, 2, 3, 4}}));
  if (card >= 2) pcsc->InsertCard(sim::MakeDesfire());
  // Now and then the card misbehaves: mute, garbage, endless 91AF, or gone after a few frames.
  if (fault >= 1 && fault <= 4) {
    pcsc->reader().SetFault(static_cast<sim::Fault>(fault), static_cast<std::size_t>(fault) * 3);
  }
  Encoder encoder(Platform{pcsc, std::make_shared<test::VirtualHost>(), nullptr});
  encoder.Parameters(std::string("Device=") + sim::SimulatedPcsc::kDefaultReaderName);
  std::ostringstream out;
  std::ostringstream err;
  const int status = cli::RunScript(encoder, text, json, out, err);
  if (!compiled.errors.empty()) {
    FUZZ_CHECK(status == cli::kUsageError);
    FUZZ_CHECK(pcsc->transmitCount() == 0);
  } else {
    FUZZ_CHECK(status == cli::kAllSucceeded || status == cli::kSomeFailed);
  }
  return 0;
}
