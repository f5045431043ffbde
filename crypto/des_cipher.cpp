#include "crypto/des_cipher.h"

#include <algorithm>

#include "crypto/des_block.h"
#include "crypto/des_errors.h"

namespace lumivex::crypto::detail {
namespace {

constexpr std::uint32_t kChainingMask = 0xFFFFF000U;
constexpr std::uint32_t kChainingEcb = 0x0000;
constexpr std::uint32_t kChainingCbc = 0x1000;

// Single DES or triple DES EDE over one 64-bit block.
class Cipher {
 public:
  Cipher(const KeySlots& keys, bool triple) : triple_(triple) {
    k1_.Set(LoadBlock(keys[0]));
    if (triple_) {
      k2_.Set(LoadBlock(keys[1]));
      k3_.Set(LoadBlock(keys[2]));
    }
  }

  [[nodiscard]] std::uint64_t Encipher(std::uint64_t b) const {
    if (!triple_) return k1_.Encrypt(b);
    return k3_.Encrypt(k2_.Decrypt(k1_.Encrypt(b)));
  }
  [[nodiscard]] std::uint64_t Decipher(std::uint64_t b) const {
    if (!triple_) return k1_.Decrypt(b);
    return k1_.Decrypt(k2_.Encrypt(k3_.Decrypt(b)));
  }

 private:
  bool triple_;
  DesKeySchedule k1_, k2_, k3_;
};

}  // namespace

std::vector<std::uint8_t> BlockRoutine(int direction, std::span<const std::uint8_t> data,
                                       std::int32_t mode, const KeySlots& keys, const Block8& iv) {
  if (data.empty()) return {};
  const std::size_t padding = (8 - data.size() % 8) % 8;
  std::uint8_t padByte = 0x00;
  if (padding > 0) {
    switch (mode & 0xF00) {
      case 0x000:
        break;
      case 0x100:
        padByte = 0x20;
        break;
      default:
        RaiseDesError(kDesBadPaddingMode);
    }
  }
  const std::uint32_t chaining = static_cast<std::uint32_t>(mode) & kChainingMask;
  if (chaining != kChainingEcb && chaining != kChainingCbc) RaiseDesError(kDesInvalidChaining);
  const bool cbc = chaining == kChainingCbc;

  std::vector<std::uint8_t> out(data.size() + padding, padByte);
  std::copy(data.begin(), data.end(), out.begin());
  const Cipher cipher(keys, (mode & 0xFF) == 1);
  std::uint64_t chain = LoadBlock(iv);
  for (std::size_t offset = 0; offset < out.size(); offset += 8) {
    const std::span<std::uint8_t, 8> bytes(out.data() + offset, 8);
    const std::uint64_t in = LoadBlock(bytes);
    std::uint64_t result = 0;
    if (direction == kEncipher) {
      result = cipher.Encipher(cbc ? in ^ chain : in);
      chain = result;
    } else {
      result = cipher.Decipher(in);
      if (cbc) result ^= chain;
      chain = in;
    }
    StoreBlock(result, bytes);
  }
  return out;
}

}  // namespace lumivex::crypto::detail
