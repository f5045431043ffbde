// The host seam: time, the wait that keeps the host's message queue running, and the random
// sources. Production binds the real clock and the system's cryptographic generator; tests bind
// virtual time and deterministic numbers so nothing sleeps and every run is the same.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>

namespace lumivex {

struct LocalDateTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

class Host {
 public:
  virtual ~Host() = default;

  // Wall-clock time.
  virtual std::chrono::system_clock::time_point Now() = 0;
  // The machine's local date and time (names of the card-list values written for unknown cards).
  virtual LocalDateTime LocalNow() = 0;
  // Waits until Now() is past now + duration, letting the host's message queue run meanwhile
  // (so host calls may re-enter during the wait).
  virtual void WaitPumpingMessages(std::chrono::milliseconds duration) = 0;
  // Seeds the uniform pseudo-random generator.
  virtual void Randomize(std::uint64_t seed) = 0;
  // A uniform pseudo-random number in [0, 1) (the number GetInformation shows; never key material).
  virtual double Random() = 0;
  // Fills bytes from the operating system's cryptographic generator (random challenges of an
  // authentication). False, with the bytes unspecified, when the generator cannot deliver.
  virtual bool FillRandom(std::span<std::uint8_t> bytes) = 0;
};

}  // namespace lumivex
