#include "app/command_line.h"

#include "app/set_credential_command.h"

#include <functional>
#include <ostream>
#include <span>
#include <string_view>

namespace quillon {
namespace {

struct Command {
    std::string_view name;
    std::string_view synopsis;
    std::function<int(std::span<const std::string>, CommandStreams)> run;
};

const std::vector<Command>& commands() {
    static const std::vector<Command> table{
        {"set-credential", "set-credential NAME [--clear]   store a credential read from stdin",
         runSetCredential},
    };
    return table;
}

void printUsage(std::ostream& stream) {
    stream << "Usage: quillon [COMMAND]\n"
              "Without a command, Quillon starts in the panel.\n\nCommands:\n";
    for (const auto& command : commands()) {
        stream << "  " << command.synopsis << '\n';
    }
    stream << "  --help                           show this help\n"
              "  --version                        show the version\n"
              "\nNAME is one of: claude-cookie, codex-cookie, codex-token.\n";
}

} // namespace

std::optional<int> runCommandLine(const std::vector<std::string>& args, CommandStreams streams) {
    if (args.empty()) {
        return std::nullopt;
    }
    const std::string& name = args.front();
    if (name == "--help" || name == "-h" || name == "help") {
        printUsage(streams.out);
        return 0;
    }
    if (name == "--version") {
        streams.out << "quillon " << QUILLON_VERSION << '\n';
        return 0;
    }
    for (const auto& command : commands()) {
        if (command.name == name) {
            return command.run(std::span(args).subspan(1), streams);
        }
    }
    streams.err << "quillon: unknown command '" << name << "'\n\n";
    printUsage(streams.err);
    return 2;
}

} // namespace quillon
