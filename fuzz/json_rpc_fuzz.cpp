// Lines from an MCP client through the JSON-RPC reading and the session's answers: every line
// gets a reply that is valid JSON on one line, or none, and never an exception.
#include "mcp/mcp_session.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

void check(bool ok) {
    if (!ok) {
        std::abort();
    }
}

quillon::mcp::Session makeSession() {
    using quillon::mcp::Json;
    return quillon::mcp::Session(
        {"quillon", "0", ""},
        {quillon::mcp::Tool{"echo", "Echo", "", Json{{"type", "object"}}, Json{{"type", "object"}},
                            [](const Json& arguments) -> quillon::mcp::ToolResult {
                                if (arguments.contains("bad")) {
                                    throw quillon::mcp::InvalidArguments("bad");
                                }
                                return {"echo", Json{{"arguments", arguments}}, false};
                            }}});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    static quillon::mcp::Session session = makeSession();
    std::istringstream lines(input);
    for (;;) {
        bool tooLong = false;
        const auto line = quillon::jsonrpc::readBoundedLine(lines, 4096, tooLong);
        if (!line && !tooLong) {
            break;
        }
        check(!line || line->find('\n') == std::string::npos);
        const auto reply = line ? session.handleLine(*line)
                                : std::optional(quillon::mcp::Session::oversizedLineReply());
        if (reply) {
            check(reply->find('\n') == std::string::npos);
            check(!quillon::jsonrpc::Json::parse(*reply, nullptr, false).is_discarded());
        }
    }
    return 0;
}
