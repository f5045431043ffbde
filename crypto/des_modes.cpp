// The two outer chainings of Encrypt and Decrypt. Both walk the data block by block, with an
// outer chaining value X that starts as eight bytes 00, and pass each block through the block
// routine in CBC (the mode word with its chaining bits exchanged), so that every block also meets
// the stored IV: the per-block call computes E(B XOR IV) or D(B) XOR IV.
#include <algorithm>
#include <string>

#include "crypto/des_cipher.h"
#include "crypto/hex_codec.h"

namespace lumivex::crypto::detail {
namespace {

constexpr std::size_t kDigitsPerBlock = 16;

void XorInto(std::span<std::uint8_t> target, const Block8& x) {
  for (std::size_t i = 0; i < target.size() && i < x.size(); ++i) target[i] ^= x[i];
}

void CopyInto(Block8& x, std::span<const std::uint8_t> block) {
  x.fill(0);
  std::copy_n(block.begin(), std::min(block.size(), x.size()), x.begin());
}

}  // namespace

// Deciphering: each block Ii of 16 digits gives Oi = D(Ii XOR X) XOR IV, then X = Oi. A short last
// block is not completed: the block routine pads it after the XOR.
// Enciphering, its inverse: each block, completed with "0" digits to 16, gives
// Oi = E(Ii XOR IV) XOR X, then X = Ii.
std::vector<std::uint8_t> LegacyChain(int direction, std::string_view data, std::int32_t mode,
                                      const KeySlots& keys, const Block8& iv) {
  const std::int32_t perBlock = mode ^ 0x3000;
  std::vector<std::uint8_t> out;
  out.reserve((data.size() + kDigitsPerBlock - 1) / kDigitsPerBlock * 8);
  Block8 x{};
  for (std::size_t pos = 0; pos < data.size(); pos += kDigitsPerBlock) {
    const std::string_view piece = data.substr(pos, kDigitsPerBlock);
    if (direction == kDecipher) {
      std::vector<std::uint8_t> block = ParseHex(piece, Separators::kRefused);
      XorInto(block, x);
      const std::vector<std::uint8_t> o = BlockRoutine(kDecipher, block, perBlock, keys, iv);
      CopyInto(x, o);
      out.insert(out.end(), o.begin(), o.end());
    } else {
      std::string completed(piece);
      completed.resize(kDigitsPerBlock, '0');
      const std::vector<std::uint8_t> in = ParseHex(completed, Separators::kRefused);
      std::vector<std::uint8_t> o = BlockRoutine(kEncipher, in, perBlock, keys, iv);
      XorInto(o, x);
      CopyInto(x, in);
      out.insert(out.end(), o.begin(), o.end());
    }
  }
  return out;
}

// Enciphering: the data as compact hex text, completed with "0" digits to whole blocks; each
// block Pi gives Ci = E((Pi XOR X) XOR IV), then X = Ci.
// Deciphering: each block Ci of 16 digits gives Pi = (D(Ci) XOR IV) XOR X, then X = Ci; a short
// last block is padded by the block routine.
std::vector<std::uint8_t> ChainedCbc(int direction, std::string_view data, std::int32_t mode,
                                     const KeySlots& keys, const Block8& iv) {
  const std::int32_t perBlock = mode ^ 0x5000;
  Block8 x{};
  std::vector<std::uint8_t> out;
  if (direction == kEncipher) {
    std::vector<std::uint8_t> plain = ParseHex(data, Separators::kSkipped);
    plain.resize((plain.size() + 7) / 8 * 8, 0x00);
    out.reserve(plain.size());
    for (std::size_t offset = 0; offset < plain.size(); offset += 8) {
      std::span<std::uint8_t> block(plain.data() + offset, 8);
      XorInto(block, x);
      const std::vector<std::uint8_t> c = BlockRoutine(kEncipher, block, perBlock, keys, iv);
      CopyInto(x, c);
      out.insert(out.end(), c.begin(), c.end());
    }
    return out;
  }
  out.reserve((data.size() + kDigitsPerBlock - 1) / kDigitsPerBlock * 8);
  for (std::size_t pos = 0; pos < data.size(); pos += kDigitsPerBlock) {
    const std::vector<std::uint8_t> c =
        ParseHex(data.substr(pos, kDigitsPerBlock), Separators::kRefused);
    std::vector<std::uint8_t> p = BlockRoutine(kDecipher, c, perBlock, keys, iv);
    XorInto(p, x);
    CopyInto(x, c);
    out.insert(out.end(), p.begin(), p.end());
  }
  return out;
}

}  // namespace lumivex::crypto::detail
