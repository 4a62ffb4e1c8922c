#include "cli/command_line.h"

#include "cli/intent_commands.h"
#include "cli/lean_commands.h"
#include "cli/mcp_command.h"
#include "cli/set_credential_command.h"
#include "cli/status_command.h"

#include <functional>
#include <ostream>
#include <span>
#include <string_view>

namespace quillon {
namespace {

struct Command {
    std::string_view name;
    std::string_view synopsis;
    std::function<int(std::span<const std::string>, CommandStreams, const CommandExtras&)> run;
};

using PlainCommand = int (*)(std::span<const std::string>, CommandStreams);

auto withoutExtras(PlainCommand command) {
    return [command](std::span<const std::string> args, CommandStreams streams,
                     const CommandExtras&) { return command(args, streams); };
}

const std::vector<Command>& commands() {
    static const std::vector<Command> table{
        {"set-credential", "set-credential NAME [--clear]   store a credential read from stdin",
         withoutExtras(runSetCredential)},
        {"get-usage",
         "get-usage [--card FILE.png] [--notify] [--speak]\n"
         "                                   Claude's and Codex's five-hour use, as last saved",
         runGetUsage},
        {"get-claude-usage",
         "get-claude-usage [--notify] [--speak]\n"
         "                                   Claude's five-hour use and when it resets",
         runGetClaudeUsage},
        {"get-codex-usage",
         "get-codex-usage [--notify] [--speak]\n"
         "                                   Codex's five-hour use and when it resets",
         runGetCodexUsage},
        {"refresh-usage",
         "refresh-usage [--notify] [--speak]\n"
         "                                   ask for fresh figures (the panel refreshes every "
         "minute)",
         runRefreshUsage},
        {"status",
         "status [--format text|json|waybar|i3bar] [--watch | --once]\n"
         "                                   the running Quillon's figures and the pace of each\n"
         "                                   window, for status bars and scripts",
         withoutExtras(runStatus)},
        // Listed for the help; runLeanCommand runs it.
        {"statusline",
         "statusline                       one line for Claude Code's status line (reads its\n"
         "                                   JSON on stdin)",
         nullptr},
        {"mcp", "mcp                              a Model Context Protocol server on stdin/stdout",
         withoutExtras(runMcp)},
        {"shortcuts",
         "shortcuts [--desktop-actions]    the intents and the phrases that ask for them",
         withoutExtras(runShortcuts)},
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
              "\nNAME is one of: claude-cookie, codex-cookie, codex-token.\n"
              "--card draws the answer's card as a PNG, --notify also shows the answer as a\n"
              "desktop notification, --speak also speaks it (speech-dispatcher's spd-say).\n"
              "status reads the running Quillon over the session bus: --watch prints again on\n"
              "every change, --once fetches the figures itself instead. It exits 3 when Quillon\n"
              "is not running (without --watch or --once).\n";
}

} // namespace

std::optional<int> runCommandLine(const std::vector<std::string>& args, CommandStreams streams,
                                  const CommandExtras& extras) {
    if (args.empty()) {
        return std::nullopt;
    }
    const std::string& name = args.front();
    if (name == "--help" || name == "-h" || name == "help") {
        printUsage(streams.out);
        return 0;
    }
    if (const auto status = runLeanCommand(args, streams)) {
        return status;
    }
    for (const auto& command : commands()) {
        if (command.name == name && command.run) {
            return command.run(std::span(args).subspan(1), streams, extras);
        }
    }
    streams.err << "quillon: unknown command '" << name << "'\n\n";
    printUsage(streams.err);
    return 2;
}

} // namespace quillon
