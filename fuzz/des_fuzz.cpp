// The DES class on arbitrary texts, key slots and mode words: the only errors are its own
// numbered ones, whole-block data survives every chaining mode and padding word there and back,
// and the byte cipher gives what the text class gives. (Every chaining's values against OpenSSL,
// and CRC_A against its byte-wise steps, are the oracle test's.)
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "crypto/des.h"
#include "crypto/des_cipher.h"
#include "crypto/hex_codec.h"
#include "fuzz/fuzz_check.h"
#include "platform/text/windows_1252_code_page.h"

namespace {

using namespace lumivex::crypto;
using Bytes = std::vector<std::uint8_t>;
using Key = std::array<std::uint8_t, 8>;

std::string Compact(std::string text) {
  std::erase(text, ' ');
  return text;
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
    des.Keys(static_cast<std::int16_t>(slot + 1), FormatHex(keys[slot], true));
  }
  Key iv{};
  if (input.ConsumeBool()) input.ConsumeData(iv.data(), 8);
  des.InitVector(FormatHex(iv, false));
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
  const std::string plain = FormatHex(data, false);
  const std::string enciphered = des.Encrypt(plain, mode);
  const std::string deciphered = des.Decrypt(plain, mode);
  FUZZ_CHECK(enciphered.size() == plain.size() + data.size() - 1);
  FUZZ_CHECK(des.Decrypt(Compact(enciphered), mode) == FormatHex(data, true));
  FUZZ_CHECK(des.Encrypt(Compact(deciphered), mode) == FormatHex(data, true));
  // Keys and IV are not carried over from one call to the next.
  FUZZ_CHECK(des.Encrypt(plain, mode) == enciphered);
  // The byte cipher under the same keys and IV.
  DesCipher cipher;
  for (std::size_t slot = 0; slot < 3; ++slot) {
    cipher.SetKey(static_cast<std::int16_t>(slot + 1), keys[slot]);
  }
  cipher.SetInitVector(iv);
  FUZZ_CHECK(FormatHex(cipher.Encrypt(data, mode), true) == enciphered);
  FUZZ_CHECK(FormatHex(cipher.Decrypt(data, mode), true) == deciphered);
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
             FormatHex(bytes, true));
  FUZZ_CHECK(std::get<std::string>(des.ConvertData(bytes, ConvertMode(kByteArray, kCompactHex))) ==
             FormatHex(bytes, false));
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
