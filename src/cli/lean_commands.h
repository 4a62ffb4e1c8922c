#pragma once

#include "cli/command_line.h"

#include <optional>
#include <string>
#include <vector>

namespace quillon {

// The commands that must start quickly (a terminal's status line is redrawn every few hundred
// milliseconds): --version and statusline. `quillon` runs them with Qt's core and bus libraries
// only, before it loads the rest of the program. Nothing when `args` names another command.
std::optional<int> runLeanCommand(const std::vector<std::string>& args, CommandStreams streams);

} // namespace quillon
