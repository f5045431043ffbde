#include "component/desfire/cryptogram.h"

#include <algorithm>
#include <array>

#include "crypto/des_cipher.h"

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

SecretBytes Cryptogram::Padded() const {
  SecretBytes plain(plain_.view());
  if (plain.size() % kBlock != 0) plain.Append(Bytes(kBlock - plain.size() % kBlock, 0));
  return plain;
}

}  // namespace lumivex::desfire
