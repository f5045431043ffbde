#include "platform/system_host.h"

#include <algorithm>
#include <ctime>

namespace lumivex {

// Runs the host's pending window messages for a moment (no-op where there is no message queue).
void PumpHostMessages(std::chrono::milliseconds slice);
// Fills bytes from the system's cryptographic generator; false when it cannot deliver.
bool FillFromSystemGenerator(std::span<std::uint8_t> bytes);

std::chrono::system_clock::time_point SystemHost::Now() {
  return std::chrono::system_clock::now();
}

LocalDateTime SystemHost::LocalNow() {
  const std::time_t now = std::chrono::system_clock::to_time_t(Now());
  std::tm local{};
#if defined(_WIN32)
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
          local.tm_hour,        local.tm_min,     local.tm_sec};
}

void SystemHost::WaitPumpingMessages(std::chrono::milliseconds duration) {
  const auto deadline = Now() + duration;
  while (Now() <= deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Now());
    PumpHostMessages(std::clamp(left, std::chrono::milliseconds(1), std::chrono::milliseconds(20)));
  }
}

void SystemHost::Randomize(std::uint64_t seed) {
  generator_.seed(seed);
}

double SystemHost::Random() {
  return uniform_(generator_);
}

bool SystemHost::FillRandom(std::span<std::uint8_t> bytes) {
  return FillFromSystemGenerator(bytes);
}

}  // namespace lumivex
