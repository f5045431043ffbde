// Identification of the card under the antenna from its ATR, against the card-type list that the
// host keeps in the registry.
#pragma once

#include <cstdint>
#include <string>

namespace lumivex {

class CodePage;
class Host;
class RegistryApi;

struct CardIdentification {
  std::int32_t cardType = 1;  // sceUnknownType
  std::int32_t serialNumberLength = -1;
};

// atr: trimmed, upper-cased, one blank between bytes ("" clears the identification).
// previousSerialNumberLength is kept when the list has no match. registry may be null (no list).
// codePage: the code page of the registry's strings.
CardIdentification IdentifyCard(const std::string& atr, std::int32_t previousSerialNumberLength,
                                RegistryApi* registry, Host& host, const CodePage& codePage);

}  // namespace lumivex
