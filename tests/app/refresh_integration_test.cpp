#include "app/app_state.h"
#include "app/auth_store.h"
#include "app/provider_fetches.h"
#include "providers/formatters.h"
#include "support/local_server.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"
#include "support/test_ca.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <atomic>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using test::LocalServer;

// The whole refresh cycle with both real providers, a real settings file and real local servers
// standing in for the three services.
class RefreshIntegrationTest : public ::testing::Test {
protected:
    RefreshIntegrationTest() {
        qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(config.path().string()));
        env.claudeApiBase = claudeApi.baseUrl();
        env.claudeWebBase = claudeWeb.baseUrl();
        env.chatgptBase = chatgpt.baseUrl();
        env.home = home.path();
        env.securityTool = (home.path() / "no-security-tool").string();
        env.userName = "ada";
        env.fetch.caFile = test::testCertificates().caFile.string();
        env.fetch.timeout = 5s;
        env.readLocalStats = [] { return LocalStatsResult{TodayUsage{3, "900"}, std::nullopt}; };

        home.write(".claude/.credentials.json", R"({"claudeAiOauth":{"accessToken":"oauth"}})");
        claudeApi.on("/api/oauth/usage", 200,
                     R"({"five_hour":{"utilization":42.4},"seven_day":{"utilization":7},
                         "plan_type":"max"})");
        chatgpt.on("/api/auth/session", 200, R"({"accessToken":"session-token"})");
        chatgpt.on("/backend-api/wham/usage", 200,
                   R"({"rate_limit":{"primary_window":{"used_percent":17},
                       "secondary_window":{"used_percent":60}},"plan_type":"plus"})");
    }

    AppServices services() {
        AppServices services;
        services.fetchClaude = claudeFetch(env);
        services.fetchCodex = codexFetch(env);
        // Every reading of the clock is a second later, so each refresh has its own moment.
        services.clock = [this] {
            return Instant(std::chrono::seconds(1'750'000'000 + ticks.fetch_add(1)));
        };
        return services;
    }
    std::size_t sessionRequests() const {
        std::size_t count = 0;
        for (const auto& request : chatgpt.requests()) {
            count += request.path == "/api/auth/session" ? 1 : 0;
        }
        return count;
    }
    static bool refreshed(const AppState& state, std::optional<Instant> after) {
        return !state.isRefreshing() && state.lastUpdated() && state.lastUpdated() != after;
    }

    test::TempDir config;
    test::TempDir home;
    LocalServer claudeApi{LocalServer::Scheme::https};
    LocalServer claudeWeb{LocalServer::Scheme::https};
    LocalServer chatgpt{LocalServer::Scheme::https};
    ProviderEnvironment env;
    std::atomic<int> ticks{0};
};

TEST_F(RefreshIntegrationTest, BothProvidersArePublished) {
    AuthStore store;
    store.setCodexCookieHeader("__Secure-next-auth.session-token=abc");
    AppState state(store, services());
    ASSERT_TRUE(test::waitUntil([&] { return refreshed(state, std::nullopt); }, 20000));

    ASSERT_TRUE(state.claudeUsage());
    EXPECT_EQ(state.claudeUsage()->fiveHour.percent, 42);
    EXPECT_EQ(state.claudeUsage()->plan, "max");
    EXPECT_EQ(state.claudeUsage()->today, (TodayUsage{3, "900"}));
    ASSERT_TRUE(state.codexUsage());
    EXPECT_EQ(state.codexUsage()->fiveHour.percent, 17);
    EXPECT_EQ(state.codexUsage()->weekly.percent, 60);
    EXPECT_TRUE(state.property("claudeUsage").isValid());
    EXPECT_TRUE(state.property("codexUsage").isValid());
}

TEST_F(RefreshIntegrationTest, FailedClaudeFetchKeepsTheOldSnapshotAndTheTimeMoves) {
    AuthStore store;
    store.setCodexCookieHeader("a=b");
    AppState state(store, services());
    ASSERT_TRUE(test::waitUntil([&] { return refreshed(state, std::nullopt); }, 20000));
    const auto firstClaude = state.claudeUsage();
    const auto firstUpdate = state.lastUpdated();
    ASSERT_TRUE(firstClaude);

    // Claude Code logged out and no cookie stored: the next Claude fetch gives nothing.
    std::filesystem::remove(home.path() / ".claude/.credentials.json");
    chatgpt.on("/backend-api/wham/usage", 200,
               R"({"rate_limit":{"primary_window":{"used_percent":18},
                   "secondary_window":{"used_percent":61}}})");
    state.refreshAll();
    ASSERT_TRUE(test::waitUntil([&] { return refreshed(state, firstUpdate); }, 20000));

    EXPECT_EQ(state.claudeUsage(), firstClaude);
    ASSERT_TRUE(state.codexUsage());
    EXPECT_EQ(state.codexUsage()->fiveHour.percent, 18);
    EXPECT_GT(*state.lastUpdated(), *firstUpdate);
    EXPECT_EQ(claudeApi.requestCount(), 1u);
}

TEST_F(RefreshIntegrationTest, SessionTokenIsSavedOnceAndTheNextRefreshUsesIt) {
    AuthStore store;
    store.setCodexCookieHeader("a=b");
    QSignalSpy writes(&store, &AuthStore::changed);
    AppState state(store, services());
    ASSERT_TRUE(test::waitUntil([&] { return refreshed(state, std::nullopt); }, 20000));
    EXPECT_TRUE(test::waitUntil([&] { return store.codexAccessToken() == "session-token"; }));
    EXPECT_EQ(sessionRequests(), 1u);

    const auto firstUpdate = state.lastUpdated();
    state.refreshAll();
    ASSERT_TRUE(test::waitUntil([&] { return refreshed(state, firstUpdate); }, 20000));
    EXPECT_EQ(sessionRequests(), 1u);
    EXPECT_EQ(writes.count(), 1);
    const auto requests = chatgpt.requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests.back().path, "/backend-api/wham/usage");
    EXPECT_EQ(requests.back().header("Authorization"), "Bearer session-token");
    EXPECT_EQ(requests.back().header("Cookie"), "a=b");

    // The token is in the settings file, for the next launch too.
    EXPECT_EQ(AuthStore().codexAccessToken(), "session-token");
}

} // namespace
} // namespace quillon
