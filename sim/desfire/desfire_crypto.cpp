#include "sim/desfire/desfire_crypto.h"

#include <algorithm>

#include "crypto/des_cipher.h"
#include "crypto/secure_memory.h"

namespace lumivex::sim::desfire {

namespace {

constexpr std::size_t kBlock = 8;

std::uint64_t Load(std::span<const std::uint8_t> bytes, std::size_t at) {
  return crypto::LoadBlock(std::span<const std::uint8_t, 8>(bytes.subspan(at, kBlock)));
}

void Store(std::uint64_t block, Bytes& out, std::size_t at) {
  crypto::StoreBlock(block, std::span<std::uint8_t, 8>(out.data() + at, kBlock));
}

std::uint64_t KeyHalf(const Key16& key, std::size_t at) {
  return crypto::LoadBlock(std::span<const std::uint8_t, 8>(key.data() + at, kBlock));
}

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
    : single_(IsSingleDes(key)), k1_(KeyHalf(key, 0)), k2_(KeyHalf(key, kBlock)) {}

std::uint64_t CardCipher::Encipher(std::uint64_t block) const {
  if (single_) return k1_.Encrypt(block);
  return k1_.Encrypt(k2_.Decrypt(k1_.Encrypt(block)));
}

std::uint64_t CardCipher::Decipher(std::uint64_t block) const {
  if (single_) return k1_.Decrypt(block);
  return k1_.Decrypt(k2_.Encrypt(k1_.Decrypt(block)));
}

Bytes CardCipher::FromReader(std::span<const std::uint8_t> data) const {
  Bytes out(data.size() - data.size() % kBlock);
  std::uint64_t previous = 0;
  for (std::size_t at = 0; at < out.size(); at += kBlock) {
    const std::uint64_t cipher = Load(data, at);
    Store(Encipher(cipher) ^ previous, out, at);
    previous = cipher;
  }
  return out;
}

Bytes CardCipher::ToReader(std::span<const std::uint8_t> data) const {
  Bytes out(data.begin(), data.end());
  out.resize((out.size() + kBlock - 1) / kBlock * kBlock, 0);
  std::uint64_t chain = 0;
  for (std::size_t at = 0; at < out.size(); at += kBlock) {
    chain = Encipher(Load(out, at) ^ chain);
    Store(chain, out, at);
  }
  return out;
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
