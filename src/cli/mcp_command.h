#pragma once

#include "cli/command_line.h"

#include <span>
#include <string>

namespace quillon {

// `quillon mcp`: a Model Context Protocol server on standard input and output, one JSON-RPC
// message a line, for agents that want to read the figures themselves. Its tools:
//   get_usage      the running Quillon's figures: every window with its percent, reset (ISO 8601
//                  and label) and pace, the plans and the context use
//   refresh_usage  asks the running Quillon to refresh and gives the fresh figures; without it,
//                  fetches once as `status --once` does
// Runs until standard input ends.
int runMcp(std::span<const std::string> args, CommandStreams streams);

} // namespace quillon
