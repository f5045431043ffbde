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
