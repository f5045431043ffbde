// The frame every member of the Encoder runs in. On entry: the line "--> name" and the last-error
// record cleared. On exit: the record ended as the operation says (reset with its name after a
// success, finished with its name, or kept as the operation recorded it) and the line
// "<-- name". No exception leaves the frame.
#pragma once

#include <string>
#include <string_view>

#include "component/error_record.h"
#include "component/trace_log.h"
#include "component/types.h"

namespace lumivex {

// Where operations report: their trace lines and the last-error record.
struct Reporting {
  TraceLog trace;
  ErrorRecord record;
};

// How an operation leaves the last-error record.
enum class Ending {
  kReset,   // cleared, naming the operation (after a success)
  kFinish,  // the operation's name stamped on what an inner routine recorded
  kKeep,    // left as the operation recorded it
};

struct Outcome {
  sceReturnCode result;
  Ending ending;
};

constexpr Outcome Succeeded() {
  return {sceSuccess, Ending::kReset};
}
// An inner routine recorded why: the operation marks itself as the failing function.
constexpr Outcome Failed() {
  return {sceError, Ending::kFinish};
}
// The operation recorded its own failure, naming itself.
constexpr Outcome Refused() {
  return {sceError, Ending::kKeep};
}
// The record is finished with the operation's name whatever the result.
constexpr Outcome Finished(sceReturnCode result) {
  return {result, Ending::kFinish};
}

// What an operation records when an exception reaches its frame.
enum class OnException {
  kFinish,         // the record as it stands, finished with the operation's name
  kRecordFailure,  // a cipher error with its own number and text, anything else as
                   // "The requested operation failed" (the DESFire operations)
};

struct FrameStyle {
  std::string_view name;            // recorded in the last-error record
  std::string_view traceName = {};  // in the trace lines, when not the name ("Get ReaderType")
  bool traced = true;               // false: the operation writes its own entry and exit lines
  bool clearOnEntry = true;         // false: the record stays until the operation ends
  OnException onException = OnException::kFinish;
};

class Operation {
 public:
  // entryDetail follows the name in the entry line ("Set Parameters" = "...").
  Operation(Reporting& reporting, const FrameStyle& style, std::string_view entryDetail = {});
  ~Operation();  // the exit line
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // Runs the body (returning an Outcome), ends the record accordingly and returns the result.
  template <typename Body>
  sceReturnCode Run(Body&& body) noexcept {
    Outcome outcome = Refused();
    try {
      outcome = body();
    } catch (...) {
      outcome = Recover();
    }
    End(outcome.ending);
    return outcome.result;
  }
  // Ends the record (for operations that return something else than a sceReturnCode).
  void End(Ending ending) noexcept;

 private:
  // Records what the current exception means (see OnException) and how the frame ends.
  Outcome Recover() noexcept;

  Reporting& reporting_;
  FrameStyle style_;
};

}  // namespace lumivex
