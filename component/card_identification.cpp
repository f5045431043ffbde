#include "component/card_identification.h"

namespace lumivex {

// Without a card-type list every card stays unknown; the registry-backed list replaces this.
CardIdentification IdentifyCard(const std::string& atr, std::int32_t previousSerialNumberLength,
                                RegistryApi* /*registry*/, Host& /*host*/) {
  CardIdentification id;
  id.serialNumberLength = atr.empty() ? -1 : previousSerialNumberLength;
  return id;
}

}  // namespace lumivex
