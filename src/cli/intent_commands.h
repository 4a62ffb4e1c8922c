#pragma once

#include "cli/command_line.h"

#include <span>
#include <string>

namespace quillon {

// `quillon get-usage [--card FILE.png] [--notify] [--speak]`, `get-claude-usage`,
// `get-codex-usage` and `refresh-usage` (the last three without --card): print the reply as one
// line on standard output and exit 0. The readers answer from the snapshot the running program
// saved last; they need neither the network nor the program itself.
//   --card FILE.png  also draws the result card of get-usage into FILE.png
//   --notify         also shows the reply as a desktop notification
//   --speak          also speaks the reply through speech-dispatcher, where it is installed
int runGetUsage(std::span<const std::string> args, CommandStreams streams,
                const CommandExtras& extras);
int runGetClaudeUsage(std::span<const std::string> args, CommandStreams streams,
                      const CommandExtras& extras);
int runGetCodexUsage(std::span<const std::string> args, CommandStreams streams,
                     const CommandExtras& extras);
int runRefreshUsage(std::span<const std::string> args, CommandStreams streams,
                    const CommandExtras& extras);

// `quillon shortcuts [--desktop-actions]`: the intents with their phrases, or the desktop
// entry's action groups generated from the same table.
int runShortcuts(std::span<const std::string> args, CommandStreams streams);

} // namespace quillon
