// The cryptograms of enciphered commands (key changes, key settings, file settings): pieces of
// plain data and CRC16 checksums of them (low byte first, as the card appends them), zero bytes up
// to whole 8-byte blocks, enciphered with the session key in the chaining the card expects of
// data it receives: each block is combined with the previous result and then deciphered, which
// the card's encipher undoes.
#pragma once

#include <cstddef>

#include "component/bytes.h"

namespace lumivex::crypto {
class DesCipher;
}

namespace lumivex::desfire {

class Cryptogram {
 public:
  Cryptogram& Data(ByteView bytes);
  Cryptogram& CrcOf(ByteView bytes);
  Cryptogram& Zeros(std::size_t count);

  // Single DES when the session key's halves are equal (or there is none yet: all-zero keys),
  // two-key triple DES otherwise.
  [[nodiscard]] Bytes Encipher(ByteView sessionKey, crypto::DesCipher& cipher) const;

 private:
  SecretBytes plain_;
};

}  // namespace lumivex::desfire
