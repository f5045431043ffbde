// DES and triple DES (EDE) over hexadecimal text, with the chaining modes DESFire needs, plus the
// data-form conversion and the CRC_A checksum that travel with it. One object per Encoder.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "crypto/des_block.h"

namespace lumivex {
class CodePage;
}

namespace lumivex::crypto {

// Mode word of Encrypt/Decrypt: one algorithm + one padding + one chaining value.
enum DesMode : std::int32_t {
  desSingle = 0,
  desTriple = 1,
  desPadZero = 0x000,
  desPadBlank = 0x100,
  desECB = 0x0000,
  desCBC = 0x1000,
  desLegacyChain = 0x2000,
  desChainedCBC = 0x4000,
};

// Numbered errors raised by this class (0xA0010001..0xA0010007); the caller decides what to record.
class DesError : public std::runtime_error {
 public:
  DesError(std::int32_t number, const char* description)
      : std::runtime_error(description), number_(number) {}
  [[nodiscard]] std::int32_t number() const { return number_; }

 private:
  std::int32_t number_;
};

// Data handled by ConvertData: nothing (the result of empty input), a text (forms 0, 1, 3, 4, 6),
// or an array of byte values (form 5) or of bit values 0/1 (form 2).
using ConvertValue = std::variant<std::monostate, std::string, std::vector<std::uint8_t>>;

class DES {
 public:
  // codePage: the plain text of form 6, one byte a character. Without one (a cipher used on its
  // own) there is no plain-text form: form 6 raises "Bad parameter type".
  explicit DES(std::shared_ptr<const CodePage> codePage = nullptr);
  ~DES();  // wipes keys, round keys and IV
  DES(const DES&) = delete;
  DES& operator=(const DES&) = delete;

  // Key slot 1..3 from 8 bytes of hexadecimal text; other slots raise "Bad key index".
  void Keys(std::int16_t slot, const std::string& key);
  // The IV from 8 bytes of hexadecimal text; every chained call starts again from it.
  void InitVector(const std::string& iv);

  // Hexadecimal text in, spaced upper-case hexadecimal text out.
  std::string Encrypt(const std::string& data, std::int32_t mode);
  std::string Decrypt(const std::string& data, std::int32_t mode);

  // CRC_A of ISO/IEC 14443-3 over hexadecimal text: "LL HH" (low byte first).
  std::string CRC16(const std::string& data);
  // Mode: target form in the low byte, source form in the high byte (see the form codes).
  // Plain text with a character that has no one-byte form in the code page raises 0xA0010007.
  ConvertValue ConvertData(const ConvertValue& data, std::int32_t mode);

 private:
  std::string RunBlocks(int direction, const std::vector<std::uint8_t>& data, std::int32_t mode);

  std::array<std::array<std::uint8_t, 8>, 3> keys_{};
  std::array<std::uint8_t, 8> iv_{};
  std::shared_ptr<const CodePage> codePage_;
};

}  // namespace lumivex::crypto
