#include "providers/claude_provider.h"
#include "providers/formatters.h"
#include "support/local_server.h"
#include "support/memory_stores.h"
#include "support/refused_port.h"
#include "support/temp_dir.h"
#include "support/test_ca.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using test::LocalServer;

constexpr const char* organizations =
    R"([{"uuid":"org-1","name":"Ada","plan":"max","plan_type":"team","tier":"t"}])";
constexpr const char* organizationUsage =
    R"({"five_hour":{"utilization":21.5,"resets_at":"2025-06-01T09:30:00.000Z"},
        "seven_day":{"utilization":3,"resets_at":"2025-06-03T15:05:00.000Z"},
        "seven_day_sonnet":{"utilization":8.49}})";

Instant at(std::string_view stamp) {
    return *Formatters::parseIso8601(stamp);
}

class ClaudeProviderTest : public ::testing::Test {
protected:
    ClaudeProviderTest() {
        env.claudeApiBase = api.baseUrl();
        env.claudeWebBase = web.baseUrl();
        env.home = dir.path() / "home";
        env.securityTool = (dir.path() / "no-security-tool").string();
        env.userName = "ada";
        env.clock = [] { return at("2025-06-01T09:00:00.000Z"); };
        env.fetch.caFile = test::testCertificates().caFile.string();
        env.fetch.timeout = 5s;
        env.readLocalStats = [this] {
            ++localReads;
            return LocalStatsResult{TodayUsage{12, "1.5K"},
                                    ContextUsage{"quillon", 50000, 160000, 110000, 31}};
        };
    }

    void login(std::string_view item) { dir.write("home/.claude/.credentials.json", item); }
    void validLogin() { login(R"({"claudeAiOauth":{"accessToken":"oauth-token"}})"); }
    void cookiePathServes(const char* usage = organizationUsage) {
        store.claude = "sessionKey=sk-ant-sid01-xyz; lastActiveOrg=org-1";
        web.on("/api/organizations", 200, organizations);
        web.on("/api/organizations/org-1/usage", 200, usage);
    }
    std::optional<UsageData> fetch() { return ClaudeProvider::fetchUsage(store, env); }

    test::TempDir dir;
    LocalServer api{LocalServer::Scheme::https};
    LocalServer web{LocalServer::Scheme::https};
    test::MemoryCredentialStore store;
    ProviderEnvironment env;
    int localReads = 0;
};

TEST_F(ClaudeProviderTest, ExpiryInMillisecondsCountsAsValidAndOAuthIsUsed) {
    login(R"({"claudeAiOauth":{"accessToken":"oauth-token","expiresAt":1.7e12}})");
    api.on("/api/oauth/usage", 200, R"({"five_hour":{"utilization":5},"seven_day":{}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 5);
    EXPECT_EQ(api.requestCount(), 1u);
}

TEST_F(ClaudeProviderTest, ExpiryOfOneThousandSecondsSkipsOAuthAndWithoutCookieGivesNothing) {
    login(R"({"claudeAiOauth":{"accessToken":"oauth-token","expiresAt":1000}})");
    api.on("/api/oauth/usage", 200, R"({"five_hour":{"utilization":5}})");
    EXPECT_FALSE(fetch());
    EXPECT_EQ(api.requestCount(), 0u);
    EXPECT_EQ(web.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, ExpiredLoginFallsBackOnTheCookie) {
    login(R"({"claudeAiOauth":{"accessToken":"oauth-token","expiresAt":1748768399}})");
    cookiePathServes();
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 22);
    EXPECT_EQ(api.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, LoginWithoutExpiryUsesOAuth) {
    validLogin();
    api.on("/api/oauth/usage", 200, R"({"five_hour":{"utilization":1}})");
    ASSERT_TRUE(fetch());
    EXPECT_EQ(api.requestCount(), 1u);
}

TEST_F(ClaudeProviderTest, OAuthRequestCarriesExactlyItsHeaders) {
    validLogin();
    store.claude = "sessionKey=must-not-travel";
    api.on("/api/oauth/usage", 200, "{}");
    ASSERT_TRUE(fetch());
    const auto requests = api.requests();
    ASSERT_EQ(requests.size(), 1u);
    const auto& request = requests.front();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.path, "/api/oauth/usage");
    EXPECT_EQ(request.header("Authorization"), "Bearer oauth-token");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.header("User-Agent"), "claude-code/2.1.5");
    EXPECT_EQ(request.header("anthropic-beta"), "oauth-2025-04-20");
    EXPECT_TRUE(request.headerValues("Cookie").empty());
    EXPECT_TRUE(request.headerValues("Anthropic-Client-Platform").empty());
    EXPECT_EQ(web.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, OAuthAnswerRoundsHalfUpAndLabelsEachWindowItsOwnWay) {
    validLogin();
    api.on("/api/oauth/usage", 200,
           R"({"five_hour":{"utilization":12.5,"resets_at":"2025-06-01T10:00:00.000Z"},
               "seven_day":{"utilization":40}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->provider, Provider::claude);
    EXPECT_EQ(usage->fiveHour,
              (UsageWindow{13, at("2025-06-01T10:00:00.000Z"), "Resets in 1h 00m"}));
    EXPECT_EQ(usage->weekly, (UsageWindow{40, std::nullopt, ""}));
    EXPECT_EQ(usage->plan, std::nullopt);
    EXPECT_EQ(usage->sonnet, std::nullopt);
}

TEST_F(ClaudeProviderTest, OAuthWeeklyWindowNamesItsWeekdayAndTime) {
    validLogin();
    api.on("/api/oauth/usage", 200,
           R"({"five_hour":{"utilization":1},
               "seven_day":{"utilization":2,"resets_at":"2025-06-03T15:05:00.000Z"}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    const Instant weekly = at("2025-06-03T15:05:00.000Z");
    EXPECT_EQ(usage->weekly, (UsageWindow{2, weekly, Formatters::displayDate(weekly)}));
    EXPECT_EQ(usage->fiveHour.resetLabel, "");
}

TEST_F(ClaudeProviderTest, OAuthTopLevelUtilizationKeysAreTheFallback) {
    validLogin();
    api.on("/api/oauth/usage", 200,
           R"({"fiveHourUtilization":7.4,"sevenDayUtilization":99.5,
               "fiveHourResetsAt":"2025-06-01T09:12:30.000Z"})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 7);
    EXPECT_EQ(usage->weekly.percent, 100);
    EXPECT_EQ(usage->fiveHour.resetLabel, "Resets in 12m");
}

