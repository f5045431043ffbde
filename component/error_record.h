// The last-error record of an Encoder and the ways operations write it: set some fields, clear it
// on entry, finish it with the operation's name on exit, or record a failure of their own.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "component/cerror.h"
#include "component/failures.h"

namespace lumivex {

// Fields of a Set: a field left empty keeps the record's current value. The {} initialisers let
// callers name only the fields they set ({.Number = ..., .RdrCommand = ...}).
struct ErrorFields {
  std::optional<std::int32_t> Number{};
  std::optional<std::string> Description{};
  std::optional<std::int32_t> LastDllError{};
  std::optional<std::string> ComFunction{};
  std::optional<std::string> RdrCommand{};
  std::optional<std::string> RdrRetCode{};
};

class ErrorRecord {
 public:
  [[nodiscard]] CError& record() { return record_; }
  [[nodiscard]] std::int32_t Number() const { return record_.Number(); }

  void Set(const ErrorFields& fields);
  // Number 0, every text empty, ComFunction the given name.
  void Clear(std::string_view comFunction = {});
  // Stamps the public operation's name when it ends, keeping the inner routine that failed as a
  // prefix of the reader-side command (EncoderCommand:SCardTransmit:GetUID).
  void Finish(std::string_view functionName);
  // A failure of the named function: its number and text, and the reader side when given (the
  // other fields keep their values).
  void Fail(const Failure& failure, std::string_view function,
            std::optional<std::string> rdrCommand = std::nullopt,
            std::optional<std::string> rdrRetCode = std::nullopt);
  // The failure when nothing has been recorded yet (Number 0); a more precise failure of an inner
  // routine stays.
  void FailIfNone(const Failure& failure);

 private:
  CError record_;
};

}  // namespace lumivex
