#include "component/card_identification.h"

#include <array>
#include <cstdio>

#include "component/mregistry.h"
#include "component/variant_text.h"
#include "platform/host.h"
#include "platform/text/utf8.h"

namespace lumivex {

namespace {

// The card list that the host application keeps, shared by every component object.
constexpr const char* kCardListKey =
    R"(Software\Pellworth Systems\Badgeline\7.0\Contactless\Card types)";
constexpr const char* kAddNewCards = "Add new cards";

std::vector<std::string> SplitFields(const std::string& data) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = data.find(';', start);
    fields.push_back(data.substr(start, end - start));
    if (end == std::string::npos) return fields;
    start = end + 1;
  }
}

// A hexadecimal field of an entry: its leading hexadecimal digits, blanks ignored; 0 when it does
// not start with a digit or does not fit 32 bits.
std::int32_t HexField(const std::string& field) {
  std::uint32_t value = 0;
  int significant = 0;
  for (const char c : field) {
    if (c == ' ' || c == '\t') continue;
    int digit = 0;
    if (c >= '0' && c <= '9') {
      digit = c - '0';
    } else if (c >= 'A' && c <= 'F') {
      digit = c - 'A' + 10;
    } else if (c >= 'a' && c <= 'f') {
      digit = c - 'a' + 10;
    } else {
      break;
    }
    if (significant > 0 || digit != 0) ++significant;  // leading zeros do not count
    if (significant > 8) return 0;
    value = (value << 4) | static_cast<std::uint32_t>(digit);
  }
  return static_cast<std::int32_t>(value);
}

std::string UnknownCardName(const LocalDateTime& t) {
  std::array<char, 64> text{};
  (void)std::snprintf(text.data(), text.size(), "Unknown (%04d-%02d-%02d %02d:%02d:%02d)", t.year,
                      t.month, t.day, t.hour, t.minute, t.second);
  return text.data();
}

}  // namespace

CardIdentification IdentifyCard(const std::string& atr, std::int32_t previousSerialNumberLength,
                                RegistryApi* registry, Host& host, const CodePage& codePage) {
  CardIdentification id;
  if (atr.empty()) return id;  // unknown type, serial-number length -1
  id.serialNumberLength = previousSerialNumberLength;
  if (registry == nullptr) return id;

  // Registry failures stay in this module state: the host never hears of them.
  MRegistry module(*registry, codePage);
  const std::uint32_t root = reg::LOCAL_MACHINE;
  bool addNew = module.RegGetValue(root, kCardListKey, kAddNewCards, Variant::FromInt32(0))
                    .ToInt32()
                    .value_or(0) != 0;

  const std::string atrKey = FoldCase(atr);
  std::vector<std::string> names;
  module.RegGetValueNames(root, kCardListKey, names);
  for (const std::string& name : names) {
    const Variant data = module.RegGetValue(root, kCardListKey, name, Variant::FromText(""));
    const std::vector<std::string> fields = SplitFields(VariantToText(data).value_or(""));
    if (fields.size() == 3) {
      // A known card: type;piece of ATR;serial-number length. The first piece found wins.
      if (!fields[1].empty() && atrKey.find(FoldCase(fields[1])) != std::string::npos) {
        id.cardType = HexField(fields[0]);
        id.serialNumberLength = HexField(fields[2]);
        return id;
      }
    } else if (fields.size() == 1 && FoldCase(fields[0]) == atrKey) {
      addNew = false;  // already recorded as unknown
    }
  }

  if (addNew) {
    module.RegSetValue(root, kCardListKey, UnknownCardName(host.LocalNow()),
                       Variant::FromText(atr));
  }
  return id;
}

}  // namespace lumivex
