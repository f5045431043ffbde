// The mode word of DesCipher::Encrypt/Decrypt and DES::Encrypt/Decrypt, by its parts: the
// algorithm in the low byte, the padding of a short last block in the next four bits, the chaining
// in the bits above. DesModeWord puts one part of each group together.
#pragma once

#include <cstdint>

namespace lumivex::crypto {

enum class DesAlgorithm : std::int32_t { kSingle = 0, kTriple = 1 };
// What completes a short last block: 00 bytes, or blanks (20).
enum class DesPadding : std::int32_t { kZero = 0x000, kBlank = 0x100 };
// ECB and CBC over the whole data; the legacy chain and chained CBC walk it block by block around
// a CBC call with the IV (see DesCipher).
enum class DesChaining : std::int32_t {
  kEcb = 0x0000,
  kCbc = 0x1000,
  kLegacyChain = 0x2000,
  kChainedCbc = 0x4000,
};

// One part of each group, as Encrypt and Decrypt take it.
constexpr std::int32_t DesModeWord(DesAlgorithm algorithm, DesChaining chaining,
                                   DesPadding padding = DesPadding::kZero) {
  return static_cast<std::int32_t>(algorithm) | static_cast<std::int32_t>(padding) |
         static_cast<std::int32_t>(chaining);
}

namespace detail {

// How the cipher reads a mode word. Any value may arrive, so the parts are taken as they are and
// checked where they are used.
inline constexpr std::int32_t kAlgorithmBits = 0xFF;
inline constexpr std::int32_t kPaddingBits = 0xF00;
inline constexpr std::uint32_t kChainingBits = 0xFFFFF000U;

constexpr bool HasChaining(std::int32_t mode, DesChaining chaining) {
  return (static_cast<std::uint32_t>(mode) & kChainingBits) == static_cast<std::uint32_t>(chaining);
}

}  // namespace detail
}  // namespace lumivex::crypto
