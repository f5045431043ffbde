// The DES class on arbitrary texts, key slots and mode words: the only errors are its own
// numbered ones, whole-block data survives every chaining mode there and back, ECB and CBC agree
// with a plain reference over the block primitive, the byte cipher gives what the text class
// gives, and CRC16 agrees with the byte-wise CRC_A.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "crypto/des.h"
#include "crypto/des_block.h"
#include "crypto/des_cipher.h"
#include "fuzz/fuzz_check.h"
#include "platform/text/windows_1252_code_page.h"

namespace {

using namespace lumivex::crypto;
using Bytes = std::vector<std::uint8_t>;
using Key = std::array<std::uint8_t, 8>;

template <typename Range>
std::string Hex(const Range& bytes, bool spaced) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t b : bytes) {
    if (spaced && !text.empty()) text += ' ';
    text += kDigits[b >> 4];
    text += kDigits[b & 0x0F];
  }
  return text;
}

std::string Compact(std::string text) {
  std::erase(text, ' ');
  return text;
}

// ECB or CBC over whole blocks, from the block primitive alone.
std::string Reference(bool decipher, bool cbc, bool triple, const std::array<Key, 3>& keys,
                      const Key& iv, const Bytes& data) {
  const DesKeySchedule k1(LoadBlock(keys[0]));
  const DesKeySchedule k2(LoadBlock(keys[1]));
  const DesKeySchedule k3(LoadBlock(keys[2]));
  std::uint64_t chain = cbc ? LoadBlock(iv) : 0;
  Bytes out(data.size());
  for (std::size_t at = 0; at < data.size(); at += 8) {
    const std::uint64_t in = LoadBlock(std::span<const std::uint8_t, 8>(data.data() + at, 8));
    const std::uint64_t block =
        decipher
            ? (triple ? k1.Decrypt(k2.Encrypt(k3.Decrypt(in))) : k1.Decrypt(in)) ^ chain
            : (triple ? k3.Encrypt(k2.Decrypt(k1.Encrypt(in ^ chain))) : k1.Encrypt(in ^ chain));
    chain = cbc ? (decipher ? in : block) : 0;
    StoreBlock(block, std::span<std::uint8_t, 8>(out.data() + at, 8));
  }
  return Hex(out, false);
}

// CRC_A step by step as ISO/IEC 14443-3 writes it, low byte first.
std::string ReferenceCrc(const Bytes& data) {
  unsigned crc = 0x6363;
  for (const std::uint8_t b : data) {
    unsigned ch = (b ^ crc) & 0xFFU;
    ch = (ch ^ (ch << 4)) & 0xFFU;
    crc = ((crc >> 8) ^ (ch << 8) ^ (ch << 3) ^ (ch >> 4)) & 0xFFFFU;
  }
  return Hex(Bytes{static_cast<std::uint8_t>(crc & 0xFF), static_cast<std::uint8_t>(crc >> 8)},
             true);
}

// Arbitrary text and mode word: a result or a numbered error, nothing else.
void Arbitrary(FuzzedDataProvider& input, DES& des) {
  const std::string text = input.ConsumeRandomLengthString(300);
  const auto mode = input.ConsumeIntegral<std::int32_t>();
  const int call = input.ConsumeIntegralInRange(0, 4);
  try {
    if (call == 0) (void)des.Encrypt(text, mode);
    if (call == 1) (void)des.Decrypt(text, mode);
    if (call == 2) des.Keys(input.ConsumeIntegral<std::int16_t>(), text);
    if (call == 3) des.InitVector(text);
    if (call == 4) {
      ConvertValue value = text;
      if (input.ConsumeBool()) value = Bytes(text.begin(), text.end());
      (void)des.ConvertData(value, mode);
    }
  } catch (const DesError& error) {
    const auto number = static_cast<std::uint32_t>(error.number());
    FUZZ_CHECK(number >= 0xA0010001U && number <= 0xA0010007U);
  }
  FUZZ_CHECK(des.CRC16(text).size() == 5);
}

