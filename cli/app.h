// The lumivex command-line tool: global options, the commands readers, info, uid, script, demo.
#pragma once

namespace lumivex::cli {

// Returns the process exit status: 0 success, 1 a card operation failed, 2 usage or syntax error.
int RunTool(int argc, char** argv);

}  // namespace lumivex::cli
