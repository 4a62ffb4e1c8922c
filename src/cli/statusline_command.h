#pragma once

#include "cli/command_line.h"

#include <span>
#include <string>

namespace quillon {

// `quillon statusline`: the command for Claude Code's status line. Reads the session's JSON from
// standard input (when it is not a terminal) and prints one line: the running Quillon's figures
// from its session-bus interface, or the saved snapshot with its age when Quillon is not
// running. Never a network call; exits 0 whatever it could read, so the line always shows.
int runStatusLine(std::span<const std::string> args, CommandStreams streams);

} // namespace quillon