void RoundTrips(FuzzedDataProvider& input, DES& des) {
  std::array<Key, 3> keys{};
  for (std::size_t slot = 0; slot < 3; ++slot) {
    input.ConsumeData(keys[slot].data(), 8);
    des.Keys(static_cast<std::int16_t>(slot + 1), Hex(keys[slot], true));
  }
  Key iv{};
  if (input.ConsumeBool()) input.ConsumeData(iv.data(), 8);
  des.InitVector(Hex(iv, false));
  const bool triple = input.ConsumeBool();
  const DesChaining chaining =
      std::array{DesChaining::kEcb, DesChaining::kCbc, DesChaining::kLegacyChain,
                 DesChaining::kChainedCbc}[input.ConsumeIntegralInRange(0, 3)];
  // Whole blocks need no padding, so any padding value is accepted.
  const std::int32_t mode =
      DesModeWord(triple ? DesAlgorithm::kTriple : DesAlgorithm::kSingle, chaining) |
      (input.ConsumeIntegral<std::int32_t>() & 0xF00);
  Bytes data = input.ConsumeBytes<std::uint8_t>(8 * input.ConsumeIntegralInRange(1, 40));
  data.resize(std::max<std::size_t>((data.size() + 7) / 8 * 8, 8), 0x5A);
  const std::string plain = Hex(data, false);
  const std::string enciphered = des.Encrypt(plain, mode);
  const std::string deciphered = des.Decrypt(plain, mode);
  FUZZ_CHECK(enciphered.size() == plain.size() + data.size() - 1);
  FUZZ_CHECK(des.Decrypt(Compact(enciphered), mode) == Hex(data, true));
  FUZZ_CHECK(des.Encrypt(Compact(deciphered), mode) == Hex(data, true));
  // Keys and IV are not carried over from one call to the next.
  FUZZ_CHECK(des.Encrypt(plain, mode) == enciphered);
  const bool cbc = chaining == DesChaining::kCbc;
  if (cbc || chaining == DesChaining::kEcb) {
    FUZZ_CHECK(Compact(enciphered) == Reference(false, cbc, triple, keys, iv, data));
    FUZZ_CHECK(Compact(deciphered) == Reference(true, cbc, triple, keys, iv, data));
  }
  // The byte cipher under the same keys and IV.
  DesCipher cipher;
  for (std::size_t slot = 0; slot < 3; ++slot) {
    cipher.SetKey(static_cast<std::int16_t>(slot + 1), keys[slot]);
  }
  cipher.SetInitVector(iv);
  FUZZ_CHECK(Hex(cipher.Encrypt(data, mode), true) == enciphered);
  FUZZ_CHECK(Hex(cipher.Decrypt(data, mode), true) == deciphered);
  // With a zero IV the outer chaining is plain CBC.
  if (chaining == DesChaining::kChainedCbc && iv == Key{}) {
    FUZZ_CHECK(Compact(enciphered) == Reference(false, true, triple, keys, iv, data));
  }
  FUZZ_CHECK(des.CRC16(plain) == ReferenceCrc(data));
}

// Every target form of some bytes converts back to the same bytes.
void Conversions(FuzzedDataProvider& input, DES& des) {
  const Bytes bytes = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(1, 64));
  if (bytes.empty()) return;
  using enum DataForm;
  for (const DataForm form :
       {kSpacedHex, kCompactHex, kBitArray, kSpacedBits, kCompactBits, kPlainText}) {
    const ConvertValue formed = des.ConvertData(bytes, ConvertMode(kByteArray, form));
    FUZZ_CHECK(std::get<Bytes>(des.ConvertData(formed, ConvertMode(form, kByteArray))) == bytes);
  }
  FUZZ_CHECK(std::get<std::string>(des.ConvertData(bytes, ConvertMode(kByteArray, kSpacedHex))) ==
             Hex(bytes, true));
  FUZZ_CHECK(std::get<std::string>(des.ConvertData(bytes, ConvertMode(kByteArray, kCompactHex))) ==
             Hex(bytes, false));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  DES des(std::make_shared<lumivex::Windows1252CodePage>());
  const int part = input.ConsumeIntegralInRange(0, 2);
  while (part == 0 && input.remaining_bytes() > 0) Arbitrary(input, des);
  if (part == 1) RoundTrips(input, des);
  if (part == 2) Conversions(input, des);
  return 0;
}
