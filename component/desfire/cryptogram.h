// The plain text of the cryptograms of enciphered commands (key changes, key settings, file
// settings): pieces of data and CRC16 checksums of them (low byte first, as the card appends
// them), then zero bytes up to whole 8-byte blocks. desfire::Card::Encipher enciphers it with the
// session key.
#pragma once

#include <cstddef>

#include "component/bytes.h"

namespace lumivex::desfire {

class Cryptogram {
 public:
  Cryptogram& Data(ByteView bytes);
  Cryptogram& CrcOf(ByteView bytes);
  Cryptogram& Zeros(std::size_t count);

  // The plain text, zero bytes added up to a whole block.
  [[nodiscard]] SecretBytes Padded() const;

 private:
  SecretBytes plain_;
};

}  // namespace lumivex::desfire
