// The trace of an Encoder: every step of every operation as one line of text. Lines leave the
// component only through the sink a caller sets (none by default: they are discarded, and then
// not even built). Key material that operations remember is masked ('*') in a line before it
// leaves, in its compact and in its spaced hexadecimal form, whether or not it parses as a key.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "component/bytes.h"
#include "component/hex.h"

namespace lumivex {

class TraceLog {
 public:
  using Sink = std::function<void(std::string_view line)>;

  TraceLog() = default;
  ~TraceLog();  // wipes the remembered secrets
  TraceLog(const TraceLog&) = delete;
  TraceLog& operator=(const TraceLog&) = delete;

  void SetSink(Sink sink) { sink_ = std::move(sink); }
  [[nodiscard]] bool enabled() const { return static_cast<bool>(sink_); }

  // One line made of texts and numbers; built only when a sink will receive it.
  template <typename... Pieces>
  void Line(const Pieces&... pieces) {
    if (!enabled()) return;
    std::string line;
    (Append(line, pieces), ...);
    Write(line);
  }
  // A finished line: masked, then handed to the sink. A failing sink is ignored.
  void Write(std::string_view line);

  // Remembers key material given as hexadecimal text (blanks ignored). Texts with another
  // character or shorter than 8 digits are not keys and are ignored; at most 64 are kept (the
  // oldest is forgotten first).
  void RememberSecret(std::string_view hex);
  void RememberSecret(ByteView bytes) { RememberSecret(ByteArrayToHex(bytes)); }

 private:
  static void Append(std::string& line, std::string_view text) { line += text; }
  template <std::integral Number>
  requires(!std::same_as<Number, char> &&
           !std::same_as<Number, bool>) static void Append(std::string& line, Number number) {
    line += std::to_string(number);
  }

  Sink sink_;
  std::vector<std::string> secrets_;
};

}  // namespace lumivex
