#pragma once

#include "intents/shared_usage_data.h"

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

// The subcommands of `quillon`. Each command gets its arguments (after its name) and the three
// standard streams, and returns the process's exit status.
struct CommandStreams {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
};

// What the intent commands need from the rest of the shell, handed in by the application that
// owns those parts: drawing the result card into a PNG file, and showing a desktop notification
// and waiting briefly for the service's answer. Each gives false when it could not.
struct CommandExtras {
    std::function<bool(const std::optional<SharedUsageData>& snapshot, const std::string& path)>
        saveCard;
    std::function<bool(const std::string& title, const std::string& body)> notify;
};

// Runs the subcommand that `args` (argv without the program name) names, or --help/--version.
// Gives nothing when no subcommand is named, i.e. the panel application should start.
// An unknown subcommand prints the usage on standard error and gives 2.
std::optional<int> runCommandLine(const std::vector<std::string>& args, CommandStreams streams,
                                  const CommandExtras& extras);

} // namespace quillon
