#include "crypto/des.h"

#include <algorithm>
#include <array>

#include "crypto/hex_codec.h"
#include "crypto/secure_memory.h"

namespace lumivex::crypto {
namespace {

constexpr std::size_t kDigitsPerBlock = 16;

// A key or IV text as 8 bytes: a shorter value is completed with bytes 00 on the right, a
// longer one contributes its first 8 bytes (as only the first 64 bits of a key are used).
std::array<std::uint8_t, 8> EightBytes(const std::string& text) {
  std::vector<std::uint8_t> bytes = ParseHex(text, Separators::kSkipped);
  std::array<std::uint8_t, 8> value{};
  std::copy_n(bytes.begin(), std::min(bytes.size(), value.size()), value.begin());
  SecureWipe(bytes);
  return value;
}

// The bytes a text stands for, as the chaining reads it (see des.h).
std::vector<std::uint8_t> InputBytes(bool decipher, const std::string& text, std::int32_t mode) {
  const bool legacy = detail::HasChaining(mode, DesChaining::kLegacyChain);
  const bool chained = detail::HasChaining(mode, DesChaining::kChainedCbc);
  if (!decipher && legacy) {
    std::string completed = text;
    completed.resize((text.size() + kDigitsPerBlock - 1) / kDigitsPerBlock * kDigitsPerBlock, '0');
    std::vector<std::uint8_t> bytes = ParseHex(completed);
    SecureWipe(completed);
    return bytes;
  }
  if (!decipher && chained) return ParseHex(text, Separators::kSkipped);
  if (!legacy && !chained) return ParseHex(text);
  std::vector<std::uint8_t> bytes;
  bytes.reserve((text.size() + 1) / 2);
  for (std::size_t at = 0; at < text.size(); at += kDigitsPerBlock) {
    const std::vector<std::uint8_t> piece =
        ParseHex(std::string_view(text).substr(at, kDigitsPerBlock));
    bytes.insert(bytes.end(), piece.begin(), piece.end());
  }
  return bytes;
}

}  // namespace

DES::DES(std::shared_ptr<const CodePage> codePage) : codePage_(std::move(codePage)) {}

DES::~DES() = default;

void DES::Keys(std::int16_t slot, const std::string& key) {
  detail::CheckKeySlot(slot);
  std::array<std::uint8_t, 8> value = EightBytes(key);
  cipher_.SetKey(slot, value);
  SecureWipe(value.data(), value.size());
}

void DES::InitVector(const std::string& iv) {
  cipher_.SetInitVector(EightBytes(iv));
}

std::string DES::Encrypt(const std::string& data, std::int32_t mode) {
  return Run(false, data, mode);
}

std::string DES::Decrypt(const std::string& data, std::int32_t mode) {
  return Run(true, data, mode);
}

// The algorithm is checked before the text is read; the cipher makes every other check.
std::string DES::Run(bool decipher, const std::string& data, std::int32_t mode) {
  detail::CheckAlgorithm(mode);
  std::vector<std::uint8_t> in = InputBytes(decipher, data, mode);
  std::vector<std::uint8_t> out = decipher ? cipher_.Decrypt(in, mode) : cipher_.Encrypt(in, mode);
  std::string text = FormatHex(out, true);
  SecureWipe(in);
  SecureWipe(out);
  return text;
}

}  // namespace lumivex::crypto
