#include "component/operation.h"

#include <exception>

#include "crypto/des.h"

namespace lumivex {

Operation::Operation(Reporting& reporting, const FrameStyle& style, std::string_view entryDetail)
    : reporting_(reporting), style_(style) {
  if (style_.traceName.empty()) style_.traceName = style_.name;
  try {
    if (style_.traced) reporting_.trace.Line("--> ", style_.traceName, entryDetail);
    if (style_.clearOnEntry) reporting_.record.Clear();
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing may reach the host
  }
}

Operation::~Operation() {
  try {
    if (style_.traced) reporting_.trace.Line("<-- ", style_.traceName);
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing may reach the host
  }
}

void Operation::End(Ending ending) noexcept {
  try {
    if (ending == Ending::kReset) reporting_.record.Clear(style_.name);
    if (ending == Ending::kFinish) reporting_.record.Finish(style_.name);
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing may reach the host
  }
}

Outcome Operation::Recover() noexcept {
  if (style_.onException == OnException::kFinish) return Failed();
  try {
    try {
      throw;
    } catch (const crypto::DesError& error) {
      reporting_.record.Set({.Number = error.number(),
                             .Description = error.what(),
                             .ComFunction = std::string(style_.name)});
    } catch (const std::exception& error) {
      reporting_.record.Fail(failure::kOperationFailed, style_.name, std::nullopt, error.what());
    } catch (...) {
      reporting_.record.Fail(failure::kOperationFailed, style_.name);
    }
  } catch (...) {  // NOLINT(bugprone-empty-catch): recording failed too; the result stands
  }
  return Refused();
}

}  // namespace lumivex
