// The host seam: time, the wait that keeps the host's message queue running, and the random source.
// Production binds the real clock; tests bind virtual time so nothing sleeps.
#pragma once

#include <chrono>
#include <cstdint>

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
  // A uniform pseudo-random number in [0, 1).
  virtual double Random() = 0;
};

}  // namespace lumivex
