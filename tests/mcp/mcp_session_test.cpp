#include "mcp/mcp_session.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quillon::mcp {
namespace {

Json parse(const std::optional<std::string>& line) {
    EXPECT_TRUE(line.has_value());
    return line ? Json::parse(*line) : Json();
}

Json request(int id, const std::string& method, Json params = Json::object()) {
    return Json{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}};
}

class McpSessionTest : public ::testing::Test {
protected:
    McpSessionTest()
        : session({"quillon", "1.2.3", "read the figures"},
                  {Tool{"echo", "Echo", "gives its argument back", Json{{"type", "object"}},
                        Json{{"type", "object"}}, [this](const Json& arguments) -> ToolResult {
                            ++calls;
                            if (arguments.contains("bad")) {
                                throw InvalidArguments("bad is not taken");
                            }
                            if (arguments.contains("fail")) {
                                return {"it failed", Json{{"ignored", true}}, true};
                            }
                            if (arguments.contains("throw")) {
                                throw std::runtime_error("secret detail");
                            }
                            return {"echoed", Json{{"arguments", arguments}}, false};
                        }}}) {}

    Json send(const Json& message) { return parse(session.handleLine(message.dump())); }

    int calls = 0;
    Session session;
};

TEST_F(McpSessionTest, InitializeAgreesOnTheClientsRevisionWhenItIsSupported) {
    for (const char* version : {"2024-11-05", "2025-03-26", "2025-06-18", "2025-11-25"}) {
        const Json reply = send(request(1, "initialize",
                                        Json{{"protocolVersion", version},
                                             {"capabilities", Json::object()},
                                             {"clientInfo", Json{{"name", "t"}}}}));
        EXPECT_EQ(reply.at("id"), 1);
        EXPECT_EQ(reply.at("result").at("protocolVersion"), version);
        EXPECT_EQ(session.protocolVersion(), version);
        EXPECT_EQ(reply.at("result").at("serverInfo").at("name"), "quillon");
        EXPECT_EQ(reply.at("result").at("serverInfo").at("version"), "1.2.3");
        EXPECT_TRUE(reply.at("result").at("capabilities").contains("tools"));
        EXPECT_EQ(reply.at("result").at("instructions"), "read the figures");
    }
}

TEST_F(McpSessionTest, InitializeOffersTheNewestRevisionForAnUnknownOne) {
    for (const Json& params :
         {Json{{"protocolVersion", "1999-01-01"}}, Json::object(), Json{{"protocolVersion", 5}}}) {
        const Json reply = send(request(1, "initialize", params));
        EXPECT_EQ(reply.at("result").at("protocolVersion"), supportedProtocolVersions().front());
    }
}

TEST_F(McpSessionTest, NotificationsGetNoReply) {
    for (const char* method :
         {"notifications/initialized", "notifications/cancelled", "notifications/whatever"}) {
        EXPECT_FALSE(session.handleLine(
            Json{{"jsonrpc", "2.0"}, {"method", method}, {"params", {{"requestId", 1}}}}.dump()));
    }
    EXPECT_FALSE(session.handleLine(R"({"jsonrpc":"2.0","id":9,"result":{}})"));
    EXPECT_FALSE(session.handleLine("   "));
    EXPECT_FALSE(session.handleLine(""));
}

TEST_F(McpSessionTest, PingAnswersWithAnEmptyResult) {
    const Json reply = send(request(7, "ping"));
    EXPECT_EQ(reply.at("result"), Json::object());
    EXPECT_EQ(send(Json{{"jsonrpc", "2.0"}, {"id", "text-id"}, {"method", "ping"}}).at("id"),
              "text-id");
}

TEST_F(McpSessionTest, ListsTheToolsWithTheirSchemas) {
    const Json tools = send(request(2, "tools/list")).at("result").at("tools");
    ASSERT_EQ(tools.size(), 1u);
    EXPECT_EQ(tools[0].at("name"), "echo");
    EXPECT_EQ(tools[0].at("title"), "Echo");
    EXPECT_EQ(tools[0].at("inputSchema").at("type"), "object");
    EXPECT_EQ(tools[0].at("outputSchema").at("type"), "object");
}

TEST_F(McpSessionTest, CallsAToolWithTextAndStructuredContent) {
    const Json result =
        send(request(3, "tools/call", {{"name", "echo"}, {"arguments", {{"x", 1}}}})).at("result");
    EXPECT_EQ(result.at("content").at(0).at("type"), "text");
    EXPECT_EQ(result.at("content").at(0).at("text"), "echoed");
    EXPECT_EQ(result.at("structuredContent").at("arguments").at("x"), 1);
    EXPECT_EQ(result.at("isError"), false);
    // Arguments left out or null are an empty object.
    EXPECT_EQ(send(request(4, "tools/call", {{"name", "echo"}}))
                  .at("result")
                  .at("structuredContent")
                  .at("arguments"),
              Json::object());
    EXPECT_EQ(calls, 2);
}

