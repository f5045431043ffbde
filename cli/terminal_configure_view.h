// The configuration dialog on a terminal: numbered prompts on a text stream, answered from
// another (a keyboard or a pipe). An empty answer keeps the selected entry; the end of the input
// cancels the dialog.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "platform/dialogs.h"

namespace lumivex::cli {

class TerminalDialogs : public Dialogs {
 public:
  // echoAnswers: repeat each answer after its prompt, for input that the terminal does not echo
  // (a pipe), so the output reads as a dialogue.
  TerminalDialogs(std::istream& in, std::ostream& out, bool echoAnswers)
      : in_(in), out_(out), echo_(echoAnswers) {}

  ConfigureAnswer ShowConfigure(const ConfigureRequest& request) override;

 private:
  // Shows the entries numbered from 1, marks the selected one, and reads a choice; false at the
  // end of the input.
  bool Choose(const std::string& caption, const std::vector<std::string>& entries,
              std::size_t& selected);

  std::istream& in_;
  std::ostream& out_;
  bool echo_;
};

}  // namespace lumivex::cli
