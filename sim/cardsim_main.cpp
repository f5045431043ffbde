// lumivex-cardsim: a simulated card presented to a real pcscd through the vpcd virtual reader
// driver. The program connects to the driver on localhost, answers it as a MIFARE Classic 1K/4K or
// DESFire card, reconnects when the driver goes away, and stops on SIGTERM or SIGINT.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sim/desfire/desfire_card.h"
#include "sim/mifare/mifare_classic_card.h"
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

std::optional<std::vector<std::uint8_t>> ParseHex(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  std::string digits;
  for (const char c : text) {
    if (c == ' ' || c == ':') continue;
    if (std::isxdigit(static_cast<unsigned char>(c)) == 0) return std::nullopt;
    digits.push_back(c);
  }
  if (digits.size() % 2 != 0) return std::nullopt;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

template <std::size_t N>
bool FillUid(const std::string& text, std::array<std::uint8_t, N>& uid) {
  if (text.empty()) return true;
  const auto bytes = ParseHex(text);
  if (!bytes || bytes->size() != N) {
    (void)std::fprintf(
        stderr, "lumivex-cardsim: --uid must be %zu bytes (%zu hexadecimal digits)\n", N, 2 * N);
    return false;
  }
  std::copy(bytes->begin(), bytes->end(), uid.begin());
  return true;
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
  if (card == "desfire") {
    lumivex::sim::DesfireOptions options;
    options.seed = seed;
    if (!FillUid(uidText, options.uid)) return 2;
    reader.InsertCard(lumivex::sim::MakeDesfire(options));
  } else if (card == "mifare1k" || card == "mifare4k") {
    lumivex::sim::MifareClassicOptions options;
    options.fourK = card == "mifare4k";
    if (!FillUid(uidText, options.uid)) return 2;
    reader.InsertCard(lumivex::sim::MakeMifareClassic(options));
  }
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
