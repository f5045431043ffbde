#include "cli/script_runner.h"

#include <algorithm>

#include "cli/output.h"

namespace lumivex::cli {

namespace {

void CompileCall(const ScriptLine& line, CompiledScript& script) {
  CompiledCall call;
  call.line = line;
  auto fail = [&](const std::string& message) {
    script.errors.push_back({line.lineNumber, message});
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
    script.calls.push_back(std::move(call));
    return;
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
    std::string error;
    if (!ParseArgument(params[i], arg.text, call.slots[i], error)) return fail(error);
  }
  script.calls.push_back(std::move(call));
}

// An output argument as a value, so text and JSON print it the same way as any other value.
Variant OutputValue(const ParamSpec& p, const Slot& s) {
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
bool RunCall(Encoder& encoder, CompiledCall& call, bool json, std::ostream& out) {
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
    if (failed) line += ", \"lastError\": " + LastErrorJson(encoder.LastError());
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
  }
  return !failed;
}

}  // namespace

CompiledScript CompileScript(const std::string& text) {
  const ParsedScript parsed = ParseScript(text);
  CompiledScript script;
  script.errors = parsed.errors;
  for (const auto& line : parsed.lines) CompileCall(line, script);
  std::stable_sort(
      script.errors.begin(), script.errors.end(),
      [](const ScriptError& a, const ScriptError& b) { return a.lineNumber < b.lineNumber; });
  return script;
}

int RunScript(Encoder& encoder, const std::string& text, bool json, std::ostream& out,
              std::ostream& err) {
  CompiledScript script = CompileScript(text);
  if (!script.errors.empty()) {
    for (const auto& e : script.errors) err << "line " << e.lineNumber << ": " << e.message << "\n";
    err << "nothing was run\n";
    return kUsageError;
  }
  bool allSucceeded = true;
  for (auto& call : script.calls) allSucceeded = RunCall(encoder, call, json, out) && allSucceeded;
  return allSucceeded ? kAllSucceeded : kSomeFailed;
}

}  // namespace lumivex::cli
