// Card-level DESFire operations: erasing the card, creating, deleting and listing applications,
// and the card's manufacturing data (read once, then served from the card object's cache).
#pragma once

#include <cstdint>
#include <string>

#include "component/types.h"
#include "component/variant.h"

namespace lumivex::desfire {

class Card;

class Applications {
 public:
  explicit Applications(Card& card) : card_(card) {}

  sceReturnCode Format();
  sceReturnCode CreateApplication(const std::string& ApplicationId, DesfireKeySettings KeySettings,
                                  std::int32_t NumOfKeys);
  sceReturnCode DeleteApplication(const std::string& ApplicationId);
  sceReturnCode GetApplications(std::string& Applications);
  sceReturnCode GetVersion(DesfireVersionBytes RequestedInformation, Variant& Information);

 private:
  Card& card_;
};

}  // namespace lumivex::desfire
