// The DES class on arbitrary texts, key slots and mode words: the only errors are its own
// numbered ones, whole-block data survives every chaining mode there and back, ECB and CBC agree
// with a plain reference over the block primitive, and CRC16 agrees with the byte-wise CRC_A.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "crypto/des.h"
#include "crypto/des_block.h"
#include "fuzz/fuzz_check.h"

namespace {

using lumivex::crypto::ConvertValue;
using lumivex::crypto::DES;
using lumivex::crypto::DesError;
using Bytes = std::vector<std::uint8_t>;
using Key = std::array<std::uint8_t, 8>;

std::string Hex(const Bytes& bytes, bool spaced) {
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

void CheckNumber(const DesError& error) {
  const auto number = static_cast<std::uint32_t>(error.number());
  FUZZ_CHECK(number >= 0xA0010001U && number <= 0xA0010006U);
}

// ECB or CBC over whole blocks, from the block primitive alone.
Bytes Reference(bool decipher, bool cbc, bool triple, const std::array<Key, 3>& keys, const Key& iv,
                const Bytes& data) {
  using lumivex::crypto::DesKeySchedule;
  using lumivex::crypto::LoadBlock;
  const DesKeySchedule k1(LoadBlock(keys[0]));
  const DesKeySchedule k2(LoadBlock(keys[1]));
  const DesKeySchedule k3(LoadBlock(keys[2]));
  std::uint64_t chain = LoadBlock(iv);
  Bytes out(data.size());
  for (std::size_t at = 0; at < data.size(); at += 8) {
    const std::uint64_t in = LoadBlock(std::span<const std::uint8_t, 8>(data.data() + at, 8));
    std::uint64_t block = in;
    if (!decipher) {
      if (cbc) block ^= chain;
      block = triple ? k3.Encrypt(k2.Decrypt(k1.Encrypt(block))) : k1.Encrypt(block);
      if (cbc) chain = block;
    } else {
      block = triple ? k1.Decrypt(k2.Encrypt(k3.Decrypt(block))) : k1.Decrypt(block);
      if (cbc) block ^= chain;
      if (cbc) chain = in;
    }
    lumivex::crypto::StoreBlock(block, std::span<std::uint8_t, 8>(out.data() + at, 8));
  }
  return out;
}

// CRC_A step by step as ISO/IEC 14443-3 writes it, low byte first.
std::string ReferenceCrc(const Bytes& data) {
  unsigned crc = 0x6363;
  for (const std::uint8_t b : data) {
    unsigned ch = (b ^ crc) & 0xFFU;
    ch = (ch ^ (ch << 4)) & 0xFFU;
    crc = ((crc >> 8) ^ (ch << 8) ^ (ch << 3) ^ (ch >> 4)) & 0xFFFFU;
  }
  return Hex({static_cast<std::uint8_t>(crc & 0xFF), static_cast<std::uint8_t>(crc >> 8)}, true);
}

// Arbitrary text and mode word: a result or a numbered error, nothing else.
void Arbitrary(FuzzedDataProvider& input, DES& des) {
  const std::string text = input.ConsumeRandomLengthString(300);
  const auto mode = input.ConsumeIntegral<std::int32_t>();
  try {
    switch (input.ConsumeIntegralInRange(0, 4)) {
      case 0:
        (void)des.Encrypt(text, mode);
        break;
      case 1:
        (void)des.Decrypt(text, mode);
        break;
      case 2:
        des.Keys(input.ConsumeIntegral<std::int16_t>(), text);
        break;
      case 3:
        des.InitVector(text);
        break;
      default: {
        ConvertValue value = text;
        if (input.ConsumeBool()) value = Bytes(text.begin(), text.end());
        (void)des.ConvertData(value, mode);
        break;
      }
    }
  } catch (const DesError& error) {
    CheckNumber(error);
  }
  FUZZ_CHECK(des.CRC16(text).size() == 5);
}

void RoundTrips(FuzzedDataProvider& input, DES& des) {
  std::array<Key, 3> keys{};
  for (std::size_t slot = 0; slot < 3; ++slot) {
    for (auto& b : keys[slot]) b = input.ConsumeIntegral<std::uint8_t>();
    des.Keys(static_cast<std::int16_t>(slot + 1),
             Hex(Bytes(keys[slot].begin(), keys[slot].end()), true));
  }
  Key iv{};
  if (input.ConsumeBool()) {
    for (auto& b : iv) b = input.ConsumeIntegral<std::uint8_t>();
  }
  des.InitVector(Hex(Bytes(iv.begin(), iv.end()), false));
  const bool triple = input.ConsumeBool();
  const std::int32_t chaining =
      std::array{0x0000, 0x1000, 0x2000, 0x4000}[input.ConsumeIntegralInRange(0, 3)];
  // Whole blocks need no padding, so any padding value is accepted.
  const std::int32_t mode =
      (triple ? 1 : 0) + (input.ConsumeIntegral<std::int32_t>() & 0xF00) + chaining;
  Bytes data =
      input.ConsumeBytes<std::uint8_t>(8 * input.ConsumeIntegralInRange<std::size_t>(1, 40));
  data.resize(std::max<std::size_t>((data.size() + 7) / 8 * 8, 8), 0x5A);
  const std::string plain = Hex(data, false);

  const std::string enciphered = des.Encrypt(plain, mode);
  const std::string deciphered = des.Decrypt(plain, mode);
  FUZZ_CHECK(enciphered.size() == plain.size() + data.size() - 1);
  FUZZ_CHECK(deciphered.size() == enciphered.size());
  FUZZ_CHECK(des.Decrypt(Compact(enciphered), mode) == Hex(data, true));
  FUZZ_CHECK(des.Encrypt(Compact(deciphered), mode) == Hex(data, true));
  // Keys and IV are not carried over from one call to the next.
  FUZZ_CHECK(des.Encrypt(plain, mode) == enciphered);

  if (chaining == 0x0000 || chaining == 0x1000) {
    const bool cbc = chaining == 0x1000;
    FUZZ_CHECK(Compact(enciphered) == Hex(Reference(false, cbc, triple, keys, iv, data), false));
    FUZZ_CHECK(Compact(deciphered) == Hex(Reference(true, cbc, triple, keys, iv, data), false));
  }
  if (chaining == 0x4000 && iv == Key{}) {
    // With a zero IV the outer chaining is plain CBC.
    FUZZ_CHECK(Compact(enciphered) == Hex(Reference(false, true, triple, keys, iv, data), false));
  }
  FUZZ_CHECK(des.CRC16(plain) == ReferenceCrc(data));
}

// Every target form of some bytes converts back to the same bytes.
void Conversions(FuzzedDataProvider& input, DES& des) {
  const Bytes bytes = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(1, 64));
  if (bytes.empty()) return;
  for (const int target : {0, 1, 2, 3, 4, 6}) {
    const ConvertValue formed = des.ConvertData(bytes, 0x500 | target);
    const ConvertValue back = des.ConvertData(formed, (target << 8) | 5);
    FUZZ_CHECK(std::get<Bytes>(back) == bytes);
  }
  FUZZ_CHECK(std::get<std::string>(des.ConvertData(bytes, 0x500)) == Hex(bytes, true));
  FUZZ_CHECK(std::get<std::string>(des.ConvertData(bytes, 0x501)) == Hex(bytes, false));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  DES des;
  switch (input.ConsumeIntegralInRange(0, 2)) {
    case 0:
      while (input.remaining_bytes() > 0) Arbitrary(input, des);
      break;
    case 1:
      RoundTrips(input, des);
      break;
    default:
      Conversions(input, des);
      break;
  }
  return 0;
}
