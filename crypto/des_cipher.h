// DES and triple DES (EDE) on bytes, with the chainings DESFire needs: the public cipher. The DES
// class puts its hexadecimal text face on it; the component calls it directly.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "crypto/des_block.h"
#include "crypto/des_errors.h"
#include "crypto/des_mode.h"

namespace lumivex::crypto {

class DesCipher {
 public:
  DesCipher();   // all-zero keys and IV
  ~DesCipher();  // wipes keys, round keys and IV
  DesCipher(const DesCipher&) = delete;
  DesCipher& operator=(const DesCipher&) = delete;

  // Key slot 1..3 (8 bytes; parity bits ignored); any other slot raises DesError 0xA0010001 "Bad
  // key index" and changes nothing. Single DES uses slot 1; triple DES slots 1, 2 and 3.
  void SetKey(std::int16_t slot, std::span<const std::uint8_t, 8> key);
  // Every chained call starts again from this IV.
  void SetInitVector(std::span<const std::uint8_t, 8> iv);

  // The mode word's algorithm part is checked first ("Invalid cipher algorithm"); empty data then
  // gives nothing. ECB and CBC (from the IV) run over the whole data: a short last block is padded
  // as the padding group says (checked only then: "Bad padding mode"), and any other chaining
  // raises "Invalid chaining mode". The two outer chainings walk the data block by block with a
  // value X that starts as 00 bytes, each block through CBC with the IV, C = E(B ^ IV) or
  // B = D(C) ^ IV:
  //   legacy chain  enciphering O = E(B ^ IV) ^ X, X = B;   deciphering O = D(B ^ X) ^ IV, X = O
  //   chained CBC   enciphering O = E(B ^ X ^ IV), X = O;   deciphering O = D(B) ^ IV ^ X, X = B
  // There, enciphering completes a short last block with 00 bytes whatever the padding group;
  // deciphering pads it as the group says, after the XOR with X. Nothing is ever unpadded.
  [[nodiscard]] std::vector<std::uint8_t> Encrypt(std::span<const std::uint8_t> data,
                                                  std::int32_t mode) const;
  [[nodiscard]] std::vector<std::uint8_t> Decrypt(std::span<const std::uint8_t> data,
                                                  std::int32_t mode) const;

  // Bulk ECB over whole blocks (data.size() a multiple of 8, out the same size; out may be data
  // itself), no allocation. Other sizes raise "Bad parameter type", an algorithm that is neither
  // single nor triple "Invalid cipher algorithm".
  void EncryptEcb(std::span<const std::uint8_t> data, std::span<std::uint8_t> out,
                  DesAlgorithm algorithm) const;
  void DecryptEcb(std::span<const std::uint8_t> data, std::span<std::uint8_t> out,
                  DesAlgorithm algorithm) const;

 private:
  using Block = std::array<std::uint8_t, 8>;

  [[nodiscard]] std::vector<std::uint8_t> Run(bool decipher, std::span<const std::uint8_t> data,
                                              std::int32_t mode) const;
  [[nodiscard]] std::vector<std::uint8_t> WholeData(bool decipher,
                                                    std::span<const std::uint8_t> data,
                                                    std::int32_t mode) const;
  [[nodiscard]] std::vector<std::uint8_t> OuterChain(bool decipher,
                                                     std::span<const std::uint8_t> data,
                                                     std::int32_t mode) const;
  void Ecb(bool decipher, std::span<const std::uint8_t> data, std::span<std::uint8_t> out,
           std::int32_t algorithm) const;
  // One block through CBC with the IV: E(b ^ IV) or D(b) ^ IV.
  void CbcWithIv(bool decipher, Block& block, std::int32_t algorithm) const;

  std::array<DesKeySchedule, 3> keys_;
  Block iv_{};
};

// CRC_A of ISO/IEC 14443-3 (polynomial x^16 + x^12 + x^5 + 1 processed reflected, initial value
// 0x6363, no final XOR): the checksum DESFire appends, low byte first, behind enciphered data.
std::uint16_t Crc16A(std::span<const std::uint8_t> data);

// The forms of ConvertData, named: target in the low byte of a conversion mode, source in the next.
enum class DataForm : std::int32_t {
  kSpacedHex = 0,
  kCompactHex = 1,
  kBitArray = 2,
  kSpacedBits = 3,
  kCompactBits = 4,
  kByteArray = 5,
  kPlainText = 6,
};

constexpr std::int32_t ConvertMode(DataForm from, DataForm to) {
  return (static_cast<std::int32_t>(from) << 8) | static_cast<std::int32_t>(to);
}

}  // namespace lumivex::crypto
