#include "component/desfire/cryptogram.h"

#include <algorithm>
#include <array>

#include "crypto/des_cipher.h"
#include "crypto/des_mode.h"
#include "crypto/secure_memory.h"

namespace lumivex::desfire {

namespace {

constexpr std::size_t kBlock = 8;

}  // namespace

Cryptogram& Cryptogram::Data(ByteView bytes) {
  plain_.Append(bytes);
  return *this;
}

Cryptogram& Cryptogram::CrcOf(ByteView bytes) {
  const std::uint16_t crc = crypto::Crc16A(bytes);
  const std::array<std::uint8_t, 2> appended{static_cast<std::uint8_t>(crc),
                                             static_cast<std::uint8_t>(crc >> 8)};
  plain_.Append(appended);
  return *this;
}

Cryptogram& Cryptogram::Zeros(std::size_t count) {
  const Bytes zeros(count, 0);
  plain_.Append(zeros);
  return *this;
}

Bytes Cryptogram::Encipher(ByteView sessionKey, crypto::DesCipher& cipher) const {
  SecretBytes plain(plain_.view());
  if (plain.size() % kBlock != 0) plain.Append(Bytes(kBlock - plain.size() % kBlock, 0));
  // K1 is the session key's first half, K2 its second (a key of one half is both); before any
  // authentication there is none and both are zero.
  std::array<std::uint8_t, kBlock> k1{};
  std::array<std::uint8_t, kBlock> k2{};
  const ByteView second = sessionKey.size() > kBlock ? sessionKey.last(kBlock) : sessionKey;
  std::copy_n(sessionKey.begin(), std::min(kBlock, sessionKey.size()), k1.begin());
  std::copy_n(second.begin(), std::min(kBlock, second.size()), k2.begin());
  const auto algorithm = k1 == k2 ? crypto::DesAlgorithm::kSingle : crypto::DesAlgorithm::kTriple;
  cipher.SetKey(1, k1);
  cipher.SetKey(2, k2);
  cipher.SetKey(3, k1);
  cipher.SetInitVector(std::array<std::uint8_t, kBlock>{});
  Bytes cryptogram = cipher.Decrypt(
      plain.view(), crypto::DesModeWord(algorithm, crypto::DesChaining::kLegacyChain));
  crypto::SecureWipe(k1.data(), k1.size());
  crypto::SecureWipe(k2.data(), k2.size());
  return cryptogram;
}

}  // namespace lumivex::desfire
