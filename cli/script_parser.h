// The script language of `lumivex script`: one member call per line on one Encoder.
//
//   Member arg arg ...      calls a method; "text with blanks" in double quotes ("" = one quote);
//                           ? stands for a by-reference output that starts empty (or 0)
//   Get Name                reads a property
//   Set Name value          writes a property
//   # comment               blank lines and comments are skipped
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace lumivex::cli {

struct ScriptArg {
  std::string text;
  bool placeholder = false;  // written as ?
  bool quoted = false;
};

struct ScriptLine {
  enum class Kind { Call, Get, Set };
  int lineNumber = 0;
  Kind kind = Kind::Call;
  std::string member;
  std::vector<ScriptArg> args;
};

struct ScriptError {
  int lineNumber = 0;
  std::string message;
};

// Splits one line into words; nullopt with an error message on an unterminated quote.
std::optional<std::vector<ScriptArg>> SplitWords(const std::string& line, std::string& error);

// Parses one line (lexically: words, quotes, Get/Set forms): a line to run, an error, or neither
// (a blank line or a comment). Member names and argument counts are checked afterwards against
// the member table.
struct ParsedLine {
  std::optional<ScriptLine> line;
  std::optional<ScriptError> error;
};
ParsedLine ParseLine(const std::string& text, int lineNumber);

// Parses a whole script, line by line.
struct ParsedScript {
  std::vector<ScriptLine> lines;
  std::vector<ScriptError> errors;
};
ParsedScript ParseScript(const std::string& text);

}  // namespace lumivex::cli
