#pragma once

#include "cli/command_line.h"

#include <span>
#include <string>

namespace quillon {

// `quillon set-credential claude-cookie|codex-cookie|codex-token [--clear]`: stores the value
// read from standard input (so that it stays out of shell history and process lists), exactly as
// given except for one trailing newline from the terminal. Prints nothing of the value.
int runSetCredential(std::span<const std::string> args, CommandStreams streams);

} // namespace quillon
