#include "providers/claude_provider.h"
#include "providers/codex_provider.h"
#include "providers/extra_window_search.h"
#include "providers/formatters.h"
#include "support/local_server.h"
#include "support/memory_stores.h"
#include "support/temp_dir.h"
#include "support/test_ca.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using test::LocalServer;

Instant at(std::string_view stamp) {
    return *Formatters::parseIso8601(stamp);
}

std::vector<std::string> keys(const ExtraWindows& windows) {
    std::vector<std::string> found;
    for (const auto& window : windows) {
        found.push_back(window.key);
    }
    return found;
}

// The services on local HTTPS servers, with Claude Code and Codex logged in.
class ExtraWindowFetchTest : public ::testing::Test {
protected:
    ExtraWindowFetchTest() {
        env.claudeApiBase = env.claudeWebBase = claude.baseUrl();
        env.chatgptBase = chatgpt.baseUrl();
        env.home = dir.path();
        env.securityTool = (dir.path() / "no-security-tool").string();
        env.clock = [] { return at("2025-06-01T09:00:00.000Z"); };
        env.fetch.caFile = test::testCertificates().caFile.string();
        env.fetch.timeout = 5s;
        dir.write(".claude/.credentials.json", R"({"claudeAiOauth":{"accessToken":"oauth"}})");
        dir.write(".codex/auth.json", R"({"tokens":{"access_token":"cli-token"}})");
    }

    test::TempDir dir;
    LocalServer claude{LocalServer::Scheme::https};
    LocalServer chatgpt{LocalServer::Scheme::https};
    test::MemoryCredentialStore store;
    ProviderEnvironment env;
};

constexpr const char* claudeWithExtras =
    R"({"five_hour":{"utilization":42,"resets_at":"2025-06-01T10:00:00.000Z"},
        "seven_day":{"utilization":63,"resets_at":"2025-06-03T15:05:00.000Z"},
        "seven_day_sonnet":{"utilization":18,"resets_at":null},
        "seven_day_opus_max":{"utilization":12.5,"resets_at":"2025-06-04T08:00:00.000Z"},
        "seven_day_oauth_apps":null,
        "extra_usage":{"is_enabled":false,"utilization":null},
        "plan_type":"max"})";

TEST_F(ExtraWindowFetchTest, ClaudesAnswerPassesOnAWindowItDoesNotNameByItsKey) {
    claude.on("/api/oauth/usage", 200, claudeWithExtras);
    const auto fetched = ClaudeProvider::fetchUsageWithExtras(store, env);
    ASSERT_TRUE(fetched);
    const Instant resets = at("2025-06-04T08:00:00.000Z");
    EXPECT_EQ(
        fetched->extraWindows,
        (ExtraWindows{{"seven_day_opus_max", {13, resets, Formatters::displayDate(resets)}}}));
    // The named windows are exactly what the fetch without extras gives.
    EXPECT_EQ(fetched->usage, ClaudeProvider::fetchUsage(store, env));
    EXPECT_EQ(fetched->usage.fiveHour.percent, 42);
    EXPECT_EQ(fetched->usage.sonnet, (UsageWindow{18, std::nullopt, ""}));
}

TEST_F(ExtraWindowFetchTest, ClaudesCookiePathPassesThemOnToo) {
    claude.on("/api/oauth/usage", 500, "<html>down</html>");
    dir.write(".claude/.credentials.json",
              R"({"claudeAiOauth":{"accessToken":"oauth","expiresAt":1000}})");
    store.claude = "sessionKey=abc";
    claude.on("/api/organizations", 200, R"([{"uuid":"org-1"}])");
    claude.on("/api/organizations/org-1/usage", 200, claudeWithExtras);
    const auto fetched = ClaudeProvider::fetchUsageWithExtras(store, env);
    ASSERT_TRUE(fetched);
    EXPECT_EQ(keys(fetched->extraWindows), (std::vector<std::string>{"seven_day_opus_max"}));
}

TEST_F(ExtraWindowFetchTest, CodexsAnswerPassesOnItsFurtherWindowsByTheirPaths) {
    chatgpt.on("/backend-api/wham/usage", 200,
               R"({"rate_limit":{"primary_window":{"used_percent":17,"reset_at":1748772000},
                                 "secondary_window":{"used_percent":71,"reset_at":null},
                                 "tertiary_window":{"used_percent":4.5,"reset_at":1749000000}},
                   "review_rate_limit":{"primary_window":{"used_percent":30,"reset_at":null}},
                   "credits":{"balance":"5"},"plan_type":"plus"})");
    const auto fetched = CodexProvider::fetchUsageWithExtras(store, env);
    ASSERT_TRUE(fetched);
    const Instant resets{std::chrono::seconds(1749000000)};
    EXPECT_EQ(
        fetched->extraWindows,
        (ExtraWindows{{"rate_limit.tertiary_window", {5, resets, Formatters::displayDate(resets)}},
                      {"review_rate_limit.primary_window", {30, std::nullopt, ""}}}));
    EXPECT_EQ(fetched->usage, CodexProvider::fetchUsage(store, env));
    EXPECT_EQ(fetched->usage.fiveHour.percent, 17);
    EXPECT_EQ(fetched->usage.weekly.percent, 71);
}

