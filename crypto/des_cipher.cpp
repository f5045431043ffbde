#include "crypto/des_cipher.h"

#include <algorithm>

#include "crypto/secure_memory.h"

namespace lumivex::crypto {
namespace {

constexpr std::size_t kBlock = 8;

// The byte that completes a short last block, as the padding group of the mode says.
std::uint8_t PadByte(std::int32_t mode) {
  switch (static_cast<DesPadding>(mode & detail::kPaddingBits)) {
    case DesPadding::kZero:
      return 0x00;
    case DesPadding::kBlank:
      return 0x20;
  }
  RaiseDesError(kDesBadPaddingMode);
}

void XorInto(std::span<std::uint8_t> target, std::span<const std::uint8_t> x) {
  for (std::size_t i = 0; i < target.size(); ++i) target[i] ^= x[i];
}

}  // namespace

// A zero key's round keys are all zero, which is what the schedules hold to start with.
DesCipher::DesCipher() = default;

DesCipher::~DesCipher() {
  SecureWipe(iv_.data(), iv_.size());
}

void DesCipher::SetKey(std::int16_t slot, std::span<const std::uint8_t, 8> key) {
  detail::CheckKeySlot(slot);
  std::uint64_t value = LoadBlock(key);
  keys_[static_cast<std::size_t>(slot - 1)].Set(value);
  SecureWipe(&value, sizeof(value));
}

void DesCipher::SetInitVector(std::span<const std::uint8_t, 8> iv) {
  std::copy(iv.begin(), iv.end(), iv_.begin());
}

std::vector<std::uint8_t> DesCipher::Encrypt(std::span<const std::uint8_t> data,
                                             std::int32_t mode) const {
  return Run(false, data, mode);
}

std::vector<std::uint8_t> DesCipher::Decrypt(std::span<const std::uint8_t> data,
                                             std::int32_t mode) const {
  return Run(true, data, mode);
}

void DesCipher::EncryptEcb(std::span<const std::uint8_t> data, std::span<std::uint8_t> out,
                           DesAlgorithm algorithm) const {
  Ecb(false, data, out, static_cast<std::int32_t>(algorithm));
}

void DesCipher::DecryptEcb(std::span<const std::uint8_t> data, std::span<std::uint8_t> out,
                           DesAlgorithm algorithm) const {
  Ecb(true, data, out, static_cast<std::int32_t>(algorithm));
}

void DesCipher::Ecb(bool decipher, std::span<const std::uint8_t> data, std::span<std::uint8_t> out,
                    std::int32_t algorithm) const {
  // An algorithm alone: nothing may stand beside it.
  if ((algorithm & ~detail::kAlgorithmBits) != 0) RaiseDesError(kDesInvalidAlgorithm);
  detail::CheckAlgorithm(algorithm);
  if (data.size() % kBlock != 0 || out.size() != data.size()) RaiseDesError(kDesBadParameterType);
  const bool triple = algorithm == static_cast<std::int32_t>(DesAlgorithm::kTriple);
  detail::EcbCrypt(decipher, std::span(keys_).first(triple ? 3 : 1), data, out);
}

std::vector<std::uint8_t> DesCipher::Run(bool decipher, std::span<const std::uint8_t> data,
                                         std::int32_t mode) const {
  detail::CheckAlgorithm(mode);
  if (data.empty()) return {};
  if (detail::HasChaining(mode, DesChaining::kLegacyChain) ||
      detail::HasChaining(mode, DesChaining::kChainedCbc)) {
    return OuterChain(decipher, data, mode);
  }
  return WholeData(decipher, data, mode);
}

// ECB or CBC over the data, a short last block padded.
std::vector<std::uint8_t> DesCipher::WholeData(bool decipher, std::span<const std::uint8_t> data,
                                               std::int32_t mode) const {
  const std::size_t padding = (kBlock - data.size() % kBlock) % kBlock;
  const std::uint8_t padByte = padding > 0 ? PadByte(mode) : 0x00;
  const bool cbc = detail::HasChaining(mode, DesChaining::kCbc);
  if (!cbc && !detail::HasChaining(mode, DesChaining::kEcb)) RaiseDesError(kDesInvalidChaining);

  std::vector<std::uint8_t> out(data.size() + padding, padByte);
  std::copy(data.begin(), data.end(), out.begin());
  const std::int32_t algorithm = mode & detail::kAlgorithmBits;
  if (cbc && !decipher) {
    // Each block needs the one before it enciphered.
    std::span<const std::uint8_t> chain = iv_;
    for (std::size_t at = 0; at < out.size(); at += kBlock) {
      const std::span<std::uint8_t> block(out.data() + at, kBlock);
      XorInto(block, chain);
      Ecb(false, block, block, algorithm);
      chain = block;
    }
    return out;
  }
  Ecb(decipher, out, out, algorithm);
  if (cbc) {
    // Block i joins the cipher block before it, which the data still holds (only the last block
    // can be short, and it is never the one before another).
    XorInto(std::span(out).first(kBlock), iv_);
    for (std::size_t at = kBlock; at < out.size(); at += kBlock) {
      XorInto(std::span(out).subspan(at, kBlock), data.subspan(at - kBlock, kBlock));
    }
  }
  return out;
}

void DesCipher::CbcWithIv(bool decipher, Block& block, std::int32_t algorithm) const {
  if (!decipher) XorInto(block, iv_);
  Ecb(decipher, block, block, algorithm);
  if (decipher) XorInto(block, iv_);
}

// The legacy chain and chained CBC, one block at a time (see the header). X joins a block before
// the cipher where its output becomes the next X, and after it where its input does.
std::vector<std::uint8_t> DesCipher::OuterChain(bool decipher, std::span<const std::uint8_t> data,
                                                std::int32_t mode) const {
  const bool legacy = detail::HasChaining(mode, DesChaining::kLegacyChain);
  const bool xBefore = legacy == decipher;
  const std::int32_t algorithm = mode & detail::kAlgorithmBits;
  std::vector<std::uint8_t> out;
  out.reserve((data.size() + kBlock - 1) / kBlock * kBlock);
  Block x{};
  for (std::size_t at = 0; at < data.size(); at += kBlock) {
    const std::span<const std::uint8_t> piece =
        data.subspan(at, std::min(kBlock, data.size() - at));
    Block block{};
    std::copy(piece.begin(), piece.end(), block.begin());
    if (xBefore) XorInto(block, x);
    if (decipher && piece.size() < kBlock) {  // after the XOR: the padding is not joined to X
      std::fill(block.begin() + static_cast<std::ptrdiff_t>(piece.size()), block.end(),
                PadByte(mode));
    }
    const Block input = block;
    CbcWithIv(decipher, block, algorithm);
    if (!xBefore) XorInto(block, x);
    x = xBefore ? block : input;
    out.insert(out.end(), block.begin(), block.end());
  }
  SecureWipe(x.data(), x.size());
  return out;
}

}  // namespace lumivex::crypto
