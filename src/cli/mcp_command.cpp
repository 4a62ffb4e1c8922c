#include "cli/mcp_command.h"

#include "cli/command_application.h"
#include "cli/mcp_tools.h"
#include "mcp/mcp_session.h"

#include <csignal>
#include <istream>
#include <ostream>

namespace quillon {
namespace {

// No message a client sends is near this; a longer line is answered with an error and skipped.
constexpr std::size_t lineLimit = std::size_t{4} << 20;

} // namespace

int runMcp(std::span<const std::string> args, CommandStreams streams) {
    if (!args.empty()) {
        streams.err << "Usage: quillon mcp   (a Model Context Protocol server on stdin/stdout)\n";
        return 2;
    }
    // A client that goes away shows up as a failed write instead of killing the process.
    std::signal(SIGPIPE, SIG_IGN);
    const auto app = makeCoreApplication();
    mcp::Session session({"quillon", QUILLON_VERSION,
                          "Quillon reports how much of the user's Claude and Codex rate-limit "
                          "windows is used. Call get_usage before long or costly work."},
                         usageTools());
    for (;;) {
        bool tooLong = false;
        const auto line = jsonrpc::readBoundedLine(streams.in, lineLimit, tooLong);
        std::optional<std::string> reply;
        if (tooLong) {
            reply = mcp::Session::oversizedLineReply();
        } else if (line) {
            reply = session.handleLine(*line);
        } else {
            break;
        }
        if (reply) {
            streams.out << *reply << '\n';
            streams.out.flush();
            if (!streams.out) {
                break;
            }
        }
    }
    return 0;
}

} // namespace quillon
