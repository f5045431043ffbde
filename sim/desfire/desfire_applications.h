// Internal to the simulated DESFire card: the commands of the card and its applications.
#pragma once

#include "sim/desfire/desfire_model.h"
#include "sim/desfire/desfire_state.h"

namespace lumivex::sim::desfire {

// Card-level commands: version, format, creating, listing, selecting and deleting applications,
// free memory.
class ApplicationCommands {
 public:
  explicit ApplicationCommands(CardState& state) : state_(state) {}

  Reply GetVersion(Data data);
  Reply FormatPicc(Data data);
  Reply CreateApplication(Data data);
  Reply DeleteApplication(Data data);
  Reply GetApplicationIds(Data data);
  Reply SelectApplication(Data data);
  Reply GetFreeMemory(Data data);

 private:
  CardState& state_;
};

}  // namespace lumivex::sim::desfire
