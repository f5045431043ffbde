// Temporary: the parts of a mode word, named (the crypto rework brings the final version).
#pragma once

#include <cstdint>

namespace lumivex::crypto {

enum class DesAlgorithm : std::int32_t { kSingle = 0, kTriple = 1 };
enum class DesPadding : std::int32_t { kZero = 0x000, kBlank = 0x100 };
enum class DesChaining : std::int32_t {
  kEcb = 0x0000,
  kCbc = 0x1000,
  kLegacyChain = 0x2000,
  kChainedCbc = 0x4000
};

constexpr std::int32_t DesModeWord(DesAlgorithm algorithm, DesChaining chaining,
                                   DesPadding padding = DesPadding::kZero) {
  return static_cast<std::int32_t>(algorithm) | static_cast<std::int32_t>(chaining) |
         static_cast<std::int32_t>(padding);
}

}  // namespace lumivex::crypto
