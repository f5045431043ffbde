// The frame every MIFARE operation of the Encoder runs in: the body reports how it ended, and no
// exception leaves it; and the wiping of the key texts it handles.
#pragma once

#include <string>

#include "component/encoder.h"
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

namespace lumivex {

// A public MIFARE operation: "--> name", the record cleared, the body, then the record named
// after the operation (reset on success, marked as the failing one when an inner routine failed)
// and "<-- name".
template <typename Body>
sceReturnCode Encoder::MifareOperation(const char* Name, Body&& body) {
  return mifare::RunOperation(
      [&] {
        Trace(std::string("--> ") + Name);
        ClearLastError();
        return body();
      },
      [&](mifare::Outcome outcome) {
        if (outcome == mifare::Outcome::kSuccess) ClearLastError(Name);
        if (outcome == mifare::Outcome::kFailed) FinishLastError(Name);
        Trace(std::string("<-- ") + Name);
      });
}

}  // namespace lumivex
