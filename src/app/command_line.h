#pragma once

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

// Runs the subcommand that `args` (argv without the program name) names, or --help/--version.
// Gives nothing when no subcommand is named, i.e. the panel application should start.
// An unknown subcommand prints the usage on standard error and gives 2.
std::optional<int> runCommandLine(const std::vector<std::string>& args, CommandStreams streams);

} // namespace quillon
