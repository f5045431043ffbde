#include "cli/script_runner.h"

#include <algorithm>
#include <sstream>

#include "cli/output.h"

namespace lumivex::cli {

namespace {

// At most this many syntax errors are printed; the rest are counted.
constexpr std::size_t kMaxReportedErrors = 100;

}  // namespace

std::optional<CompiledCall> CompileLine(const ScriptLine& line, std::string& error) {
  CompiledCall call;
  call.line = line;
  auto fail = [&](const std::string& message) -> std::optional<CompiledCall> {
    error = message;
    return std::nullopt;
  };
  if (line.kind != ScriptLine::Kind::Call) {
    call.property = FindProperty(line.member);
    if (!call.property) return fail("unknown property '" + line.member + "'");
    if (line.kind == ScriptLine::Kind::Get && !call.property->get) {
      return fail("property '" + line.member + "' cannot be read");
    }
    if (line.kind == ScriptLine::Kind::Set) {
      if (!call.property->set) return fail("property '" + line.member + "' is read-only");
      if (line.args[0].placeholder) return fail("Set needs a value, not ?");
    }
    return call;
  }
  call.member = FindMember(line.member);
  if (!call.member) {
    if (FindProperty(line.member)) {
      return fail("'" + line.member + "' is a property: use Get " + line.member + " or Set " +
                  line.member + " value");
    }
    return fail("unknown member '" + line.member + "'");
  }
  const auto& params = call.member->params;
  std::size_t required = 0;
  for (const auto& p : params) required += p.optional ? 0 : 1;
  if (line.args.size() < required || line.args.size() > params.size()) {
    return fail(line.member + " takes " + std::to_string(required) +
                (required == params.size() ? "" : " to " + std::to_string(params.size())) +
                " argument" + (params.size() == 1 ? "" : "s") + ", not " +
                std::to_string(line.args.size()));
  }
  call.slots.resize(params.size());
  for (std::size_t i = 0; i < line.args.size(); ++i) {
    const ScriptArg& arg = line.args[i];
    if (arg.placeholder) {
      if (!params[i].byReference) {
        return fail(std::string("argument ") + params[i].name +
                    " is an input: ? is only for outputs");
      }
      call.slots[i].given = true;  // starts empty (or 0)
      continue;
    }
    std::string message;
    if (!ParseArgument(params[i], arg.text, call.slots[i], message)) return fail(message);
  }
  return call;
}

namespace {

// An output argument as a value, so text and JSON print it the same way as any other value.
Variant OutputValue(const ParamInfo& p, const Slot& s) {
  switch (p.type) {
    case ArgType::Int32:
      return Variant::FromInt32(s.i4);
    case ArgType::Byte:
      return Variant::FromByte(s.ui1);
    case ArgType::Bool:
      return Variant::FromBool(s.flag);
    case ArgType::Text:
      return Variant::FromText(s.text);
    case ArgType::Variant:
      return s.variant;
    case ArgType::None:
    case ArgType::Object:
      break;
  }
  return {};
}

// Runs one call; returns false when it reported sceError (or sceCanceled).
bool RunCall(Encoder& encoder, CompiledCall& call, bool json, std::ostream& out,
             const FailureNote& note) {
  const std::string& name = call.line.member;
  if (call.property) {
    const bool isSet = call.line.kind == ScriptLine::Kind::Set;
    if (isSet) {
      call.property->set(encoder, call.line.args[0].text);
      out << (json ? "{\"member\": " + JsonString(name) +
                         ", \"set\": " + JsonString(call.line.args[0].text) + "}\n"
                   : "Set " + name + "\n");
      return true;
    }
    if (name == "LastError") {
      const CError& e = encoder.LastError();
      out << (json ? R"({"member": "LastError", "value": )" + LastErrorJson(e) + "}\n"
                   : "Get LastError\n" + LastErrorText(e));
      return true;
    }
    const Variant value = call.property->get(encoder);
    out << (json ? "{\"member\": " + JsonString(name) + ", \"value\": " + VariantJson(value) + "}\n"
                 : name + " = " + VariantText(value) + "\n");
    return true;
  }

  const CallResult result = call.member->call(encoder, call.slots);
  const auto& params = call.member->params;
  const bool failed = result.code && *result.code != sceSuccess;
  if (json) {
    std::string line = "{\"member\": " + JsonString(name);
    if (result.code) line += ", \"result\": " + std::to_string(static_cast<int>(*result.code));
    if (result.value) line += ", \"value\": " + VariantJson(*result.value);
    std::string outputs;
    for (std::size_t i = 0; i < params.size(); ++i) {
      if (!params[i].byReference || !call.slots[i].given) continue;
      outputs += (outputs.empty() ? "" : ", ") + JsonString(params[i].name) + ": " +
                 VariantJson(OutputValue(params[i], call.slots[i]));
    }
    line += ", \"outputs\": {" + outputs + "}";
    const std::string noted = failed && note ? note(encoder.LastError()) : "";
    if (failed) line += ", \"lastError\": " + LastErrorJson(encoder.LastError());
    if (!noted.empty()) line += ", \"note\": " + JsonString(noted);
    out << line << "}\n";
  } else {
    out << name;
    if (result.code) out << ": " << ReturnCodeName(*result.code);
    out << "\n";
    if (result.value) out << "  Value = " << VariantText(*result.value) << "\n";
    for (std::size_t i = 0; i < params.size(); ++i) {
      if (!params[i].byReference || !call.slots[i].given) continue;
      out << "  " << params[i].name << " = " << VariantText(OutputValue(params[i], call.slots[i]))
          << "\n";
    }
    if (failed) out << LastErrorText(encoder.LastError());
    const std::string noted = failed && note ? note(encoder.LastError()) : "";
    if (!noted.empty()) out << "  Note: " << noted << "\n";
  }
  return !failed;
}

}  // namespace

CompiledScript CompileScript(const std::string& text) {
  const ParsedScript parsed = ParseScript(text);
  CompiledScript script;
  script.errors = parsed.errors;
  for (const auto& line : parsed.lines) {
    std::string error;
    if (auto call = CompileLine(line, error)) {
      script.calls.push_back(std::move(*call));
    } else {
      script.errors.push_back({line.lineNumber, error});
    }
  }
  std::stable_sort(
      script.errors.begin(), script.errors.end(),
      [](const ScriptError& a, const ScriptError& b) { return a.lineNumber < b.lineNumber; });
  return script;
}

namespace {

// One line of a script: a call ready to run, an error, or nothing (blank line, comment).
struct LineOutcome {
  std::optional<CompiledCall> call;
  std::optional<ScriptError> error;
};

LineOutcome CompileText(const std::string& text, int lineNumber) {
  LineOutcome outcome;
  ParsedLine parsed = ParseLine(text, lineNumber);
  if (parsed.error) {
    outcome.error = std::move(parsed.error);
  } else if (parsed.line) {
    std::string error;
    outcome.call = CompileLine(*parsed.line, error);
    if (!outcome.call) outcome.error = ScriptError{lineNumber, error};
  }
  return outcome;
}

}  // namespace

int RunCheckedScript(Encoder& encoder, std::istream& in, bool json, std::ostream& out,
                     std::ostream& err, const FailureNote& note) {
  std::string text;
  int number = 0;
  std::size_t errors = 0;
  while (std::getline(in, text)) {
    const LineOutcome outcome = CompileText(text, ++number);
    if (outcome.error && ++errors <= kMaxReportedErrors) {
      err << "line " << outcome.error->lineNumber << ": " << outcome.error->message << "\n";
    }
  }
  if (errors > kMaxReportedErrors) {
    err << "... and " << errors - kMaxReportedErrors << " more errors\n";
  }
  if (errors > 0) {
    err << "nothing was run\n";
    return kUsageError;
  }
  in.clear();
  in.seekg(0);
  if (!in) {
    err << "the script cannot be read a second time (use - to run standard input line by line)\n";
    return kUsageError;
  }
  bool allSucceeded = true;
  number = 0;
  while (std::getline(in, text)) {
    LineOutcome outcome = CompileText(text, ++number);
    if (outcome.call) {
      allSucceeded = RunCall(encoder, *outcome.call, json, out, note) && allSucceeded;
    }
  }
  return allSucceeded ? kAllSucceeded : kSomeFailed;
}

int RunScript(Encoder& encoder, const std::string& text, bool json, std::ostream& out,
              std::ostream& err, const FailureNote& note) {
  std::istringstream in(text);
  return RunCheckedScript(encoder, in, json, out, err, note);
}

int RunScriptAsItArrives(Encoder& encoder, std::istream& in, bool json, std::ostream& out,
                         std::ostream& err, const FailureNote& note) {
  bool allSucceeded = true;
  bool syntaxError = false;
  std::string text;
  for (int number = 1; std::getline(in, text); ++number) {
    LineOutcome outcome = CompileText(text, number);
    if (outcome.error) {
      syntaxError = true;
      if (json) {
        out << "{\"line\": " << number << ", \"error\": " << JsonString(outcome.error->message)
            << "}\n";
      } else {
        err << "line " << number << ": " << outcome.error->message << "\n";
        err.flush();
      }
    } else if (outcome.call) {
      allSucceeded = RunCall(encoder, *outcome.call, json, out, note) && allSucceeded;
    }
    out.flush();
  }
  if (syntaxError) return kUsageError;
  return allSucceeded ? kAllSucceeded : kSomeFailed;
}

}  // namespace lumivex::cli
