// Runs a script of member calls on one Encoder. The whole script is checked before anything runs:
// a syntax error is reported with its line number and nothing reaches the card.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "cli/member_table.h"
#include "cli/script_parser.h"

namespace lumivex::cli {

struct CompiledCall {
  ScriptLine line;
  const MemberSpec* member = nullptr;      // a method call
  const PropertySpec* property = nullptr;  // Get or Set
  Slots slots;
};

struct CompiledScript {
  std::vector<CompiledCall> calls;
  std::vector<ScriptError> errors;
};

CompiledScript CompileScript(const std::string& text);

enum ExitStatus { kAllSucceeded = 0, kSomeFailed = 1, kUsageError = 2 };

// Runs every call (going on after a failure, as a host would) and prints each one's outcome.
// Returns kAllSucceeded when every call returned sceSuccess, kSomeFailed otherwise, and
// kUsageError (after printing the errors) when the script does not compile.
int RunScript(Encoder& encoder, const std::string& text, bool json, std::ostream& out,
              std::ostream& err);

}  // namespace lumivex::cli
