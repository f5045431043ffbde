// A whole DESFire personalisation on the in-process simulator, as a printing station runs it for
// every card: root authentication, format, one application whose master key becomes a 2K3DES key,
// four files, data, a record, a credit and a debit, the commit and a read-back. Each iteration
// encodes one fresh card on a fresh Encoder. Reported per card: the time and the heap
// allocations (operator new calls, counted by this program), in all and of the simulated card
// alone (the same frames replayed to a fresh card), so that the component's share is their
// difference.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/allocation_counter.h"
#include "component/encoder.h"
#include "sim/desfire/desfire_card.h"
#include "sim/simulated_pcsc.h"
#include "tests/support/virtual_host.h"

namespace {

using namespace lumivex;

constexpr const char* kFactoryKey = "0000000000000000";
constexpr const char* kAppMasterKey = "00112233445566778899AABBCCDDEEFF";
constexpr const char* kAppId = "A1B2C3";

// One card, start to end; false when a step failed (the benchmark then reports an error).
bool Personalise(Encoder& e) {
  const std::string data(240, 'A');  // 120 bytes in hexadecimal
  std::string read;
  std::int32_t value = 0;
  bool ok = e.OpenEncoder(0) == sceSuccess;
  ok = ok && e.DESFireSelectRoot(kFactoryKey) == sceSuccess;
  ok = ok && e.DESFireFormat() == sceSuccess;
  ok = ok && e.DESFireCreateApplication(kAppId, dfkApplDefault, 3) == sceSuccess;
  ok = ok && e.DESFireSelectApplication(kAppId, 0, kFactoryKey) == sceSuccess;
  ok = ok && e.DESFireChangeKey(0, kFactoryKey, kAppMasterKey) == sceSuccess;
  ok = ok && e.DESFireSelectApplication(kAppId, 0, kAppMasterKey) == sceSuccess;
  ok = ok && e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 128) == sceSuccess;
  ok = ok && e.DESFireCreateBackupDataFile(2, dfcPlain, 0, 0, 0, 0, 32) == sceSuccess;
  ok = ok && e.DESFireCreateValueFile(3, dfcPlain, 0, 0, 0, 0, 0, 10000, 0, true) == sceSuccess;
  ok = ok && e.DESFireCreateLinearRecordFile(4, dfcPlain, 0, 0, 0, 0, 16, 10) == sceSuccess;
  ok = ok && e.DESFireWriteData(1, 0, 0, data, true) == sceSuccess;
  ok = ok && e.DESFireReadData(1, 0, 120, read, true) == sceSuccess;
  ok = ok && e.DESFireWriteData(2, 0, 0, "Printed by Lumivex", false) == sceSuccess;
  ok = ok && e.DESFireCredit(3, 500) == sceSuccess;
  ok = ok && e.DESFireDebit(3, 120) == sceSuccess;
  ok = ok && e.DESFireWriteRecord(4, 0, 0, std::string(32, 'B'), true) == sceSuccess;
  ok = ok && e.DESFireCommitTransaction() == sceSuccess;
  ok = ok && e.DESFireGetValue(3, value) == sceSuccess && value == 380;
  ok = ok && e.CloseEncoder() == sceSuccess;
  return ok;
}

// A simulated reader that keeps every frame it is sent.
class RecordingPcsc : public sim::SimulatedPcsc {
 public:
  PcscLong Transmit(PcscHandle card, const PcscIoRequest* sendPci, const std::uint8_t* sendBuffer,
                    PcscDword sendLength, PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                    PcscDword* recvLength) override {
    frames.emplace_back(sendBuffer, sendBuffer + sendLength);
    return SimulatedPcsc::Transmit(card, sendPci, sendBuffer, sendLength, recvPci, recvBuffer,
                                   recvLength);
  }
  std::vector<std::vector<std::uint8_t>> frames;
};

// The allocations of the simulated card alone: one personalisation's frames, replayed to a fresh
// card (the card's random numbers come from the same seed, so it answers them the same way).
double SimulatorAllocations() {
  auto recording = std::make_shared<RecordingPcsc>();
  recording->InsertCard(sim::MakeDesfire());
  {
    Encoder encoder(Platform{recording, std::make_shared<test::VirtualHost>(), nullptr});
    encoder.Parameters(std::string("Device=") + sim::SimulatedPcsc::kDefaultReaderName);
    if (!Personalise(encoder)) return 0;
  }
  sim::SimulatedReader reader;
  reader.InsertCard(sim::MakeDesfire());
  const std::size_t before = lumivex::bench::AllocationCount();
  for (const auto& frame : recording->frames) benchmark::DoNotOptimize(reader.Transmit(frame));
  return static_cast<double>(lumivex::bench::AllocationCount() - before);
}

void BM_DesfirePersonalisation(benchmark::State& state) {
  std::size_t cards = 0;
  std::size_t allocated = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop idiom
    state.PauseTiming();
    auto pcsc = std::make_shared<sim::SimulatedPcsc>();
    pcsc->InsertCard(sim::MakeDesfire());
    auto encoder =
        std::make_unique<Encoder>(Platform{pcsc, std::make_shared<test::VirtualHost>(), nullptr});
    encoder->Parameters(std::string("Device=") + sim::SimulatedPcsc::kDefaultReaderName);
    const std::size_t before = lumivex::bench::AllocationCount();
    state.ResumeTiming();
    const bool ok = Personalise(*encoder);
    state.PauseTiming();
    allocated += lumivex::bench::AllocationCount() - before;
    ++cards;
    encoder.reset();
    state.ResumeTiming();
    if (!ok) {
      state.SkipWithError("a personalisation step failed");
      break;
    }
  }
  const double all = cards == 0 ? 0.0 : static_cast<double>(allocated) / cards;
  const double simulator = SimulatorAllocations();
  state.counters["allocs_per_card"] = benchmark::Counter(all);
  state.counters["of_simulator"] = benchmark::Counter(simulator);
  state.counters["of_component"] = benchmark::Counter(all - simulator);
}

BENCHMARK(BM_DesfirePersonalisation)->Unit(benchmark::kMicrosecond);

}  // namespace
