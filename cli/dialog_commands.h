// The tool's commands over the dialogs: configure (the configuration dialog, through
// Encoder::Configure, on the terminal) and test-reader (the test dialog's sequence).
#pragma once

#include <istream>
#include <ostream>
#include <string>

#include "cli/tool_context.h"

namespace lumivex::cli {

// Lets the operator choose the reader and the protocol (and test them) from numbered prompts,
// then prints the resulting Parameters text; nothing is stored. 0 when confirmed, 1 when
// cancelled or when the encoder cannot be opened.
int ConfigureCommand(ToolContext& context, const std::string& language, std::istream& in,
                     std::ostream& out, std::ostream& err);

// Runs the reader test on the reader and protocol of the global options (without --reader: the
// simulated reader, or the first reader PC/SC lists) and prints its lines. 0 only after the
// success line.
int TestReaderCommand(ToolContext& context, const std::string& language, std::ostream& out,
                      std::ostream& err);

}  // namespace lumivex::cli
