// `lumivex demo`: the main job. Encodes a MIFARE Classic 1K card and a DESFire card (on the
// built-in simulator, or the card on a real reader), checks every write by reading it back, and
// prints each step with its result and a one-line summary.
#pragma once

#include <ostream>

#include "cli/tool_context.h"

namespace lumivex::cli {

// Returns 0 when every step and check passed, 1 otherwise.
int RunDemo(ToolContext& context, std::ostream& out);

}  // namespace lumivex::cli
