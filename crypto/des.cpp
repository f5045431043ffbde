#include "crypto/des.h"

#include <algorithm>

#include "crypto/des_cipher.h"
#include "crypto/des_errors.h"
#include "crypto/hex_codec.h"
#include "crypto/secure_memory.h"

namespace lumivex::crypto {
namespace {

// A key or IV text as 8 bytes: a shorter value is completed with bytes 00 on the right, a
// longer one contributes its first 8 bytes (as only the first 64 bits of a key are used).
std::array<std::uint8_t, 8> EightBytes(const std::string& text) {
  std::vector<std::uint8_t> bytes = detail::ParseHex(text, detail::Separators::kSkipped);
  std::array<std::uint8_t, 8> value{};
  std::copy_n(bytes.begin(), std::min(bytes.size(), value.size()), value.begin());
  SecureWipe(bytes);
  return value;
}

void CheckAlgorithm(std::int32_t mode) {
  if ((mode & 0xFF) > 1) RaiseDesError(kDesInvalidAlgorithm);
}

constexpr std::uint32_t kChainingMask = 0xFFFFF000U;

}  // namespace

// A fresh object holds all-zero keys and IV, which is what a one-character "0" text expands to.
DES::DES(std::shared_ptr<const CodePage> codePage) : codePage_(std::move(codePage)) {}

DES::~DES() {
  SecureWipe(keys_.data(), sizeof(keys_));
  SecureWipe(iv_.data(), sizeof(iv_));
}

void DES::Keys(std::int16_t slot, const std::string& key) {
  if (slot < 1 || slot > 3) RaiseDesError(kDesBadKeyIndex);
  std::array<std::uint8_t, 8> value = EightBytes(key);
  keys_[static_cast<std::size_t>(slot - 1)] = value;
  SecureWipe(value.data(), value.size());
}

void DES::InitVector(const std::string& iv) {
  iv_ = EightBytes(iv);
}

std::string DES::Encrypt(const std::string& data, std::int32_t mode) {
  CheckAlgorithm(mode);
  switch (static_cast<std::uint32_t>(mode) & kChainingMask) {
    case 0x2000:
      return detail::FormatHex(detail::LegacyChain(detail::kEncipher, data, mode, keys_, iv_),
                               true);
    case 0x4000:
      return detail::FormatHex(detail::ChainedCbc(detail::kEncipher, data, mode, keys_, iv_), true);
    default:
      return RunBlocks(detail::kEncipher, detail::ParseHex(data, detail::Separators::kRefused),
                       mode);
  }
}

std::string DES::Decrypt(const std::string& data, std::int32_t mode) {
  CheckAlgorithm(mode);
  switch (static_cast<std::uint32_t>(mode) & kChainingMask) {
    case 0x2000:
      return detail::FormatHex(detail::LegacyChain(detail::kDecipher, data, mode, keys_, iv_),
                               true);
    case 0x4000:
      return detail::FormatHex(detail::ChainedCbc(detail::kDecipher, data, mode, keys_, iv_), true);
    default:
      return RunBlocks(detail::kDecipher, detail::ParseHex(data, detail::Separators::kRefused),
                       mode);
  }
}

std::string DES::RunBlocks(int direction, const std::vector<std::uint8_t>& data,
                           std::int32_t mode) {
  return detail::FormatHex(detail::BlockRoutine(direction, data, mode, keys_, iv_), true);
}

}  // namespace lumivex::crypto
