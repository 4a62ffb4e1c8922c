#pragma once

#include "mcp/json_rpc.h"

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quillon::mcp {

using Json = jsonrpc::Json;

// The protocol revisions the server speaks, newest first. A client asking for one of them gets
// it; any other request is answered with the newest, and the client decides whether to go on.
const std::vector<std::string>& supportedProtocolVersions();

// What a tool call gives: text for people and models, the same figures as a document that
// follows the tool's output schema, or an error the caller should see (`isError`), which then
// carries only the text.
struct ToolResult {
    std::string text;
    std::optional<Json> structured;
    bool isError = false;
};

// Thrown by a tool for arguments it cannot take; the call is answered with the protocol's
// invalid-params error and this message.
class InvalidArguments : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Tool {
    std::string name;
    std::string title;
    std::string description;
    Json inputSchema;
    Json outputSchema;
    std::function<ToolResult(const Json& arguments)> call;
};

struct ServerInfo {
    std::string name;
    std::string version;
    std::string instructions;
};

// One conversation with a client over a line-based transport: each line in is one message (or a
// batch of them), each reply is one line out. Requests are answered in the order they come;
// notifications (initialized, cancelled, and any other) get no reply. Whatever a line holds, it
// gets a well-formed reply or none, never an exception.
class Session {
public:
    Session(ServerInfo info, std::vector<Tool> tools);

    // The reply to one line, without its line end; nothing when the line calls for none.
    std::optional<std::string> handleLine(std::string_view line);

    // The reply to a line longer than the transport takes.
    static std::string oversizedLineReply();

    // The revision agreed on at initialization; empty before.
    const std::string& protocolVersion() const { return protocolVersion_; }

private:
    std::optional<Json> handleMessage(const Json& message);
    Json handleRequest(const jsonrpc::Request& request);
    Json initialize(const Json& params);
    Json listTools() const;
    Json callTool(const Json& params);

    ServerInfo info_;
    std::vector<Tool> tools_;
    std::string protocolVersion_;
};

} // namespace quillon::mcp
