#include "providers/codex_provider.h"
#include "providers/formatters.h"
#include "support/local_server.h"
#include "support/memory_stores.h"
#include "support/refused_port.h"
#include "support/temp_dir.h"
#include "support/test_ca.h"

#include <httplib.h>

#include <gtest/gtest.h>

#include <thread>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using test::LocalServer;

constexpr const char* usagePath = "/backend-api/wham/usage";
constexpr const char* sessionPath = "/api/auth/session";
constexpr const char* browser =
    "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/537.36";
constexpr const char* validUsage =
    R"({"rate_limit":{"primary_window":{"used_percent":33.5,"reset_at":1750000000},
                      "secondary_window":{}},"plan_type":"plus"})";

Instant at(std::string_view stamp) {
    return *Formatters::parseIso8601(stamp);
}
Instant secondsSince1970(std::int64_t seconds) {
    return Instant(std::chrono::seconds(seconds));
}

class CodexProviderTest : public ::testing::Test {
protected:
    CodexProviderTest() {
        env.chatgptBase = chatgpt.baseUrl();
        env.home = dir.path() / "home";
        env.clock = [] { return at("2025-06-15T14:00:00.000Z"); };
        env.fetch.caFile = test::testCertificates().caFile.string();
        env.fetch.timeout = 5s;
    }

    void cliLogin(std::string_view contents) { dir.write("home/.codex/auth.json", contents); }
    void validCliLogin() {
        cliLogin(R"({"OPENAI_API_KEY":null,"tokens":{"id_token":"i","access_token":"cli-token",
                     "refresh_token":"r","account_id":"a"},"last_refresh":"2025-06-01"})");
    }
    std::optional<UsageData> fetch() { return CodexProvider::fetchUsage(store, env); }
    std::vector<test::RecordedRequest> requestsTo(const std::string& path) const {
        std::vector<test::RecordedRequest> matching;
        for (auto& request : chatgpt.requests()) {
            if (request.path == path) {
                matching.push_back(request);
            }
        }
        return matching;
    }
    void expectUsageHeaders(const test::RecordedRequest& request, const std::string& token) const {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.header("Authorization"), "Bearer " + token);
        EXPECT_EQ(request.header("Content-Type"), "application/json");
        EXPECT_EQ(request.header("oai-language"), "en-US");
        EXPECT_EQ(request.header("Referer"), chatgpt.baseUrl() + "/codex/settings/usage");
        EXPECT_EQ(request.header("User-Agent"), browser);
    }

    test::TempDir dir;
    LocalServer chatgpt{LocalServer::Scheme::https};
    test::MemoryCredentialStore store;
    ProviderEnvironment env;
};

TEST_F(CodexProviderTest, EmptyCliTokenRunsTheCookieSteps) {
    cliLogin(R"({"tokens":{"access_token":""}})");
    store.codexCookie = "__Secure-next-auth.session-token=abc";
    chatgpt.on(sessionPath, 200, R"({"accessToken":"session-token"})");
    chatgpt.on(usagePath, 200, validUsage);
    ASSERT_TRUE(fetch());
    ASSERT_EQ(requestsTo(usagePath).size(), 1u);
    expectUsageHeaders(requestsTo(usagePath).front(), "session-token");
}

TEST_F(CodexProviderTest, CliTokenRequestCarriesNoCookieEvenWhenOneIsStored) {
    validCliLogin();
    store.codexCookie = "__Secure-next-auth.session-token=abc";
    store.codexToken = "stored-token";
    chatgpt.on(usagePath, 200, validUsage);
    ASSERT_TRUE(fetch());
    const auto requests = chatgpt.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests.front().path, usagePath);
    expectUsageHeaders(requests.front(), "cli-token");
    EXPECT_TRUE(requests.front().headerValues("Cookie").empty());
}

TEST_F(CodexProviderTest, UsageAnswerGivesRoundedPrimaryWithCountdownAndEmptyWeekly) {
    validCliLogin();
    chatgpt.on(usagePath, 200, validUsage);
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->provider, Provider::codex);
    // 1750000000 is 2025-06-15T15:06:40Z, 1 h 06 min 40 s after the test's "now".
    EXPECT_EQ(usage->fiveHour, (UsageWindow{34, secondsSince1970(1750000000), "Resets in 1h 06m"}));
    EXPECT_EQ(usage->weekly, (UsageWindow{0, std::nullopt, ""}));
    EXPECT_EQ(usage->plan, "plus");
    EXPECT_EQ(usage->sonnet, std::nullopt);
    EXPECT_EQ(usage->contextUsage, std::nullopt);
    EXPECT_EQ(usage->today, std::nullopt);
}

