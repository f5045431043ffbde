// lumivex-cardsim: a simulated card presented to a real pcscd through the vpcd virtual reader
// driver. The program connects to the driver on localhost, answers it as a MIFARE Classic 1K/4K or
// DESFire card, reconnects when the driver goes away, and stops on SIGTERM or SIGINT.
#include <CLI/CLI.hpp>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>

#include "sim/card_factory.h"
#include "sim/simulated_reader.h"
#include "sim/vpcd_client.h"

namespace {

std::atomic<bool> stopRequested{false};

extern "C" void OnStopSignal(int /*signal*/) {
  stopRequested = true;
}

void InstallStopHandlers() {
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  (void)sigaction(SIGTERM, &action, nullptr);
  (void)sigaction(SIGINT, &action, nullptr);
  (void)std::signal(SIGPIPE, SIG_IGN);
}

int Run(int argc, char** argv) {
  using lumivex::sim::Fault;
  CLI::App app{"Presents a simulated contactless card to pcscd through the vpcd reader driver"};
  std::uint16_t port = lumivex::sim::VpcdClient::kDefaultPort;
  std::string host = "localhost";
  std::string card = "mifare1k";
  std::string uidText;
  std::uint64_t seed = 1;
  std::string faultName = "none";
  std::size_t faultFrames = 0;
  app.add_option("--port", port, "TCP port of the vpcd driver")->capture_default_str();
  app.add_option("--host", host, "host of the vpcd driver")->capture_default_str();
  app.add_option("--card", card, "the card in the reader")
      ->check(CLI::IsMember({"desfire", "mifare1k", "mifare4k", "none"}))
      ->capture_default_str();
  app.add_option("--uid", uidText, "the card's UID in hexadecimal (4 bytes MIFARE, 7 DESFire)");
  app.add_option("--seed", seed, "seed of the card's and the reader's random numbers")
      ->capture_default_str();
  const std::map<std::string, Fault> faults{{"none", Fault::None},
                                            {"mute", Fault::Mute},
                                            {"garbage", Fault::Garbage},
                                            {"endless91af", Fault::Endless91AF},
                                            {"remove-after", Fault::RemoveAfter}};
  app.add_option("--fault", faultName, "misbehave: mute, garbage, endless91af, remove-after")
      ->check(CLI::IsMember({"none", "mute", "garbage", "endless91af", "remove-after"}))
      ->capture_default_str();
  app.add_option("--fault-frames", faultFrames, "frames served before remove-after takes the card");
  CLI11_PARSE(app, argc, argv);

  lumivex::sim::SimulatedReader reader(seed);
  lumivex::sim::CardChoice choice = lumivex::sim::MakeCard(card, uidText, seed);
  if (!choice.ok()) {
    (void)std::fprintf(stderr, "lumivex-cardsim: %s\n", choice.error.c_str());
    return 2;
  }
  if (choice.card) reader.InsertCard(std::move(choice.card));
  reader.SetFault(faults.at(faultName), faultFrames);

  InstallStopHandlers();
  lumivex::sim::VpcdClient client(reader, host, port);
  client.SetLog([](const std::string& line) {
    (void)std::fprintf(stderr, "lumivex-cardsim: %s\n", line.c_str());
    (void)std::fflush(stderr);
  });
  (void)std::fprintf(stderr, "lumivex-cardsim: card %s, vpcd at %s:%u\n", card.c_str(),
                     host.c_str(), static_cast<unsigned>(port));
  client.Run(stopRequested);
  (void)std::fprintf(stderr, "lumivex-cardsim: stopped\n");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "lumivex-cardsim: %s\n", failure.what());
    return 1;
  }
}
