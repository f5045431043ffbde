// The cipher behind DES::Encrypt and DES::Decrypt, on bytes. Private to crypto/.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace lumivex::crypto::detail {

using KeySlots = std::array<std::array<std::uint8_t, 8>, 3>;
using Block8 = std::array<std::uint8_t, 8>;

// Direction of a call: 0 enciphers, 1 deciphers.
inline constexpr int kEncipher = 0;
inline constexpr int kDecipher = 1;

// The block routine. Empty data gives nothing at once. Otherwise a short last block is padded
// (the padding group of the mode is checked only then: 0x000 pads with 00, 0x100 with 20, others
// raise "Bad padding mode"), the chaining part must be ECB or CBC ("Invalid chaining mode"), and
// every 8-byte block goes through DES (slot 1) or triple DES EDE (slots 1, 2, 3), CBC starting
// from iv. The algorithm part must already have been checked.
std::vector<std::uint8_t> BlockRoutine(int direction, std::span<const std::uint8_t> data,
                                       std::int32_t mode, const KeySlots& keys, const Block8& iv);

// The outer chainings done around per-block calls of the block routine in CBC, on hexadecimal
// text as Encrypt and Decrypt receive it (see des_modes.cpp).
std::vector<std::uint8_t> LegacyChain(int direction, std::string_view data, std::int32_t mode,
                                      const KeySlots& keys, const Block8& iv);
std::vector<std::uint8_t> ChainedCbc(int direction, std::string_view data, std::int32_t mode,
                                     const KeySlots& keys, const Block8& iv);

}  // namespace lumivex::crypto::detail

// Temporary byte-level cipher over the routines above (the crypto rework brings the final one).
#include <string>
#include "crypto/des_errors.h"
#include "crypto/hex_codec.h"
#include "crypto/secure_memory.h"
#include "crypto/crc16.h"
namespace lumivex::crypto {
class DesCipher {
 public:
  DesCipher() = default;
  ~DesCipher() { SecureWipe(keys_.data(), sizeof(keys_)); SecureWipe(iv_.data(), iv_.size()); }
  DesCipher(const DesCipher&) = delete;
  DesCipher& operator=(const DesCipher&) = delete;
  void SetKey(std::int16_t slot, std::span<const std::uint8_t, 8> key) {
    if (slot < 1 || slot > 3) RaiseDesError(kDesBadKeyIndex);
    std::copy(key.begin(), key.end(), keys_[static_cast<std::size_t>(slot - 1)].begin());
  }
  void SetInitVector(std::span<const std::uint8_t, 8> iv) { std::copy(iv.begin(), iv.end(), iv_.begin()); }
  std::vector<std::uint8_t> Encrypt(std::span<const std::uint8_t> data, std::int32_t mode) const { return Run(detail::kEncipher, data, mode); }
  std::vector<std::uint8_t> Decrypt(std::span<const std::uint8_t> data, std::int32_t mode) const { return Run(detail::kDecipher, data, mode); }
 private:
  std::vector<std::uint8_t> Run(int direction, std::span<const std::uint8_t> data, std::int32_t mode) const {
    if ((mode & 0xFF) > 1) RaiseDesError(kDesInvalidAlgorithm);
    const std::string text = detail::FormatHex(data, false);
    switch (static_cast<std::uint32_t>(mode) & 0xFFFFF000U) {
      case 0x2000: return detail::LegacyChain(direction, text, mode, keys_, iv_);
      case 0x4000: return detail::ChainedCbc(direction, text, mode, keys_, iv_);
      default: return detail::BlockRoutine(direction, data, mode, keys_, iv_);
    }
  }
  detail::KeySlots keys_{};
  detail::Block8 iv_{};
};
}  // namespace lumivex::crypto