TEST_F(ExtraWindowFetchTest, AnAnswerWithoutFurtherWindowsHasNone) {
    claude.on("/api/oauth/usage", 200,
              R"({"five_hour":{"utilization":5,"resets_at":"2025-06-01T10:00:00.000Z"},
                  "seven_day":{"utilization":6,"resets_at":null},
                  "seven_day_sonnet":{"utilization":7,"resets_at":null},
                  "subscription":{"plan":"max"}})");
    chatgpt.on("/backend-api/wham/usage", 200,
               R"({"rate_limit":{"primary_window":{"used_percent":1,"reset_at":null},
                                 "secondary_window":{"used_percent":2,"reset_at":null}}})");
    EXPECT_EQ(ClaudeProvider::fetchUsageWithExtras(store, env)->extraWindows, ExtraWindows{});
    EXPECT_EQ(CodexProvider::fetchUsageWithExtras(store, env)->extraWindows, ExtraWindows{});
}

TEST(ExtraWindowSearch, OnlyTheWindowShapeCounts) {
    const json answer = json::parse(R"({
        "five_hour":{"utilization":1,"resets_at":null},
        "text_percent":{"utilization":"12","resets_at":null},
        "no_reset_member":{"utilization":12},
        "number_reset":{"utilization":12,"resets_at":1749000000},
        "bad_stamp":{"utilization":12,"resets_at":"next Tuesday"},
        "stamp_without_fraction":{"utilization":12,"resets_at":"2025-06-01T10:00:00Z"},
        "beyond_64_bits":{"utilization":1e300,"resets_at":null},
        "boolean":{"utilization":true,"resets_at":null},
        "list":[{"utilization":12,"resets_at":null}],
        "nested":{"deeper":{"deepest":{"utilization":12,"resets_at":null}}},
        "negative":{"utilization":-3.5,"resets_at":null}})");
    const ExtraWindows windows = ClaudeProvider::extraWindows(answer);
    // A stamp that cannot be read leaves the window without a reset, as for the named windows.
    EXPECT_EQ(windows, (ExtraWindows{{"bad_stamp", {12, std::nullopt, ""}},
                                     {"negative", {-4, std::nullopt, ""}},
                                     {"stamp_without_fraction", {12, std::nullopt, ""}}}));
    EXPECT_EQ(CodexProvider::extraWindows(json::parse(
                  R"({"rate_limit":{"a":{"used_percent":1,"reset_at":"soon"},
                                    "b":{"used_percent":"1","reset_at":null},
                                    "c":{"used_percent":1e300,"reset_at":1},
                                    "d":{"used_percent":2,"reset_at":1e300}}})")),
              (ExtraWindows{{"rate_limit.d", {2, std::nullopt, ""}}}));
}

TEST(ExtraWindowSearch, ManyWindowsAreCappedAndOddKeysLeftOut) {
    json answer = json::object();
    for (int i = 0; i < 500; ++i) {
        answer["window_" + std::to_string(1000 + i)] = {{"utilization", i}, {"resets_at", nullptr}};
    }
    const std::string hugeKey(100000, 'k');
    answer[hugeKey] = {{"utilization", 1}, {"resets_at", nullptr}};
    answer["a\x1b[31m"] = {{"utilization", 1}, {"resets_at", nullptr}};
    answer["\xc3\xa9t\xc3\xa9"] = {{"utilization", 1}, {"resets_at", nullptr}};
    answer["a b"] = {{"utilization", 1}, {"resets_at", nullptr}};
    const ExtraWindows windows = ClaudeProvider::extraWindows(answer);
    ASSERT_EQ(windows.size(), maxExtraWindows);
    EXPECT_EQ(windows.front().key, "window_1000");
    EXPECT_EQ(windows.back().key, "window_1015");
    for (const auto& window : windows) {
        EXPECT_TRUE(isWindowKey(window.key)) << window.key;
    }
    EXPECT_EQ(ClaudeProvider::extraWindows(json::parse(R"({")" + std::string(64, 'k') +
                                                       R"(":{"utilization":1,"resets_at":null},
                      ")" + std::string(65, 'k') + R"(":{"utilization":1,"resets_at":null}})"))
                  .size(),
              1u);
}

TEST(ExtraWindowSearch, NoObjectGivesNoWindows) {
    for (const char* text :
         {"[]", "null", "7", "\"five_hour\"", "{}", R"([{"utilization":1,"resets_at":null}])"}) {
        EXPECT_TRUE(ClaudeProvider::extraWindows(json::parse(text)).empty()) << text;
        EXPECT_TRUE(CodexProvider::extraWindows(json::parse(text)).empty()) << text;
    }
}

TEST(ExtraWindowSearch, PercentFiguresAreNumbersThatFit) {
    EXPECT_TRUE(isPercentFigure(json(42.5)));
    EXPECT_TRUE(isPercentFigure(json(-1)));
    EXPECT_TRUE(isPercentFigure(json(9.2e18)));
    EXPECT_FALSE(isPercentFigure(json(9.3e18)));
    EXPECT_FALSE(isPercentFigure(json("42")));
    EXPECT_FALSE(isPercentFigure(json(nullptr)));
}

} // namespace
} // namespace quillon
