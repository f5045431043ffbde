// The virtual card's side of the vpcd driver's TCP link: lumivex-cardsim connects to the driver
// (which a real pcscd loads as a reader) and answers its messages with a simulated reader's card.
// Every message is a 2-byte big-endian length and that many bytes. One-byte messages are controls:
// 0 power off, 1 power on, 2 reset, 4 "send your ATR"; longer ones are command APDUs, answered with
// the response APDU.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "sim/simulated_reader.h"

namespace lumivex::sim {

class VpcdClient {
 public:
  static constexpr std::uint16_t kDefaultPort = 40001;

  enum class Outcome {
    Unreachable,   // no driver listens
    DriverClosed,  // the driver went away (pcscd stopped or restarted)
    LinkDropped,   // the card left the reader or did not answer: the link was closed, since the
                   // driver has no way to report a silent card and would wait for it forever
    Stopped,       // the stop flag was raised
  };

  VpcdClient(SimulatedReader& reader, std::string host, std::uint16_t port);

  // Progress lines ("connected", "ATR sent", ...); none by default.
  void SetLog(std::function<void(const std::string&)> log) { log_ = std::move(log); }

  // The answer to one message of the driver: none for the controls that want no answer, an empty
  // one when the card did not answer (ServeOnce then closes the link).
  std::optional<std::vector<std::uint8_t>> Answer(std::span<const std::uint8_t> message);

  // One connection: connects and serves it until it ends.
  Outcome ServeOnce(const std::atomic<bool>& stop);
  // Serves, connecting again whenever the driver goes away or cannot be reached yet, until the
  // stop flag is raised. While the reader holds no card, nothing is presented to the driver.
  void Run(const std::atomic<bool>& stop,
           std::chrono::milliseconds retryDelay = std::chrono::milliseconds(500));

 private:
  void Log(const std::string& line) const {
    if (log_) log_(line);
  }

  SimulatedReader& reader_;
  std::string host_;
  std::uint16_t port_;
  std::function<void(const std::string&)> log_;
  bool dropLink_ = false;
};

}  // namespace lumivex::sim
