// DES and triple DES (EDE) over hexadecimal text, with the chaining modes DESFire needs, plus the
// data-form conversion and the CRC_A checksum that travel with it: the text face of DesCipher. One
// object per Encoder.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "crypto/des_cipher.h"
#include "crypto/des_errors.h"
#include "crypto/des_mode.h"

namespace lumivex {
class CodePage;
}

namespace lumivex::crypto {

// Data handled by ConvertData: nothing (the result of empty input), a text (the hex, bit and plain
// text forms), or an array of byte values (DataForm::kByteArray) or of bit values 0/1
// (DataForm::kBitArray).
using ConvertValue = std::variant<std::monostate, std::string, std::vector<std::uint8_t>>;

class DES {
 public:
  // codePage: the plain text form, one byte a character. Without one (a cipher used on its own)
  // there is no plain-text form: it raises "Bad parameter type".
  explicit DES(std::shared_ptr<const CodePage> codePage = nullptr);
  ~DES();  // the cipher wipes keys, round keys and IV
  DES(const DES&) = delete;
  DES& operator=(const DES&) = delete;

  // Key slot 1..3 from 8 bytes of hexadecimal text (separators allowed; a shorter value is
  // completed with 00 bytes on the right, only the first 8 bytes of a longer one count); other
  // slots raise "Bad key index" before the text is read.
  void Keys(std::int16_t slot, const std::string& key);
  // The IV from hexadecimal text, read as a key is; every chained call starts again from it.
  void InitVector(const std::string& iv);

  // Compact hexadecimal text in, spaced upper-case hexadecimal text out, with the rules of
  // DesCipher::Encrypt/Decrypt (the mode word is built with DesModeWord). The outer chainings read
  // the text in pieces of 16 digits, so a short last piece stands for a short last block; the
  // legacy chain's encipher completes it with "0" digits, chained CBC's encipher reads the whole
  // text at once and skips separators in it.
  std::string Encrypt(const std::string& data, std::int32_t mode);
  std::string Decrypt(const std::string& data, std::int32_t mode);

  // CRC_A of ISO/IEC 14443-3 over hexadecimal text: "LL HH" (low byte first).
  std::string CRC16(const std::string& data);
  // Mode: ConvertMode(source form, target form); anything else raises "Bad parameter type".
  // Plain text with a character that has no one-byte form in the code page raises 0xA0010007.
  ConvertValue ConvertData(const ConvertValue& data, std::int32_t mode);

 private:
  std::string Run(bool decipher, const std::string& data, std::int32_t mode);

  DesCipher cipher_;
  std::shared_ptr<const CodePage> codePage_;
};

}  // namespace lumivex::crypto
