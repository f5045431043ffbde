// The system's cryptographic generator on Linux (getrandom) and other POSIX systems (getentropy).
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <span>

#if defined(__linux__)
#include <sys/random.h>
#else
#include <unistd.h>
#endif

namespace lumivex {

bool FillFromSystemGenerator(std::span<std::uint8_t> bytes) {
  std::size_t filled = 0;
  while (filled < bytes.size()) {
#if defined(__linux__)
    const ssize_t got = getrandom(bytes.data() + filled, bytes.size() - filled, 0);
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    filled += static_cast<std::size_t>(got);
#else
    constexpr std::size_t kMostPerCall = 256;  // getentropy's limit
    const std::size_t part = std::min(bytes.size() - filled, kMostPerCall);
    if (getentropy(bytes.data() + filled, part) != 0) return false;
    filled += part;
#endif
  }
  return true;
}

}  // namespace lumivex
