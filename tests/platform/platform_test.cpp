#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <vector>

#include "platform/platform.h"
#include "platform/posix/pcsc_lite_api.h"
#include "platform/system_host.h"

namespace lumivex {
namespace {

TEST(PcscLiteApi, RefusesBadHandlesAndAnAutomaticLengthWithABuffer) {
  PcscLiteApi api;
  EXPECT_EQ(ScardCode(api.ReleaseContext(0x1234567)), scard::E_INVALID_HANDLE);
  char readers[16] = {};
  PcscDword length = scard::AUTOALLOCATE;
  EXPECT_EQ(ScardCode(api.ListReaders(0x1234567, readers, &length)), scard::E_INVALID_PARAMETER);
  EXPECT_EQ(ScardCode(api.Disconnect(0x1234567, scard::LEAVE_CARD)), scard::E_INVALID_HANDLE);
}

// The uniform numbers (GetInformation's, never key material) stay in [0, 1).
TEST(SystemHost, DrawsNumbersInTheUnitInterval) {
  SystemHost host;
  host.Randomize(7);
  for (int i = 0; i < 1000; ++i) {
    const double x = host.Random();
    ASSERT_TRUE(x >= 0.0 && x < 1.0) << x;
  }
}

// The cryptographic bytes come from the system, not from the seeded generator: reseeding does not
// repeat them, and a long draw covers every byte value.
TEST(SystemHost, FillsBytesFromTheSystemGeneratorNotTheSeededOne) {
  SystemHost host;
  std::array<std::uint8_t, 32> first{};
  std::array<std::uint8_t, 32> second{};
  host.Randomize(7);
  ASSERT_TRUE(host.FillRandom(first));
  host.Randomize(7);
  ASSERT_TRUE(host.FillRandom(second));
  EXPECT_NE(first, second);
  std::vector<std::uint8_t> many(std::size_t{1} << 16);
  ASSERT_TRUE(host.FillRandom(many));
  std::array<bool, 256> seen{};
  for (const std::uint8_t byte : many) seen[byte] = true;
  EXPECT_EQ(std::count(seen.begin(), seen.end(), true), 256);
}

TEST(SystemHost, WaitsAtLeastTheDuration) {
  SystemHost host;
  const auto start = std::chrono::steady_clock::now();
  host.WaitPumpingMessages(std::chrono::milliseconds(5));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5));
}

}  // namespace
}  // namespace lumivex
