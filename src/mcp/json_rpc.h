#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quillon::jsonrpc {

using Json = nlohmann::ordered_json;

// The error codes JSON-RPC 2.0 defines.
enum ErrorCode : int {
    parseError = -32700,
    invalidRequest = -32600,
    methodNotFound = -32601,
    invalidParams = -32602,
    internalError = -32603,
};

// One message from the peer, as far as the server needs to tell it apart.
struct Request {
    // Absent for a notification, which gets no reply.
    std::optional<Json> id;
    std::string method;
    // Always an object or an array; an absent `params` reads as an empty object.
    Json params = Json::object();
};

// A reply or a notification the peer sent us; the server has none outstanding, so it drops them.
struct Response {};

// A message that is not one: answered with this error, addressed to `id` (null when the id could
// not be read).
struct Invalid {
    Json id;
    int code = invalidRequest;
    std::string message;
};

using Message = std::variant<Request, Response, Invalid>;

// Reads one message (a JSON value already parsed out of a line).
Message readMessage(const Json& json);

Json result(const Json& id, Json value);
Json error(const Json& id, int code, std::string_view message);

// Reads one line of at most `limit` bytes from `in`, without the line end. A longer line is
// consumed to its end and given as nothing, so one oversized message cannot exhaust memory and
// the next line is read normally. Gives nothing with `in` at its end, too: tell the two apart
// with `in.eof()`.
std::optional<std::string> readBoundedLine(std::istream& in, std::size_t limit, bool& tooLong);

// A document on one line; text that is not UTF-8 is replaced, so the line is always valid JSON.
std::string dumpLine(const Json& json);

} // namespace quillon::jsonrpc
