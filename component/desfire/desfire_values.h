// DESFire value files and the closing of a transaction: reading a value, debit, credit and
// limited credit (plain, through the framed exchanges), commit and abort.
#pragma once

#include <cstdint>

#include "component/command_set.h"
#include "component/failures.h"
#include "component/types.h"

namespace lumivex::desfire {

class Card;
class Transfers;

class Values {
 public:
  Values(Card& card, Transfers& transfers) : card_(card), transfers_(transfers) {}

  sceReturnCode GetValue(std::int32_t FileNo, std::int32_t& ValueData);
  sceReturnCode Debit(std::int32_t FileNo, std::int32_t Amount);
  sceReturnCode Credit(std::int32_t FileNo, std::int32_t Amount);
  sceReturnCode LimitedCredit(std::int32_t FileNo, std::int32_t Amount);
  sceReturnCode CommitTransaction();
  sceReturnCode AbortTransaction();

 private:
  // Debit, credit and limited credit differ in their command and in what the card's boundary
  // error means for them.
  sceReturnCode ChangeValue(Command command, const char* name, std::int32_t fileNo,
                            std::int32_t amount, const Failure& atBoundary);
  // Commit and abort: 910C means the backup files hold no change to close.
  sceReturnCode EndTransaction(Command command, const char* name);

  Card& card_;
  Transfers& transfers_;
};

}  // namespace lumivex::desfire
