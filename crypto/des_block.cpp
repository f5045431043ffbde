#include "crypto/des_block.h"

#include "crypto/des_tables.h"
#include "crypto/secure_memory.h"

namespace lumivex::crypto {
namespace {

constexpr detail::SpTables kSp = detail::MakeSpTables();
constexpr detail::Pc1Tables kPc1 = detail::MakePc1Tables();
constexpr detail::Pc2Tables kPc2 = detail::MakePc2Tables();

constexpr std::uint32_t kMask28 = 0x0FFFFFFF;

constexpr std::uint32_t Rotate28(std::uint32_t x, int n) {
  return ((x << n) | (x >> (28 - n))) & kMask28;
}

// Exchanges the bits of a selected by mask, shifted left by shift, with the bits of b under mask.
inline void DeltaSwap(std::uint32_t& a, std::uint32_t& b, int shift, std::uint32_t mask) {
  const std::uint32_t t = ((a >> shift) ^ b) & mask;
  b ^= t;
  a ^= t << shift;
}

// The initial permutation as five exchanges of bit groups between the two halves.
inline void InitialPermutation(std::uint32_t& l, std::uint32_t& r) {
  DeltaSwap(l, r, 4, 0x0F0F0F0F);
  DeltaSwap(l, r, 16, 0x0000FFFF);
  DeltaSwap(r, l, 2, 0x33333333);
  DeltaSwap(r, l, 8, 0x00FF00FF);
  DeltaSwap(l, r, 1, 0x55555555);
}

// The final permutation: the same exchanges in reverse order.
inline void FinalPermutation(std::uint32_t& l, std::uint32_t& r) {
  DeltaSwap(l, r, 1, 0x55555555);
  DeltaSwap(r, l, 8, 0x00FF00FF);
  DeltaSwap(r, l, 2, 0x33333333);
  DeltaSwap(l, r, 16, 0x0000FFFF);
  DeltaSwap(l, r, 4, 0x0F0F0F0F);
}

// The cipher function f on a half kept rotated right by one bit (see des_tables.h).
inline std::uint32_t F(std::uint32_t r, std::uint64_t key) {
  const std::uint32_t x = r ^ static_cast<std::uint32_t>(key >> 32);
  const std::uint32_t y = detail::RotateRight(r, 4) ^ static_cast<std::uint32_t>(key);
  return kSp[0][x >> 26] ^ kSp[2][(x >> 18) & 0x3F] ^ kSp[4][(x >> 10) & 0x3F] ^
         kSp[6][(x >> 2) & 0x3F] ^ kSp[7][y >> 26] ^ kSp[1][(y >> 18) & 0x3F] ^
         kSp[3][(y >> 10) & 0x3F] ^ kSp[5][(y >> 2) & 0x3F];
}

// IP, the 16 rounds with the round keys in order (enciphering) or reversed (deciphering), FP.
inline std::uint64_t Crypt(std::uint64_t block, const std::array<std::uint64_t, 16>& keys,
                           bool reverse) {
  auto l = static_cast<std::uint32_t>(block >> 32);
  auto r = static_cast<std::uint32_t>(block);
  InitialPermutation(l, r);
  l = detail::RotateRight(l, 1);
  r = detail::RotateRight(r, 1);
  if (!reverse) {
    for (int i = 0; i < 16; i += 2) {
      l ^= F(r, keys[i]);
      r ^= F(l, keys[i + 1]);
    }
  } else {
    for (int i = 15; i > 0; i -= 2) {
      l ^= F(r, keys[i]);
      r ^= F(l, keys[i - 1]);
    }
  }
  // The output block is R16 || L16.
  std::uint32_t hi = detail::RotateRight(r, 31);
  std::uint32_t lo = detail::RotateRight(l, 31);
  FinalPermutation(hi, lo);
  return (std::uint64_t{hi} << 32) | lo;
}

}  // namespace

DesKeySchedule::~DesKeySchedule() {
  SecureWipe(rounds_.data(), sizeof(rounds_));
}

void DesKeySchedule::Set(std::uint64_t key) {
  std::uint64_t cd = 0;
  for (int n = 0; n < 16; ++n) cd |= kPc1[n][(key >> (60 - 4 * n)) & 0xF];
  auto c = static_cast<std::uint32_t>(cd >> 28) & kMask28;
  auto d = static_cast<std::uint32_t>(cd) & kMask28;
  for (int round = 0; round < 16; ++round) {
    c = Rotate28(c, detail::kKeyShifts[round]);
    d = Rotate28(d, detail::kKeyShifts[round]);
    std::uint64_t k = 0;
    for (int m = 0; m < 4; ++m) {
      k |= kPc2[m][(c >> (21 - 7 * m)) & 0x7F];
      k |= kPc2[4 + m][(d >> (21 - 7 * m)) & 0x7F];
    }
    rounds_[round] = k;
  }
  SecureWipe(&cd, sizeof(cd));
  SecureWipe(&c, sizeof(c));
  SecureWipe(&d, sizeof(d));
}

std::uint64_t DesKeySchedule::Encrypt(std::uint64_t block) const {
  return Crypt(block, rounds_, false);
}

std::uint64_t DesKeySchedule::Decrypt(std::uint64_t block) const {
  return Crypt(block, rounds_, true);
}

std::uint64_t LoadBlock(std::span<const std::uint8_t, 8> bytes) {
  std::uint64_t block = 0;
  for (const std::uint8_t b : bytes) block = (block << 8) | b;
  return block;
}

void StoreBlock(std::uint64_t block, std::span<std::uint8_t, 8> bytes) {
  for (int i = 7; i >= 0; --i) {
    bytes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(block);
    block >>= 8;
  }
}

}  // namespace lumivex::crypto
