#include "sim/desfire/desfire_crypto.h"

#include <algorithm>

#include "crypto/des_cipher.h"
#include "crypto/secure_memory.h"

namespace lumivex::sim::desfire {

namespace {

constexpr std::size_t kBlock = 8;

}  // namespace

std::uint16_t Crc16(std::span<const std::uint8_t> data) {
  return crypto::Crc16A(data);
}

void AppendCrc16(Bytes& out, std::span<const std::uint8_t> data) {
  const std::uint16_t crc = Crc16(data);
  out.push_back(static_cast<std::uint8_t>(crc & 0xFF));
  out.push_back(static_cast<std::uint8_t>(crc >> 8));
}

bool IsSingleDes(const Key16& key) {
  for (std::size_t i = 0; i < kBlock; ++i) {
    if ((key[i] & 0xFE) != (key[i + kBlock] & 0xFE)) return false;
  }
  return true;
}

std::uint8_t KeyVersionOf(const Key16& key) {
  std::uint8_t version = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    version = static_cast<std::uint8_t>((version << 1) | (key[i] & 1));
  }
  return version;
}

Key16 SessionKey(const std::array<std::uint8_t, 8>& rndA, const std::array<std::uint8_t, 8>& rndB,
                 bool singleDes) {
  Key16 session{};
  std::copy_n(rndA.begin(), 4, session.begin());
  std::copy_n(rndB.begin(), 4, session.begin() + 4);
  if (singleDes) {
    std::copy_n(session.begin(), 8, session.begin() + 8);
  } else {
    std::copy_n(rndA.begin() + 4, 4, session.begin() + 8);
    std::copy_n(rndB.begin() + 4, 4, session.begin() + 12);
  }
  return session;
}

CardCipher::CardCipher(const Key16& key)
    : algorithm_(IsSingleDes(key) ? crypto::DesAlgorithm::kSingle : crypto::DesAlgorithm::kTriple) {
  const std::span<const std::uint8_t, 16> halves(key);
  cipher_.SetKey(1, halves.first<kBlock>());
  cipher_.SetKey(2, halves.last<kBlock>());
  cipher_.SetKey(3, halves.first<kBlock>());
}

Bytes CardCipher::FromReader(std::span<const std::uint8_t> data) const {
  const std::span<const std::uint8_t> blocks = data.first(data.size() - data.size() % kBlock);
  Bytes out(blocks.size());
  cipher_.EncryptEcb(blocks, out, algorithm_);
  for (std::size_t at = kBlock; at < out.size(); ++at) out[at] ^= blocks[at - kBlock];
  return out;
}

Bytes CardCipher::ToReader(std::span<const std::uint8_t> data) const {
  return cipher_.Encrypt(data, crypto::DesModeWord(algorithm_, crypto::DesChaining::kCbc));
}

std::array<std::uint8_t, 4> CardCipher::Mac(std::span<const std::uint8_t> data) const {
  Bytes enciphered = ToReader(data);
  std::array<std::uint8_t, 4> mac{};
  if (enciphered.empty()) enciphered = ToReader(Bytes(kBlock, 0));
  std::copy_n(enciphered.end() - kBlock, mac.size(), mac.begin());
  crypto::SecureWipe(enciphered);
  return mac;
}

}  // namespace lumivex::sim::desfire
