// Host texts and card words: status-word and PC/SC texts, the hexadecimal helpers, the numbers
// read from host texts and the Parameters text of an Encoder. Nothing may crash, and the helpers
// keep their promises on any input.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "component/encoder.h"
#include "component/hex.h"
#include "component/numeric_text.h"
#include "component/texts.h"
#include "fuzz/fuzz_check.h"

namespace {

using namespace lumivex;

bool IsUpperHex(const std::string& text) {
  for (const char c : text) {
    if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))) return false;
  }
  return true;
}

void CheckHexHelpers(FuzzedDataProvider& input) {
  const std::string text = input.ConsumeRandomLengthString(256);
  const auto expected = input.ConsumeIntegral<std::int32_t>();
  std::string normalised = text;
  const bool hex = IsHexString(normalised, expected == 0 ? -1 : expected % 300);
  FUZZ_CHECK(normalised.find(' ') == std::string::npos);
  FUZZ_CHECK(!hex || IsUpperHex(normalised));
  // Normalising is idempotent.
  std::string again = normalised;
  FUZZ_CHECK(IsHexString(again, -1) == IsUpperHex(normalised));
  FUZZ_CHECK(again == normalised);

  const std::vector<std::uint8_t> bytes = HexToBytes(text);
  FUZZ_CHECK(bytes.size() == (text.size() + 1) / 2);
  const std::string compact = ByteArrayToHex(bytes);
  FUZZ_CHECK(compact.size() == bytes.size() * 2 && IsUpperHex(compact));
  FUZZ_CHECK(HexToBytes(compact) == bytes);

  const auto first = input.ConsumeIntegral<std::int32_t>();
  const auto last = input.ConsumeBool() ? -1 : input.ConsumeIntegral<std::int32_t>();
  const bool spaced = input.ConsumeBool();
  const std::string range = BytesToHex(bytes, first, last, spaced);
  // The positions the range covers, counted from 1 and clamped to the bytes there are.
  const std::int64_t size = static_cast<std::int64_t>(bytes.size());
  const std::int64_t from = std::max<std::int64_t>(first, 1);
  const std::int64_t to = last == -1 ? size : std::min<std::int64_t>(last, size);
  const std::int64_t count = std::max<std::int64_t>(to - from + 1, 0);
  FUZZ_CHECK(static_cast<std::int64_t>(range.size()) ==
             (count == 0 ? 0 : count * 2 + (spaced ? count - 1 : 0)));
  if (count > 0 && !spaced) {
    FUZZ_CHECK(range == compact.substr(static_cast<std::size_t>(from - 1) * 2,
                                       static_cast<std::size_t>(count) * 2));
  }
}

void CheckTexts(FuzzedDataProvider& input) {
  const std::string word = input.ConsumeRandomLengthString(16);
  FUZZ_CHECK(!StatusWordText(word).empty());
  const auto code = input.ConsumeIntegral<std::int32_t>();
  const std::string scard = SCardErrorText(code);
  FUZZ_CHECK(!scard.empty());
  const double number = LeadingNumber(input.ConsumeRandomLengthString(64));
  (void)RoundToInt32(number);
}

// The Parameters text: whatever the host sets, the object stays usable, and what the getter
// gives back sets the same state again.
void CheckParameters(FuzzedDataProvider& input) {
  Encoder encoder(Platform{});
  encoder.Parameters(input.ConsumeRandomLengthString(512));
  const std::string text = encoder.Parameters();
  FUZZ_CHECK(text.rfind("Encoding capabilities=", 0) == 0);
  FUZZ_CHECK(encoder.LastError().Number() == 0);
  encoder.Parameters(text);
  FUZZ_CHECK(encoder.Parameters() == text);
  FUZZ_CHECK(!encoder.GetResponseText(input.ConsumeRandomLengthString(16)).empty());
  std::string serial = "unchanged";
  FUZZ_CHECK(encoder.ReadSerialNumber(serial) == sceError && serial.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  switch (input.ConsumeIntegralInRange(0, 2)) {
    case 0:
      CheckHexHelpers(input);
      break;
    case 1:
      CheckTexts(input);
      break;
    default:
      CheckParameters(input);
      break;
  }
  return 0;
}
