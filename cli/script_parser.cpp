#include "cli/script_parser.h"

#include <sstream>

namespace lumivex::cli {

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

bool EqualsNoCase(const std::string& a, const char* b) {
  std::size_t i = 0;
  for (; i < a.size() && b[i] != '\0'; ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return i == a.size() && b[i] == '\0';
}

}  // namespace

std::optional<std::vector<ScriptArg>> SplitWords(const std::string& line, std::string& error) {
  std::vector<ScriptArg> words;
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && IsBlank(line[i])) ++i;
    if (i >= line.size()) break;
    ScriptArg word;
    if (line[i] == '"') {
      word.quoted = true;
      ++i;
      bool closed = false;
      while (i < line.size()) {
        if (line[i] == '"') {
          if (i + 1 < line.size() && line[i + 1] == '"') {
            word.text += '"';
            i += 2;
            continue;
          }
          closed = true;
          ++i;
          break;
        }
        word.text += line[i++];
      }
      if (!closed) {
        error = "unterminated quoted text";
        return std::nullopt;
      }
      if (i < line.size() && !IsBlank(line[i])) {
        error = "a quoted text must be followed by a blank";
        return std::nullopt;
      }
    } else {
      while (i < line.size() && !IsBlank(line[i])) {
        if (line[i] == '"') {
          error = "a quote may only start a word";
          return std::nullopt;
        }
        word.text += line[i++];
      }
      word.placeholder = word.text == "?";
    }
    words.push_back(std::move(word));
  }
  return words;
}

ParsedLine ParseLine(const std::string& text, int lineNumber) {
  ParsedLine result;
  const auto fail = [&](std::string message) {
    result.error = ScriptError{lineNumber, std::move(message)};
    return result;
  };
  std::size_t start = 0;
  while (start < text.size() && IsBlank(text[start])) ++start;
  if (start == text.size() || text[start] == '#') return result;

  std::string error;
  auto words = SplitWords(text, error);
  if (!words) return fail(error);
  if (words->empty()) return result;
  ScriptLine parsed;
  parsed.lineNumber = lineNumber;
  const ScriptArg& first = words->front();
  if (first.quoted || first.placeholder)
    return fail("a line must start with a member name, Get or Set");
  std::size_t argsFrom = 1;
  if (EqualsNoCase(first.text, "Get") || EqualsNoCase(first.text, "Set")) {
    const bool isGet = EqualsNoCase(first.text, "Get");
    parsed.kind = isGet ? ScriptLine::Kind::Get : ScriptLine::Kind::Set;
    if (words->size() < 2 || (*words)[1].quoted || (*words)[1].placeholder) {
      return fail(std::string(isGet ? "Get" : "Set") + " needs a property name");
    }
    parsed.member = (*words)[1].text;
    argsFrom = 2;
    const std::size_t expected = isGet ? 0 : 1;
    if (words->size() - argsFrom != expected) {
      return fail(isGet ? "Get takes a property name only"
                        : "Set takes a property name and one value");
    }
  } else {
    parsed.member = first.text;
  }
  parsed.args.assign(words->begin() + static_cast<std::ptrdiff_t>(argsFrom), words->end());
  result.line = std::move(parsed);
  return result;
}

ParsedScript ParseScript(const std::string& text) {
  ParsedScript script;
  std::istringstream in(text);
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ParsedLine parsed = ParseLine(line, ++number);
    if (parsed.error) script.errors.push_back(std::move(*parsed.error));
    if (parsed.line) script.lines.push_back(std::move(*parsed.line));
  }
  return script;
}

}  // namespace lumivex::cli
