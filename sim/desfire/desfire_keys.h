// Internal to the simulated DESFire card: the commands of authentication and keys.
#pragma once

#include "sim/desfire/desfire_model.h"
#include "sim/desfire/desfire_state.h"

namespace lumivex::sim::desfire {

// Native authentication (0A) in its two frames, key changes, key settings and key versions.
class KeyCommands {
 public:
  explicit KeyCommands(CardState& state) : state_(state) {}

  Reply Authenticate(Data data);
  // The reader's answer to the challenge, in the frame after Authenticate.
  Reply FinishAuthentication(Data data);
  Reply ChangeKey(Data data);
  Reply ChangeKeySettings(Data data);
  Reply GetKeySettings(Data data);
  Reply GetKeyVersion(Data data);

 private:
  CardState& state_;
};

}  // namespace lumivex::sim::desfire
