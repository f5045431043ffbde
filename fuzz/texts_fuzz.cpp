// Host texts: the numbers and variants a host passes, the UTF-8 and UTF-16 forms of registry
// texts, and the Parameters text of an Encoder. Nothing may crash, and the conversions keep their
// promises on any input. (Every status-word and PC/SC text is pinned by the texts test; the
// hexadecimal helpers meet any text through the engine fuzzer's raw requests, keys and data.)
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "component/encoder.h"
#include "component/numeric_text.h"
#include "component/variant.h"
#include "component/variant_text.h"
#include "fuzz/fuzz_check.h"
#include "platform/text/utf8.h"

namespace {

using namespace lumivex;

Variant AnyVariant(FuzzedDataProvider& input) {
  switch (input.ConsumeIntegralInRange(0, 10)) {
    case 0:
      return Variant::FromByte(input.ConsumeIntegral<std::uint8_t>());
    case 1:
      return Variant::FromInt16(input.ConsumeIntegral<std::int16_t>());
    case 2:
      return Variant::FromInt32(input.ConsumeIntegral<std::int32_t>());
    case 3:
      return Variant::FromBool(input.ConsumeBool());
    case 4:
      return Variant::FromSingle(input.ConsumeFloatingPoint<float>());
    case 5:
      return Variant::FromDouble(input.ConsumeFloatingPoint<double>());
    case 6:
      return Variant::FromCurrency(input.ConsumeIntegral<std::int64_t>());
    case 7:
      return Variant::FromDate(input.ConsumeFloatingPoint<double>());
    case 8:
      return Variant::FromText(input.ConsumeRandomLengthString(64));
    case 9:
      return Variant::FromBytes(
          input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(0, 16)));
    default:
      return input.ConsumeBool() ? Variant::Null()
                                 : Variant::FromError(input.ConsumeIntegral<std::int32_t>());
  }
}

// Values a host passes as variants, and the UTF-8 and UTF-16 forms of registry texts.
void CheckVariantsAndUtf(FuzzedDataProvider& input) {
  const Variant value = AnyVariant(input);
  // A value that fits a byte fits 32 bits with the same number.
  if (const auto asByte = value.ToByte()) FUZZ_CHECK(value.ToInt32() == *asByte);
  (void)VariantToText(value);
  (void)NumberText(input.ConsumeFloatingPoint<double>(), input.ConsumeIntegralInRange(1, 17));
  (void)GeneralDateText(input.ConsumeFloatingPoint<double>());

  // Bytes that are not UTF-8 read as Latin-1 characters, so re-encoding what was decoded gives
  // well-formed UTF-8, which survives UTF-16 and a second decoding unchanged.
  const std::string text = input.ConsumeRandomLengthString(128);
  const auto reencode = [](const std::string& from) {
    std::string to;
    for (const char32_t c : DecodeUtf8(from)) AppendUtf8(to, c);
    return to;
  };
  const std::string canonical = reencode(text);
  FUZZ_CHECK(Utf16LeToUtf8(Utf8ToUtf16Le(canonical)) == canonical);
  FUZZ_CHECK(reencode(canonical) == canonical);
  FUZZ_CHECK(FoldCase(FoldCase(text)) == FoldCase(text));
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
  (void)RoundToInt32(LeadingNumber(input.ConsumeRandomLengthString(64)));
  CheckVariantsAndUtf(input);
  CheckParameters(input);
  return 0;
}
