#include "running_app.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace quillon {
namespace {

using Json = nlohmann::json;
using test::Outcome;

class McpCommandTest : public test::RunningAppTest {
protected:
    // The official SDK's client against `quillon mcp`, in the mode the script names ("running"
    // or "stopped"); it fails on the first check that does not hold.
    void runSdkClient(const QString& mode) {
        QProcess client;
        client.setProcessEnvironment(environment());
        client.start(QStringLiteral(QUILLON_NODE),
                     {QStringLiteral(QUILLON_MCP_CLIENT), QStringLiteral(QUILLON_BINARY), mode});
        ASSERT_TRUE(client.waitForStarted());
        ASSERT_TRUE(test::waitUntil([&] { return client.state() == QProcess::NotRunning; },
                                    3 * test::deadlineMs));
        EXPECT_EQ(client.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(client.exitCode(), 0) << client.readAllStandardError().toStdString();
    }

    // The replies to `lines`, one message each.
    std::vector<Json> exchange(const std::string& lines) {
        const Outcome result = run({"mcp"}, lines);
        EXPECT_EQ(result.exitCode, 0);
        std::vector<Json> replies;
        std::istringstream out(result.out);
        for (std::string line; std::getline(out, line);) {
            replies.push_back(Json::parse(line));
        }
        return replies;
    }
};

TEST_F(McpCommandTest, TheSdkClientReadsTheRunningQuillon) {
    startApp();
    runSdkClient(QStringLiteral("running"));
}

TEST_F(McpCommandTest, TheSdkClientReadsTheWindowsTheServicesAdd) {
    servers.addWindows();
    startApp();
    runSdkClient(QStringLiteral("added"));
}

TEST_F(McpCommandTest, TheSdkClientWithoutQuillon) {
    runSdkClient(QStringLiteral("stopped"));
}

TEST_F(McpCommandTest, GetUsageGivesEveryWindowWithItsResetAndPace) {
    startApp();
    const auto replies =
        exchange(R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"get_usage"}})"
                 "\n");
    ASSERT_EQ(replies.size(), 1u);
    const Json& content = replies[0].at("result").at("structuredContent");
    EXPECT_EQ(content.at("source"), "quillon");
    EXPECT_EQ(content.at("claude").at("plan"), "max");
    EXPECT_EQ(content.at("claude").at("fiveHour").at("percent"), 42);
    EXPECT_EQ(content.at("claude").at("fiveHour").at("pace").at("projectedPercent"), 70);
    EXPECT_EQ(content.at("codex").at("weekly").at("percent"), 60);
    EXPECT_FALSE(content.at("codex").at("fiveHour").at("resetsAt").is_null());
    // The logins' tokens never appear in a reply.
    EXPECT_EQ(replies[0].dump().find("oauth"), std::string::npos);
    EXPECT_EQ(replies[0].dump().find("cli-token"), std::string::npos);
}

TEST_F(McpCommandTest, RefreshUsageWaitsForTheRunningQuillonsFreshFigures) {
    startApp();
    servers.setFigures(64, 30);
    // The fresh Claude figures come slowly: the tool has to wait for the refresh to finish.
    servers.claudeApi.slowBody(
        "/api/oauth/usage",
        R"({"five_hour":{"utilization":64},"seven_day":{"utilization":7},"plan_type":"max"})",
        std::chrono::milliseconds(20));
    const auto replies = exchange(
        R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"refresh_usage"}})"
        "\n");
    ASSERT_EQ(replies.size(), 1u);
    const Json& content = replies[0].at("result").at("structuredContent");
    EXPECT_EQ(content.at("source"), "quillon");
    EXPECT_EQ(content.at("claude").at("fiveHour").at("percent"), 64);
    EXPECT_EQ(content.at("codex").at("fiveHour").at("percent"), 30);
}

TEST_F(McpCommandTest, HostileInputGetsErrorsAndTheServerGoesOn) {
    const std::string oversized(5 << 20, 'x');
    const auto replies = exchange("garbage\n" + oversized + "\n" + std::string(200000, '[') + "\n" +
                                  R"({"jsonrpc":"2.0","id":3,"method":"ping"})");
    ASSERT_EQ(replies.size(), 4u);
    EXPECT_EQ(replies[0].at("error").at("code"), -32700);
    EXPECT_EQ(replies[1].at("error").at("code"), -32700);
    EXPECT_EQ(replies[2].at("error").at("code"), -32700);
    EXPECT_EQ(replies[3].at("id"), 3);
    EXPECT_EQ(replies[3].at("result"), Json::object());
}

TEST_F(McpCommandTest, EndsWhenItsInputEnds) {
    const Outcome result = run({"mcp"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(run({"mcp", "--port"}).exitCode, 2);
}

} // namespace
} // namespace quillon
