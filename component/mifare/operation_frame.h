// The frame every MIFARE operation of the Encoder runs in: the body reports how it ended, and no
// exception leaves it; and the wiping of the key texts it handles.
#pragma once

#include <string>

#include "component/types.h"
#include "crypto/secure_memory.h"

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

// Wipes a local copy of key material (a key text, a trailer block) when it goes out of scope.
class WipedOnExit {
 public:
  explicit WipedOnExit(std::string& text) : text_(text) {}
  ~WipedOnExit() { crypto::SecureWipe(text_); }
  WipedOnExit(const WipedOnExit&) = delete;
  WipedOnExit& operator=(const WipedOnExit&) = delete;

 private:
  std::string& text_;
};

}  // namespace lumivex::mifare
