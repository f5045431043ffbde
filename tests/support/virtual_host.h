// A host seam in virtual time: waits advance the clock instantly, random numbers (the uniform ones
// and the "cryptographic" bytes) come from one seeded generator, so every run is the same.
#pragma once

#include <chrono>
#include <random>

#include "platform/host.h"

namespace lumivex::test {

class VirtualHost : public Host {
 public:
  std::chrono::system_clock::time_point Now() override { return now_; }
  LocalDateTime LocalNow() override { return local_; }
  void WaitPumpingMessages(std::chrono::milliseconds duration) override {
    waited_ += duration;
    ++waits_;
    now_ += duration + std::chrono::milliseconds(1);
  }
  void Randomize(std::uint64_t seed) override { generator_.seed(seed); }
  double Random() override { return uniform_(generator_); }
  bool FillRandom(std::span<std::uint8_t> bytes) override {
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(generator_());
    return true;
  }

  void SetLocalNow(const LocalDateTime& t) { local_ = t; }
  std::chrono::milliseconds waited() const { return waited_; }
  int waits() const { return waits_; }

 private:
  std::chrono::system_clock::time_point now_{std::chrono::hours(24 * 365 * 50)};
  LocalDateTime local_{2026, 11, 21, 9, 30, 0};
  std::chrono::milliseconds waited_{0};
  int waits_ = 0;
  std::mt19937_64 generator_{42};
  std::uniform_real_distribution<double> uniform_{0.0, 1.0};
};

// Virtual time whose cryptographic bytes are 00 11 22 ... 77 (the RndA of every authentication).
struct FixedRandomHost : VirtualHost {
  bool FillRandom(std::span<std::uint8_t> bytes) override {
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(0x11 * i);
    return true;
  }
};

}  // namespace lumivex::test