TEST_F(ClaudeProviderTest, OAuthWindowValuesWinOverTheTopLevelKeys) {
    validLogin();
    api.on("/api/oauth/usage", 200,
           R"({"five_hour":{"utilization":"high","resets_at":5},"fiveHourUtilization":9,
               "fiveHourResetsAt":"2025-06-01T09:30:00.000Z",
               "seven_day":{"utilization":60},"sevenDayUtilization":1})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 9);
    EXPECT_EQ(usage->fiveHour.resetLabel, "Resets in 30m");
    EXPECT_EQ(usage->weekly.percent, 60);
}

TEST_F(ClaudeProviderTest, UtilizationAboveHundredIsNotClamped) {
    validLogin();
    api.on("/api/oauth/usage", 200,
           R"({"five_hour":{"utilization":130.2},"seven_day":{"utilization":-2.5}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 130);
    EXPECT_EQ(usage->weekly.percent, -3);
}

TEST_F(ClaudeProviderTest, ResetStampWithoutFractionGivesNoDateAndAnEmptyLabel) {
    validLogin();
    api.on("/api/oauth/usage", 200,
           R"({"five_hour":{"utilization":1,"resets_at":"2025-06-01T10:00:00Z"}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour, (UsageWindow{1, std::nullopt, ""}));
}

TEST_F(ClaudeProviderTest, OAuthPlanTypeWinsOverPlan) {
    validLogin();
    api.on("/api/oauth/usage", 200, R"({"plan":"max","plan_type":"pro","tier":"x"})");
    EXPECT_EQ(fetch()->plan, "pro");
}

TEST_F(ClaudeProviderTest, OAuthPlanFallsBackOnTierThenSubscription) {
    validLogin();
    api.on("/api/oauth/usage", 200, R"({"plan_type":7,"tier":"tier-4"})");
    EXPECT_EQ(fetch()->plan, "tier-4");
    api.on("/api/oauth/usage", 200, R"({"subscription":{"plan":"max_20x"}})");
    EXPECT_EQ(fetch()->plan, "max_20x");
}

TEST_F(ClaudeProviderTest, OrganizationPlanWinsOverPlanType) {
    cookiePathServes();
    EXPECT_EQ(fetch()->plan, "max");
}

TEST_F(ClaudeProviderTest, OAuthSonnetWindowAndLocalStatsAreAttached) {
    validLogin();
    api.on("/api/oauth/usage", 200,
           R"({"seven_day_sonnet":{"utilization":0.5,"resets_at":"2025-06-03T15:05:00.000Z"}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    const Instant sonnet = at("2025-06-03T15:05:00.000Z");
    EXPECT_EQ(usage->sonnet, (UsageWindow{1, sonnet, Formatters::displayDate(sonnet)}));
    EXPECT_EQ(usage->today, (TodayUsage{12, "1.5K"}));
    EXPECT_EQ(usage->contextUsage, (ContextUsage{"quillon", 50000, 160000, 110000, 31}));
    EXPECT_EQ(localReads, 1);
}

TEST_F(ClaudeProviderTest, WithoutLocalStatsTheLocalFiguresAreAbsent) {
    validLogin();
    env.readLocalStats = nullptr;
    api.on("/api/oauth/usage", 200, "{}");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->today, std::nullopt);
    EXPECT_EQ(usage->contextUsage, std::nullopt);
}

TEST_F(ClaudeProviderTest, OAuthErrorBodyWith401GivesAZeroPercentSnapshot) {
    validLogin();
    cookiePathServes();
    api.on("/api/oauth/usage", 401,
           R"({"type":"error","error":{"type":"authentication_error","message":"expired"}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour, (UsageWindow{0, std::nullopt, ""}));
    EXPECT_EQ(usage->weekly, (UsageWindow{0, std::nullopt, ""}));
    EXPECT_EQ(usage->plan, std::nullopt);
    EXPECT_EQ(web.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, OAuthRateLimitedWith429GivesAZeroPercentSnapshot) {
    validLogin();
    cookiePathServes();
    api.on("/api/oauth/usage", 429, R"({"type":"error","error":{"type":"rate_limit_error"}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 0);
    EXPECT_EQ(usage->weekly.percent, 0);
    EXPECT_EQ(web.requestCount(), 0u); // the answer stands: no fall back on the cookie
}

TEST_F(ClaudeProviderTest, OAuthHtmlPageGivesAZeroPercentSnapshot) {
    validLogin();
    cookiePathServes();
    api.on("/api/oauth/usage", 500, "<html><body>Bad gateway</body></html>", "text/html");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 0);
    EXPECT_EQ(web.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, OAuthTransportFailureFallsBackOnTheCookie) {
    validLogin();
    env.claudeApiBase = test::refusedBaseUrl();
    cookiePathServes();
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour, (UsageWindow{22, at("2025-06-01T09:30:00.000Z"), "Resets in 30m"}));
}

TEST_F(ClaudeProviderTest, OAuthConnectionClosedMidBodyFallsBackOnTheCookie) {
    validLogin();
    api.closeMidBody("/api/oauth/usage", 4096, 16);
    cookiePathServes();
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->weekly.percent, 3);
}

TEST_F(ClaudeProviderTest, ServerThatNeverAnswersGivesNothingAfterTheTimeOut) {
    validLogin();
    env.fetch.timeout = 400ms;
    api.neverAnswer("/api/oauth/usage");
    store.claude = "sessionKey=x";
    web.neverAnswer("/api/organizations");
    const auto started = std::chrono::steady_clock::now();
    EXPECT_FALSE(fetch());
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
}

TEST_F(ClaudeProviderTest, NoReachableServerGivesNothing) {
    validLogin();
    env.claudeApiBase = test::refusedBaseUrl();
    env.claudeWebBase = test::refusedBaseUrl();
    store.claude = "sessionKey=x";
    EXPECT_FALSE(fetch());
}

TEST_F(ClaudeProviderTest, CookieRequestsCarryExactlyTheirHeaders) {
    cookiePathServes();
    ASSERT_TRUE(fetch());
    const auto requests = web.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].path, "/api/organizations");
    EXPECT_EQ(requests[1].path, "/api/organizations/org-1/usage");
    for (const auto& request : requests) {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.header("Cookie"), "sessionKey=sk-ant-sid01-xyz; lastActiveOrg=org-1");
        EXPECT_EQ(request.header("Content-Type"), "application/json");
        EXPECT_EQ(request.header("Anthropic-Client-Platform"), "web_claude_ai");
        EXPECT_EQ(request.header("User-Agent"),
                  "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/537.36");
        EXPECT_TRUE(request.headerValues("Authorization").empty());
        EXPECT_TRUE(request.headerValues("anthropic-beta").empty());
    }
    EXPECT_EQ(api.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, CookiePathGivesAllWindowsAndLocalStats) {
    cookiePathServes();
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    const Instant weekly = at("2025-06-03T15:05:00.000Z");
    EXPECT_EQ(usage->fiveHour, (UsageWindow{22, at("2025-06-01T09:30:00.000Z"), "Resets in 30m"}));
    EXPECT_EQ(usage->weekly, (UsageWindow{3, weekly, Formatters::displayDate(weekly)}));
    EXPECT_EQ(usage->sonnet, (UsageWindow{8, std::nullopt, ""}));
    EXPECT_EQ(usage->today, (TodayUsage{12, "1.5K"}));
    EXPECT_EQ(localReads, 1);
}

TEST_F(ClaudeProviderTest, CookiePathIgnoresTheTopLevelFallbackKeys) {
    cookiePathServes(R"({"five_hour":{},"seven_day":{},"fiveHourUtilization":50,
                         "fiveHourResetsAt":"2025-06-01T09:30:00.000Z"})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour, (UsageWindow{0, std::nullopt, ""}));
}

