// Internal to the simulated DESFire card: the commands on value files and the transaction.
#pragma once

#include <cstdint>

#include "sim/desfire/desfire_model.h"
#include "sim/desfire/desfire_state.h"

namespace lumivex::sim::desfire {

// Value files (get, credit, debit, limited credit) and the transaction that backup, value and
// record files share (commit, abort).
class ValueCommands {
 public:
  explicit ValueCommands(CardState& state) : state_(state) {}

  Reply GetValue(Data data);
  // command: Credit (0C), Debit (DC) or LimitedCredit (1C).
  Reply ChangeValue(std::uint8_t command, Data data);
  Reply CommitTransaction(Data data);
  Reply AbortTransaction(Data data);

 private:
  CardState& state_;
};

}  // namespace lumivex::sim::desfire
