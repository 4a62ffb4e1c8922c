#include "mcp/mcp_session.h"

#include <algorithm>
#include <utility>

namespace quillon::mcp {
namespace {

// Thrown inside the session for a request that gets a protocol error instead of a result.
struct ProtocolError {
    int code;
    std::string message;
};

Json textContent(const std::string& text) {
    return Json::array({Json{{"type", "text"}, {"text", text}}});
}

} // namespace

const std::vector<std::string>& supportedProtocolVersions() {
    static const std::vector<std::string> versions{"2025-11-25", "2025-06-18", "2025-03-26",
                                                   "2024-11-05", "2024-10-07"};
    return versions;
}

Session::Session(ServerInfo info, std::vector<Tool> tools)
    : info_(std::move(info)), tools_(std::move(tools)) {}

std::string Session::oversizedLineReply() {
    return jsonrpc::dumpLine(
        jsonrpc::error(nullptr, jsonrpc::parseError, "Parse error: message too long"));
}

std::optional<std::string> Session::handleLine(std::string_view line) {
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) {
        return std::nullopt;
    }
    const Json message = Json::parse(line, nullptr, false);
    if (message.is_discarded()) {
        return jsonrpc::dumpLine(jsonrpc::error(nullptr, jsonrpc::parseError, "Parse error"));
    }
    if (message.is_array()) {
        // A batch: one reply array for the requests in it, none when it held only notifications.
        if (message.empty()) {
            return jsonrpc::dumpLine(
                jsonrpc::error(nullptr, jsonrpc::invalidRequest, "Invalid Request: empty batch"));
        }
        Json replies = Json::array();
        for (const Json& each : message) {
            if (auto reply = handleMessage(each)) {
                replies.push_back(std::move(*reply));
            }
        }
        if (replies.empty()) {
            return std::nullopt;
        }
        return jsonrpc::dumpLine(replies);
    }
    const auto reply = handleMessage(message);
    if (!reply) {
        return std::nullopt;
    }
    return jsonrpc::dumpLine(*reply);
}

std::optional<Json> Session::handleMessage(const Json& message) {
    const jsonrpc::Message read = jsonrpc::readMessage(message);
    if (const auto* invalid = std::get_if<jsonrpc::Invalid>(&read)) {
        return jsonrpc::error(invalid->id, invalid->code, invalid->message);
    }
    const auto* request = std::get_if<jsonrpc::Request>(&read);
    if (request == nullptr || !request->id) {
        // Replies to requests we never sent, and notifications: nothing to answer. A
        // cancellation can only name a request already answered, since requests are handled
        // one at a time.
        return std::nullopt;
    }
    try {
        return jsonrpc::result(*request->id, handleRequest(*request));
    } catch (const ProtocolError& error) {
        return jsonrpc::error(*request->id, error.code, error.message);
    } catch (const std::exception&) {
        return jsonrpc::error(*request->id, jsonrpc::internalError, "Internal error");
    }
}

Json Session::handleRequest(const jsonrpc::Request& request) {
    if (request.method == "initialize") {
        return initialize(request.params);
    }
    if (request.method == "ping") {
        return Json::object();
    }
    if (request.method == "tools/list") {
        return listTools();
    }
    if (request.method == "tools/call") {
        return callTool(request.params);
    }
    throw ProtocolError{jsonrpc::methodNotFound, "Method not found: " + request.method};
}

Json Session::initialize(const Json& params) {
    const auto& versions = supportedProtocolVersions();
    std::string version = versions.front();
    if (params.is_object()) {
        const auto asked = params.find("protocolVersion");
        if (asked != params.end() && asked->is_string() &&
            std::ranges::find(versions, asked->get<std::string>()) != versions.end()) {
            version = asked->get<std::string>();
        }
    }
    protocolVersion_ = version;
    Json result;
    result["protocolVersion"] = version;
    result["capabilities"] = Json{{"tools", Json{{"listChanged", false}}}};
    result["serverInfo"] = Json{{"name", info_.name}, {"version", info_.version}};
    if (!info_.instructions.empty()) {
        result["instructions"] = info_.instructions;
    }
    return result;
}

Json Session::listTools() const {
    Json tools = Json::array();
    for (const Tool& tool : tools_) {
        tools.push_back(Json{{"name", tool.name},
                             {"title", tool.title},
                             {"description", tool.description},
                             {"inputSchema", tool.inputSchema},
                             {"outputSchema", tool.outputSchema}});
    }
    return Json{{"tools", tools}};
}

Json Session::callTool(const Json& params) {
    const auto name = params.is_object() ? params.find("name") : params.end();
    if (name == params.end() || !name->is_string()) {
        throw ProtocolError{jsonrpc::invalidParams, "Invalid params: name must be a string"};
    }
    const auto tool = std::ranges::find(tools_, name->get<std::string>(), &Tool::name);
    if (tool == tools_.end()) {
        throw ProtocolError{jsonrpc::invalidParams, "Unknown tool: " + name->get<std::string>()};
    }
    Json arguments = Json::object();
    if (const auto given = params.find("arguments"); given != params.end() && !given->is_null()) {
        if (!given->is_object()) {
            throw ProtocolError{jsonrpc::invalidParams,
                                "Invalid params: arguments must be an object"};
        }
        arguments = *given;
    }
    ToolResult outcome;
    try {
        outcome = tool->call(arguments);
    } catch (const InvalidArguments& invalid) {
        throw ProtocolError{jsonrpc::invalidParams, invalid.what()};
    } catch (const std::exception&) {
        outcome = ToolResult{"The tool failed unexpectedly.", std::nullopt, true};
    }
    Json result;
    result["content"] = textContent(outcome.text);
    if (outcome.structured && !outcome.isError) {
        result["structuredContent"] = *outcome.structured;
    }
    result["isError"] = outcome.isError;
    return result;
}

} // namespace quillon::mcp
