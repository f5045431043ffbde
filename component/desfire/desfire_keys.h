// The keys of the selected DESFire application: key changes and settings changes, which travel as
// enciphered cryptograms, and the key versions and settings the card reports.
#pragma once

#include <cstdint>
#include <string>

#include "component/types.h"

namespace lumivex::desfire {

class Card;

class Keys {
 public:
  explicit Keys(Card& card) : card_(card) {}

  sceReturnCode ChangeKey(std::int32_t KeyNumber, const std::string& OldKey,
                          const std::string& NewKey);
  sceReturnCode GetKeyVersion(std::int32_t KeyNumber, std::int32_t& KeyVersion);
  sceReturnCode GetKeySettings(std::int32_t& KeySettings, std::int32_t& KeyCount);
  sceReturnCode ChangeKeySettings(DesfireKeySettings KeySettings);

 private:
  Card& card_;
};

}  // namespace lumivex::desfire
