// The system's cryptographic generator on Windows (BCryptGenRandom, the system-preferred one).
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>

namespace lumivex {

bool FillFromSystemGenerator(std::span<std::uint8_t> bytes) {
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const auto part = static_cast<ULONG>(
        std::min<std::size_t>(bytes.size() - filled, std::numeric_limits<ULONG>::max()));
    if (!BCRYPT_SUCCESS(BCryptGenRandom(nullptr, bytes.data() + filled, part,
                                        BCRYPT_USE_SYSTEM_PREFERRED_RNG))) {
      return false;
    }
    filled += part;
  }
  return true;
}

}  // namespace lumivex
