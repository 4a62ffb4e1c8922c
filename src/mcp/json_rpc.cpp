#include "mcp/json_rpc.h"

#include <istream>

namespace quillon::jsonrpc {
namespace {

// JSON-RPC ids are strings or numbers (null is allowed but discouraged); anything else is not
// an id we can answer to.
bool validId(const Json& id) {
    return id.is_string() || id.is_number() || id.is_null();
}

} // namespace

Message readMessage(const Json& json) {
    if (!json.is_object()) {
        return Invalid{nullptr, invalidRequest, "Invalid Request: not an object"};
    }
    const auto id = json.find("id");
    const Json replyId = id != json.end() && validId(*id) ? *id : Json(nullptr);
    const auto version = json.find("jsonrpc");
    if (version == json.end() || *version != "2.0") {
        return Invalid{replyId, invalidRequest, "Invalid Request: jsonrpc must be \"2.0\""};
    }
    if (id != json.end() && !validId(*id)) {
        return Invalid{nullptr, invalidRequest, "Invalid Request: bad id"};
    }
    const auto method = json.find("method");
    if (method == json.end()) {
        if (json.contains("result") || json.contains("error")) {
            return Response{};
        }
        return Invalid{replyId, invalidRequest, "Invalid Request: no method"};
    }
    if (!method->is_string()) {
        return Invalid{replyId, invalidRequest, "Invalid Request: method must be a string"};
    }
    Request request;
    request.method = method->get<std::string>();
    if (id != json.end()) {
        request.id = *id;
    }
    if (const auto params = json.find("params"); params != json.end()) {
        if (!params->is_object() && !params->is_array()) {
            return Invalid{replyId, invalidParams, "Invalid params: must be an object"};
        }
        request.params = *params;
    }
    return request;
}

Json result(const Json& id, Json value) {
    Json reply;
    reply["jsonrpc"] = "2.0";
    reply["id"] = id;
    reply["result"] = std::move(value);
    return reply;
}

Json error(const Json& id, int code, std::string_view message) {
    Json reply;
    reply["jsonrpc"] = "2.0";
    reply["id"] = id;
    reply["error"] = Json{{"code", code}, {"message", message}};
    return reply;
}

std::optional<std::string> readBoundedLine(std::istream& in, std::size_t limit, bool& tooLong) {
    tooLong = false;
    std::string line;
    std::streambuf* buffer = in.rdbuf();
    if (buffer == nullptr) {
        in.setstate(std::ios::eofbit | std::ios::failbit);
        return std::nullopt;
    }
    bool any = false;
    for (;;) {
        const auto c = buffer->sbumpc();
        if (c == std::char_traits<char>::eof()) {
            in.setstate(std::ios::eofbit);
            if (!any) {
                return std::nullopt;
            }
            break;
        }
        any = true;
        if (c == '\n') {
            break;
        }
        if (line.size() >= limit) {
            tooLong = true;
            continue;
        }
        line.push_back(static_cast<char>(c));
    }
    if (tooLong) {
        return std::nullopt;
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

std::string dumpLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace quillon::jsonrpc
