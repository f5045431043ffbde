// The host seam bound to the real clock, a real wait, a seeded pseudo-random generator and the
// system's cryptographic generator.
#pragma once

#include <random>

#include "platform/host.h"

namespace lumivex {

class SystemHost : public Host {
 public:
  std::chrono::system_clock::time_point Now() override;
  LocalDateTime LocalNow() override;
  void WaitPumpingMessages(std::chrono::milliseconds duration) override;
  void Randomize(std::uint64_t seed) override;
  double Random() override;
  bool FillRandom(std::span<std::uint8_t> bytes) override;

 private:
  // Seeded again by Randomize(), which the Encoder calls from the clock.
  std::mt19937_64 generator_{std::random_device{}()};
  std::uniform_real_distribution<double> uniform_{0.0, 1.0};
};

}  // namespace lumivex
