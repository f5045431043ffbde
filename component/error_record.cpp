#include "component/error_record.h"

namespace lumivex {

void ErrorRecord::Set(const ErrorFields& fields) {
  if (fields.Number) record_.Number(*fields.Number);
  if (fields.Description) record_.Description(*fields.Description);
  if (fields.LastDllError) record_.LastDllError(*fields.LastDllError);
  if (fields.ComFunction) record_.ComFunction(*fields.ComFunction);
  if (fields.RdrCommand) record_.RdrCommand(*fields.RdrCommand);
  if (fields.RdrRetCode) record_.RdrRetCode(*fields.RdrRetCode);
}

void ErrorRecord::Clear(std::string_view comFunction) {
  record_.Number(0);
  record_.Description({});
  record_.LastDllError(0);
  record_.ComFunction(std::string(comFunction));
  record_.RdrCommand({});
  record_.RdrRetCode({});
}

void ErrorRecord::Finish(std::string_view functionName) {
  std::string inner = record_.ComFunction();
  if (!inner.empty()) {
    const std::string& command = record_.RdrCommand();
    if (!command.empty()) inner += ":" + command;
    record_.RdrCommand(std::move(inner));
  }
  record_.ComFunction(std::string(functionName));
}

void ErrorRecord::Fail(const Failure& failure, std::string_view function,
                       std::optional<std::string> rdrCommand,
                       std::optional<std::string> rdrRetCode) {
  record_.Number(failure.number);
  record_.Description(failure.description);
  record_.ComFunction(std::string(function));
  if (rdrCommand) record_.RdrCommand(std::move(*rdrCommand));
  if (rdrRetCode) record_.RdrRetCode(std::move(*rdrRetCode));
}

void ErrorRecord::FailIfNone(const Failure& failure) {
  if (record_.Number() != 0) return;
  record_.Number(failure.number);
  record_.Description(failure.description);
}

}  // namespace lumivex
