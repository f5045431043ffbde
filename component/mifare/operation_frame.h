// The frame every MIFARE operation of the Encoder runs in: the body reports how it ended, and no
// exception leaves it.
#pragma once

#include "component/types.h"

namespace lumivex::mifare {

enum class Outcome {
  kSuccess,   // the record is reset with the operation's name
  kFailed,    // an inner routine recorded the error: the operation is marked as the failing one
  kRecorded,  // the operation recorded its own validation error, naming itself
};

// Runs body (returning an Outcome), then end(outcome); an exception in the body counts as kFailed
// and one in end is dropped. The result is sceSuccess only for kSuccess.
template <typename Body, typename End>
sceReturnCode RunOperation(Body&& body, End&& end) noexcept {
  Outcome outcome = Outcome::kFailed;
  try {
    outcome = body();
  } catch (...) {
    outcome = Outcome::kFailed;
  }
  try {
    end(outcome);
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing may reach the host
  }
  return outcome == Outcome::kSuccess ? sceSuccess : sceError;
}

}  // namespace lumivex::mifare