TEST_F(CodexProviderTest, SecondaryWindowNamesItsWeekdayAndTimeWhateverItsLength) {
    validCliLogin();
    chatgpt.on(usagePath, 200,
               R"({"rate_limit":{"primary_window":{"used_percent":1,"reset_at":1750003600.5},
                   "secondary_window":{"used_percent":99.5,"reset_at":1750010000}}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.resetsAt, secondsSince1970(1750003600) + 500ms);
    EXPECT_EQ(usage->weekly, (UsageWindow{100, secondsSince1970(1750010000),
                                          Formatters::displayDate(secondsSince1970(1750010000))}));
    EXPECT_EQ(usage->plan, std::nullopt);
}

TEST_F(CodexProviderTest, PercentIsNeitherMultipliedNorClamped) {
    validCliLogin();
    chatgpt.on(usagePath, 200,
               R"({"rate_limit":{"primary_window":{"used_percent":104.4},
                   "secondary_window":{"used_percent":"12"}},"plan_type":5})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 104);
    EXPECT_EQ(usage->weekly.percent, 0);
    EXPECT_EQ(usage->plan, std::nullopt);
}

TEST_F(CodexProviderTest, ResetMomentsAnInstantCannotHoldGiveNoDate) {
    validCliLogin();
    chatgpt.on(usagePath, 200,
               R"({"rate_limit":{"primary_window":{"reset_at":1e300},
                   "secondary_window":{"reset_at":-1e300}}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour, (UsageWindow{0, std::nullopt, ""}));
    EXPECT_EQ(usage->weekly, (UsageWindow{0, std::nullopt, ""}));
}

TEST_F(CodexProviderTest, ResetMomentBefore1970IsADateInThePast) {
    validCliLogin();
    chatgpt.on(usagePath, 200,
               R"({"rate_limit":{"primary_window":{"reset_at":-5},"secondary_window":{}}})");
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour, (UsageWindow{0, secondsSince1970(-5), "Resetting..."}));
}

TEST_F(CodexProviderTest, UsageAnswerWithoutSecondaryWindowGivesNothing) {
    validCliLogin();
    chatgpt.on(usagePath, 200, R"({"rate_limit":{"primary_window":{"used_percent":10}}})");
    EXPECT_FALSE(fetch());
}

TEST_F(CodexProviderTest, UsageAnswerWithoutRateLimitObjectGivesNothing) {
    validCliLogin();
    chatgpt.on(usagePath, 200, R"({"rate_limit":[],"primary_window":{},"secondary_window":{}})");
    EXPECT_FALSE(fetch());
}

TEST_F(CodexProviderTest, StoredTokenWithoutCookieHeaderGivesNothingAndNoRequest) {
    store.codexToken = "pasted-token";
    chatgpt.on(usagePath, 200, validUsage);
    EXPECT_FALSE(fetch());
    EXPECT_EQ(chatgpt.requestCount(), 0u);
}

TEST_F(CodexProviderTest, StoredTokenIsUsedWithTheCookieWithoutAskingTheSession) {
    store.codexToken = "pasted-token";
    store.codexCookie = "a=b";
    chatgpt.on(usagePath, 200, validUsage);
    ASSERT_TRUE(fetch());
    ASSERT_EQ(chatgpt.requestCount(), 1u);
    const auto request = chatgpt.requests().front();
    expectUsageHeaders(request, "pasted-token");
    EXPECT_EQ(request.header("Cookie"), "a=b");
    EXPECT_EQ(store.tokenWrites, 0);
}

TEST_F(CodexProviderTest, SessionTokenIsSavedAndUsedAndTheNextRefreshReusesIt) {
    store.codexCookie = "__Secure-next-auth.session-token=abc; oai-did=1";
    chatgpt.on(sessionPath, 200, R"({"user":{"id":"u"},"accessToken":"session-token"})");
    chatgpt.on(usagePath, 200, validUsage);
    ASSERT_TRUE(fetch());
    EXPECT_EQ(store.codexToken, "session-token");
    EXPECT_EQ(store.tokenWrites, 1);

    const auto sessions = requestsTo(sessionPath);
    ASSERT_EQ(sessions.size(), 1u);
    EXPECT_EQ(sessions.front().method, "GET");
    EXPECT_EQ(sessions.front().header("Cookie"), store.codexCookie);
    EXPECT_EQ(sessions.front().header("Accept"), "application/json");
    EXPECT_EQ(sessions.front().header("User-Agent"), browser);
    EXPECT_TRUE(sessions.front().headerValues("Authorization").empty());
    const auto usages = requestsTo(usagePath);
    ASSERT_EQ(usages.size(), 1u);
    expectUsageHeaders(usages.front(), "session-token");
    EXPECT_EQ(usages.front().header("Cookie"), store.codexCookie);

    ASSERT_TRUE(fetch());
    EXPECT_EQ(requestsTo(sessionPath).size(), 1u);
    EXPECT_EQ(requestsTo(usagePath).size(), 2u);
    EXPECT_EQ(store.tokenWrites, 1);
}