TEST_F(McpSessionTest, AToolsOwnFailureIsAnErrorResultWithoutItsDetails) {
    const Json failed =
        send(request(5, "tools/call", {{"name", "echo"}, {"arguments", {{"fail", 1}}}}));
    EXPECT_EQ(failed.at("result").at("isError"), true);
    EXPECT_FALSE(failed.at("result").contains("structuredContent"));
    const Json thrown =
        send(request(6, "tools/call", {{"name", "echo"}, {"arguments", {{"throw", 1}}}}));
    EXPECT_EQ(thrown.at("result").at("isError"), true);
    EXPECT_EQ(thrown.dump().find("secret"), std::string::npos);
}

TEST_F(McpSessionTest, BadCallsGetInvalidParams) {
    for (const Json& params : {Json{{"name", "nothing"}}, Json::object(), Json{{"name", 3}},
                               Json{{"name", "echo"}, {"arguments", "text"}},
                               Json{{"name", "echo"}, {"arguments", {{"bad", 1}}}}}) {
        const Json reply = send(request(8, "tools/call", params));
        EXPECT_EQ(reply.at("error").at("code"), -32602) << params.dump();
        EXPECT_EQ(reply.at("id"), 8);
    }
    EXPECT_EQ(send(request(8, "tools/call", {{"name", "nothing"}})).at("error").at("message"),
              "Unknown tool: nothing");
}

TEST_F(McpSessionTest, MalformedMessagesGetTheProtocolsErrors) {
    EXPECT_EQ(parse(session.handleLine("{not json")).at("error").at("code"), -32700);
    EXPECT_TRUE(parse(session.handleLine("{not json")).at("id").is_null());
    EXPECT_EQ(parse(session.handleLine("42")).at("error").at("code"), -32600);
    EXPECT_EQ(parse(session.handleLine("[]")).at("error").at("code"), -32600);
    EXPECT_EQ(parse(session.handleLine(R"({"id":1,"method":"ping"})")).at("error").at("code"),
              -32600);
    EXPECT_EQ(parse(session.handleLine(R"({"jsonrpc":"1.0","id":1,"method":"ping"})"))
                  .at("error")
                  .at("code"),
              -32600);
    EXPECT_EQ(
        parse(session.handleLine(R"({"jsonrpc":"2.0","id":1,"method":7})")).at("error").at("code"),
        -32600);
    EXPECT_EQ(
        parse(session.handleLine(R"({"jsonrpc":"2.0","id":{"a":1},"method":"ping"})")).at("id"),
        nullptr);
    EXPECT_EQ(parse(session.handleLine(R"({"jsonrpc":"2.0","id":2,"method":"ping","params":3})"))
                  .at("error")
                  .at("code"),
              -32602);
    EXPECT_EQ(send(request(9, "resources/list")).at("error").at("code"), -32601);
    // Text that is not UTF-8 is still answered with valid JSON.
    const auto reply = session.handleLine("{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"\xff\"}");
    ASSERT_TRUE(reply);
    EXPECT_FALSE(Json::parse(*reply, nullptr, false).is_discarded());
}

TEST_F(McpSessionTest, ABatchGetsOneArrayOfReplies) {
    const Json batch =
        Json::array({request(1, "ping"), Json{{"jsonrpc", "2.0"}, {"method", "notifications/x"}},
                     request(2, "nothing"), 5});
    const Json replies = parse(session.handleLine(batch.dump()));
    ASSERT_EQ(replies.size(), 3u);
    EXPECT_EQ(replies[0].at("id"), 1);
    EXPECT_EQ(replies[1].at("error").at("code"), -32601);
    EXPECT_EQ(replies[2].at("error").at("code"), -32600);
    EXPECT_FALSE(session.handleLine(
        Json::array({Json{{"jsonrpc", "2.0"}, {"method", "notifications/x"}}}).dump()));
}

TEST(BoundedLineTest, ReadsLinesAndSkipsThoseOverTheLimit) {
    std::istringstream in("short\r\n" + std::string(100, 'x') + "\nnext\nlast");
    bool tooLong = false;
    EXPECT_EQ(jsonrpc::readBoundedLine(in, 10, tooLong), "short");
    EXPECT_FALSE(tooLong);
    EXPECT_EQ(jsonrpc::readBoundedLine(in, 10, tooLong), std::nullopt);
    EXPECT_TRUE(tooLong);
    EXPECT_FALSE(in.eof());
    EXPECT_EQ(jsonrpc::readBoundedLine(in, 10, tooLong), "next");
    EXPECT_EQ(jsonrpc::readBoundedLine(in, 10, tooLong), "last");
    EXPECT_EQ(jsonrpc::readBoundedLine(in, 10, tooLong), std::nullopt);
    EXPECT_FALSE(tooLong);
    EXPECT_TRUE(in.eof());
    EXPECT_EQ(Json::parse(Session::oversizedLineReply()).at("error").at("code"), -32700);
}

} // namespace
} // namespace quillon::mcp
