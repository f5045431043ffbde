// Internal to the simulated DESFire card: the card's side of the native DES/2K3DES cryptography.
// The card only ever runs the block cipher forwards ("encipher"): it deciphers what the reader
// sends by enciphering it (the reader applied the decipher function), and enciphers its answers in
// CBC mode with an all-zero IV so that the reader deciphers them.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "crypto/des_cipher.h"
#include "sim/desfire/desfire_model.h"

namespace lumivex::sim::desfire {

// CRC_A of ISO/IEC 14443-3, appended low byte first.
std::uint16_t Crc16(std::span<const std::uint8_t> data);
void AppendCrc16(Bytes& out, std::span<const std::uint8_t> data);

// A 16-byte key whose halves are equal (parity bits aside) is single DES, else 2K3DES.
bool IsSingleDes(const Key16& key);
// The key version carried by the parity bits (least significant bits) of the first 8 bytes.
std::uint8_t KeyVersionOf(const Key16& key);
// Session key after the exchange of RndA and RndB (single DES: first halves, twice).
Key16 SessionKey(const std::array<std::uint8_t, 8>& rndA, const std::array<std::uint8_t, 8>& rndB,
                 bool singleDes);

class CardCipher {
 public:
  explicit CardCipher(const Key16& key);

  // Data the reader sent (a multiple of 8 bytes): P[i] = E(C[i]) XOR C[i-1], C[-1] = 0.
  [[nodiscard]] Bytes FromReader(std::span<const std::uint8_t> data) const;
  // Data for the reader, zero-padded to 8 bytes: CBC encipher with an all-zero IV.
  [[nodiscard]] Bytes ToReader(std::span<const std::uint8_t> data) const;
  // The 4-byte MAC of data: first half of the last block of its zero-padded CBC encipherment.
  [[nodiscard]] std::array<std::uint8_t, 4> Mac(std::span<const std::uint8_t> data) const;

 private:
  crypto::DesAlgorithm algorithm_;
  crypto::DesCipher cipher_;  // 2K3DES as triple DES with keys 1, 2, 1; IV zero
};

}  // namespace lumivex::sim::desfire