TEST_F(CodexProviderTest, ClearedTokenMakesTheNextRefreshAskTheSessionAgain) {
    store.codexCookie = "a=b";
    chatgpt.on(sessionPath, 200, R"({"accessToken":"fresh"})");
    chatgpt.on(usagePath, 200, validUsage);
    ASSERT_TRUE(fetch());
    store.codexToken = "";
    ASSERT_TRUE(fetch());
    EXPECT_EQ(requestsTo(sessionPath).size(), 2u);
    EXPECT_EQ(store.tokenWrites, 2);
}

TEST_F(CodexProviderTest, SessionWithoutTokenGivesNothingAndStoresNothing) {
    store.codexCookie = "expired=1";
    chatgpt.on(sessionPath, 200, R"({"accessToken":null,"expires":"x"})");
    chatgpt.on(usagePath, 200, validUsage);
    EXPECT_FALSE(fetch());
    EXPECT_EQ(store.tokenWrites, 0);
    EXPECT_TRUE(requestsTo(usagePath).empty());
}

TEST_F(CodexProviderTest, SessionTransportFailureGivesNothing) {
    store.codexCookie = "a=b";
    chatgpt.closeMidBody(sessionPath, 4096, 10);
    EXPECT_FALSE(fetch());
    EXPECT_EQ(store.tokenWrites, 0);
}

TEST_F(CodexProviderTest, UnusableCliLoginFilesRunTheCookieSteps) {
    store.codexCookie = "a=b";
    store.codexToken = "stored-token";
    chatgpt.on(usagePath, 200, validUsage);
    for (const std::string_view contents :
         {"", "garbage", "[]", R"({"tokens":"cli-token"})", R"({"tokens":{"access_token":7}})",
          R"({"access_token":"cli-token"})", "{\"tokens\":{\"access_token\":\"\xff\"}}"}) {
        cliLogin(contents);
        ASSERT_TRUE(fetch()) << contents;
        EXPECT_EQ(chatgpt.requests().back().header("Authorization"), "Bearer stored-token")
            << contents;
    }
}

TEST_F(CodexProviderTest, RejectedCliTokenFallsThroughToTheCookieSteps) {
    validCliLogin();
    store.codexCookie = "a=b";
    store.codexToken = "stored-token";
    chatgpt.on(usagePath, [](const httplib::Request& request, httplib::Response& response) {
        if (request.get_header_value("Authorization") == "Bearer cli-token") {
            response.status = 401;
            response.set_content(R"({"detail":"token expired"})", "application/json");
        } else {
            response.set_content(validUsage, "application/json");
        }
    });
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->fiveHour.percent, 34);
    ASSERT_EQ(chatgpt.requestCount(), 2u);
    EXPECT_EQ(chatgpt.requests().back().header("Authorization"), "Bearer stored-token");
    EXPECT_EQ(chatgpt.requests().back().header("Cookie"), "a=b");
}

TEST_F(CodexProviderTest, CliTokenTimeOutFallsThroughToTheCookieSteps) {
    validCliLogin();
    store.codexCookie = "a=b";
    store.codexToken = "stored-token";
    env.fetch.timeout = 500ms;
    chatgpt.on(usagePath, [](const httplib::Request& request, httplib::Response& response) {
        if (request.get_header_value("Authorization") == "Bearer cli-token") {
            std::this_thread::sleep_for(1500ms);
        }
        response.set_content(validUsage, "application/json");
    });
    const auto usage = fetch();
    ASSERT_TRUE(usage);
    EXPECT_EQ(chatgpt.requests().back().header("Authorization"), "Bearer stored-token");
}

TEST_F(CodexProviderTest, RefusedPortGivesNothing) {
    validCliLogin();
    store.codexCookie = "a=b";
    env.chatgptBase = test::refusedBaseUrl();
    EXPECT_FALSE(fetch());
}

TEST_F(CodexProviderTest, HtmlPageGivesNothing) {
    validCliLogin();
    store.codexCookie = "a=b";
    chatgpt.on(sessionPath, 403, "<html>Just a moment...</html>", "text/html");
    chatgpt.on(usagePath, 403, "<html>Just a moment...</html>", "text/html");
    EXPECT_FALSE(fetch());
    EXPECT_EQ(store.tokenWrites, 0);
}

TEST_F(CodexProviderTest, ServerThatNeverAnswersGivesNothingAfterTheTimeOut) {
    validCliLogin();
    store.codexCookie = "a=b";
    store.codexToken = "stored-token";
    env.fetch.timeout = 400ms;
    chatgpt.neverAnswer(usagePath);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_FALSE(fetch());
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
}

TEST_F(CodexProviderTest, RedirectToAnotherHostCarriesNoCredential) {
    LocalServer other(LocalServer::Scheme::https);
    env.fetch.resolve = {other.resolveEntry(test::otherTestHost)};
    validCliLogin();
    store.codexCookie = "a=b";
    chatgpt.redirect(usagePath, other.baseUrlFor(test::otherTestHost) + "/collect");
    chatgpt.redirect(sessionPath, other.baseUrlFor(test::otherTestHost) + "/collect");
    EXPECT_FALSE(fetch());
    EXPECT_EQ(other.requestCount(), 0u);
}

} // namespace
} // namespace quillon
