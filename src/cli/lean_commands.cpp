#include "cli/lean_commands.h"

#include "cli/statusline_command.h"

#include <ostream>
#include <span>

namespace quillon {

std::optional<int> runLeanCommand(const std::vector<std::string>& args, CommandStreams streams) {
    if (args.empty()) {
        return std::nullopt;
    }
    const std::string& name = args.front();
    if (name == "--version") {
        streams.out << "quillon " << QUILLON_VERSION << '\n';
        return 0;
    }
    const auto rest = std::span(args).subspan(1);
    if (name == "statusline") {
        return runStatusLine(rest, streams);
    }
    return std::nullopt;
}

} // namespace quillon
