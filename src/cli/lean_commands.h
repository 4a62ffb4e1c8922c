#pragma once

#include "cli/command_line.h"

#include <optional>
#include <string>
#include <vector>

namespace quillon {

// The commands that need nothing of the GUI and run often (a terminal's status line redraws every
// few hundred milliseconds): --version, statusline and mcp. `quillon` runs them before it loads
// the rest of the program. Nothing when `args` names another command.
std::optional<int> runLeanCommand(const std::vector<std::string>& args, CommandStreams streams);

} // namespace quillon