TEST_F(ClaudeProviderTest, NoCookieHeaderGivesNothingWithoutAnyRequest) {
    EXPECT_FALSE(fetch());
    EXPECT_EQ(api.requestCount() + web.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, StoredCookieWithALineBreakIsNotSent) {
    cookiePathServes();
    store.claude = "sessionKey=first\nX-Injected: 1";
    EXPECT_FALSE(fetch());
    EXPECT_EQ(web.requestCount(), 0u);
    store.claude = "sessionKey=last\n";
    EXPECT_FALSE(fetch());
    EXPECT_EQ(web.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, EmptyOrganizationListGivesNothing) {
    store.claude = "sessionKey=x";
    web.on("/api/organizations", 200, "[]");
    EXPECT_FALSE(fetch());
    EXPECT_EQ(web.requestCount(), 1u);
}

TEST_F(ClaudeProviderTest, FirstOrganizationWithoutUuidGivesNothingEvenWhenASecondHasOne) {
    store.claude = "sessionKey=x";
    web.on("/api/organizations", 200, R"([{"name":"x"},{"uuid":"org-2"}])");
    web.on("/api/organizations/org-2/usage", 200, organizationUsage);
    EXPECT_FALSE(fetch());
    EXPECT_EQ(web.requestCount(), 1u);
}

TEST_F(ClaudeProviderTest, OrganizationsAnswerThatIsNoArrayGivesNothing) {
    store.claude = "sessionKey=x";
    web.on("/api/organizations", 403, R"({"error":"forbidden"})");
    EXPECT_FALSE(fetch());
}

TEST_F(ClaudeProviderTest, UsageAnswerWithoutBothWindowObjectsGivesNothing) {
    cookiePathServes(R"({"five_hour":{"utilization":1},"seven_day":null})");
    EXPECT_FALSE(fetch());
    cookiePathServes(R"({"seven_day":{"utilization":1}})");
    EXPECT_FALSE(fetch());
    EXPECT_EQ(localReads, 0);
}

TEST_F(ClaudeProviderTest, OAuthTimeOutAndTheCookieUsageIsReturned) {
    validLogin();
    env.fetch.timeout = 400ms;
    api.neverAnswer("/api/oauth/usage");
    // The cookie path gets its own full time-out.
    web.on("/api/organizations", 200, organizations);
    web.on("/api/organizations/org-1/usage", 200, organizationUsage);
    store.claude = "sessionKey=x";
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->plan, "max");
    EXPECT_EQ(usage->fiveHour.percent, 22);
}

TEST_F(ClaudeProviderTest, KeychainToolTokenIsSentToTheApi) {
    const auto tool =
        dir.write("bin/security",
                  "#!/bin/sh\necho '{\"claudeAiOauth\":{\"accessToken\":\"keychain-token\"}}'\n");
    ::chmod(tool.c_str(), 0755);
    env.securityTool = tool.string();
    login(R"({"claudeAiOauth":{"accessToken":"file-token"}})");
    api.on("/api/oauth/usage", 200, "{}");
    ASSERT_TRUE(fetch());
    ASSERT_EQ(api.requestCount(), 1u);
    EXPECT_EQ(api.requests().front().header("Authorization"), "Bearer keychain-token");
}

TEST_F(ClaudeProviderTest, KeychainToolFailureFallsBackOnTheCookie) {
    const auto tool = dir.write("bin/security", "#!/bin/sh\nexit 44\n");
    ::chmod(tool.c_str(), 0755);
    env.securityTool = tool.string();
    cookiePathServes();
    ASSERT_TRUE(fetch());
    EXPECT_EQ(api.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, RedirectToAnotherHostCarriesNoCredential) {
    LocalServer other(LocalServer::Scheme::https);
    env.fetch.resolve = {other.resolveEntry(test::otherTestHost)};
    validLogin();
    api.redirect("/api/oauth/usage", other.baseUrlFor(test::otherTestHost) + "/collect");
    store.claude = "sessionKey=x";
    web.redirect("/api/organizations", other.baseUrlFor(test::otherTestHost) + "/collect");
    EXPECT_NO_THROW(fetch());
    EXPECT_EQ(other.requestCount(), 0u);
}

TEST_F(ClaudeProviderTest, CredentialsNeverReachTheOtherService) {
    validLogin();
    api.on("/api/oauth/usage", 200, "not json at all");
    cookiePathServes();
    ASSERT_TRUE(fetch());
    env.claudeApiBase = test::refusedBaseUrl();
    ASSERT_TRUE(fetch());
    for (const auto& request : api.requests()) {
        EXPECT_TRUE(request.headerValues("Cookie").empty());
    }
    for (const auto& request : web.requests()) {
        EXPECT_TRUE(request.headerValues("Authorization").empty());
    }
    EXPECT_EQ(web.requestCount(), 2u);
}

} // namespace
} // namespace quillon
