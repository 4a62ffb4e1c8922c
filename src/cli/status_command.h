#pragma once

#include "cli/command_line.h"

#include <span>
#include <string>

namespace quillon {

// The exit status of `quillon status` when Quillon is not running.
inline constexpr int statusNotRunning = 3;

// `quillon status [--format text|json|waybar|i3bar] [--watch | --once]`: the running
// application's figures, read from its session-bus interface, in the chosen format.
//   --watch  a new line (a new block for text) on every change the application announces, until
//            ended; while it is not running, a "not running" line, and its figures again once
//            it is back
//   --once   fetches the figures itself from the providers, as the application would, and
//            prints them; stores nothing
// Without either, prints once and exits 0, or says that Quillon is not running on standard
// error and exits 3.
int runStatus(std::span<const std::string> args, CommandStreams streams);

} // namespace quillon
