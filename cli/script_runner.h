// Runs a script of member calls on one Encoder, line by line, so memory stays flat however long
// the script is. A script (a file or a text) is checked whole before anything runs: a syntax
// error is reported with its line number and nothing reaches the card. Standard input instead
// runs each line as it arrives and flushes its answer, so another program can drive a station
// through a pipe.
#pragma once

#include <functional>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "cli/member_table.h"
#include "cli/script_parser.h"

namespace lumivex::cli {

struct CompiledCall {
  ScriptLine line;
  const MemberInfo* member = nullptr;      // a method call
  const PropertyInfo* property = nullptr;  // Get or Set
  Slots slots;
};

struct CompiledScript {
  std::vector<CompiledCall> calls;
  std::vector<ScriptError> errors;
};

// One line checked against the member table: the call, or nullopt with `error` set.
std::optional<CompiledCall> CompileLine(const ScriptLine& line, std::string& error);
// Every line of a text (for tests and fuzzing; the runners below never hold a whole script).
CompiledScript CompileScript(const std::string& text);

enum ExitStatus { kAllSucceeded = 0, kSomeFailed = 1, kUsageError = 2 };

// The tool's own note on a failed call ("" for none), printed after its error record (text:
// "  Note: ...", JSON: "note").
using FailureNote = std::function<std::string(const CError& record)>;

// A checked script: a first pass over `in` checks every line; when one is wrong the errors are
// printed on err (the first 100, then their count) and nothing runs. Otherwise `in` is rewound
// and a second pass runs every call (going on after a failure, as a host would), printing each
// one's outcome. Returns kAllSucceeded when every call returned sceSuccess, kSomeFailed
// otherwise, and kUsageError when the script does not compile or `in` cannot be rewound.
int RunCheckedScript(Encoder& encoder, std::istream& in, bool json, std::ostream& out,
                     std::ostream& err, const FailureNote& note = {});
int RunScript(Encoder& encoder, const std::string& text, bool json, std::ostream& out,
              std::ostream& err, const FailureNote& note = {});

// A co-process: each line of `in` runs as soon as it has arrived and its answer is flushed.
// Every line other than a blank line or a comment gets exactly one answer; with json a line
// with a syntax error gets {"line": N, "error": "..."} on out (in text, "line N: ..." on err)
// and the next lines still run. Returns kUsageError when a line was wrong, else as above.
int RunScriptAsItArrives(Encoder& encoder, std::istream& in, bool json, std::ostream& out,
                         std::ostream& err, const FailureNote& note = {});

}  // namespace lumivex::cli
