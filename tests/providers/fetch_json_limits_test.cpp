// Redirects and the body limit of the JSON GET, against local servers.
#include "providers/fetch_json.h"

#include "support/local_server.h"
#include "support/test_ca.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace quillon {
namespace {

using nlohmann::json;
using test::LocalServer;

constexpr const char* secret = "Bearer sk-secret-0123456789";

FetchOptions trustingTestCa() {
    FetchOptions options;
    options.caFile = test::testCertificates().caFile.string();
    return options;
}

TEST(FetchJson, RedirectOnTheSameHostIsFollowedWithTheHeaders) {
    LocalServer server;
    server.redirect("/old", "/api/oauth/usage?moved=1", 301);
    server.on("/api/oauth/usage", 200, R"({"five_hour":{"utilization":7}})");
    const HttpHeaders headers{{"Authorization", secret}, {"Cookie", "a=b"}};
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/old", headers),
              json::parse(R"({"five_hour":{"utilization":7}})"));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[1].path, "/api/oauth/usage");
    EXPECT_EQ(requests[1].query, "moved=1");
    EXPECT_EQ(requests[1].method, "GET");
    EXPECT_EQ(requests[1].header("Authorization"), secret);
    EXPECT_EQ(requests[1].header("Cookie"), "a=b");
}

TEST(FetchJson, RedirectToAnotherHostIsNotFollowed) {
    LocalServer first(LocalServer::Scheme::https);
    LocalServer second(LocalServer::Scheme::https);
    second.on("/steal", 200, R"({"stolen":true})");
    first.redirect("/usage", second.baseUrlFor(test::otherTestHost) + "/steal");
    FetchOptions options = trustingTestCa();
    options.resolve = {second.resolveEntry(test::otherTestHost)};
    EXPECT_EQ(fetchJSON(first.baseUrl() + "/usage",
                        {{"Authorization", secret}, {"Cookie", "sessionKey=abc"}}, options),
              json::object());
    EXPECT_EQ(first.requestCount(), 1u);
    EXPECT_EQ(second.requestCount(), 0u);
    // The second server is reachable under that name: only the redirect was refused.
    EXPECT_EQ(fetchJSON(second.baseUrlFor(test::otherTestHost) + "/steal", {}, options),
              json::parse(R"({"stolen":true})"));
}

TEST(FetchJson, RedirectToAnotherPortOrSchemeIsNotFollowed) {
    LocalServer first;
    LocalServer second;
    second.on("/steal", 200, R"({"stolen":true})");
    first.redirect("/port", second.baseUrl() + "/steal", 307);
    first.redirect("/scheme", "https://127.0.0.1:" + std::to_string(first.port()) + "/steal");
    EXPECT_EQ(fetchJSON(first.baseUrl() + "/port", {{"Authorization", secret}}), json::object());
    EXPECT_EQ(fetchJSON(first.baseUrl() + "/scheme", {{"Authorization", secret}}), json::object());
    EXPECT_EQ(first.requestCount(), 2u);
    EXPECT_EQ(second.requestCount(), 0u);
}

TEST(FetchJson, BodyOfARedirectElsewhereIsTheAnswer) {
    LocalServer server;
    server.on("/usage", [](const httplib::Request&, httplib::Response& response) {
        response.set_redirect("http://elsewhere.test/usage", 302);
        response.set_content(R"({"moved":true})", "application/json");
    });
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/usage", {}), json::parse(R"({"moved":true})"));
    EXPECT_EQ(server.requestCount(), 1u);
}

void chainRedirects(LocalServer& server, int hops) {
    for (int i = 0; i < hops; ++i) {
        server.redirect("/hop" + std::to_string(i), "/hop" + std::to_string(i + 1));
    }
    server.on("/hop" + std::to_string(hops), 200, R"({"arrived":true})");
}

TEST(FetchJson, FiveRedirectsAreFollowed) {
    LocalServer server;
    chainRedirects(server, 5);
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/hop0", {}), json::parse(R"({"arrived":true})"));
    EXPECT_EQ(server.requestCount(), 6u);
}

TEST(FetchJson, MoreThanFiveRedirectsThrow) {
    LocalServer server;
    chainRedirects(server, 6);
    EXPECT_THROW(fetchJSON(server.baseUrl() + "/hop0", {}), TransportError);
    EXPECT_EQ(server.requestCount(), 6u);
}

TEST(FetchJson, RedirectLoopThrows) {
    LocalServer server;
    server.redirect("/loop", "/loop");
    EXPECT_THROW(fetchJSON(server.baseUrl() + "/loop", {}), TransportError);
    EXPECT_EQ(server.requestCount(), 6u);
}

TEST(FetchJson, TwentyMegabyteBodyReadsAsEmpty) {
    LocalServer server;
    server.hugeBody("/declared", std::size_t{20} << 20, true);
    server.hugeBody("/chunked", std::size_t{20} << 20, false);
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/declared", {}), json::object());
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/chunked", {}), json::object());
}

TEST(FetchJson, BodyJustUnderTheCapIsRead) {
    LocalServer server;
    server.hugeBody("/usage", 1000, false);
    FetchOptions options;
    options.maxBodyBytes = 1000;
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/usage", {}, options).at("pad").get<std::string>(),
              std::string(1000 - 10, 'x'));
    options.maxBodyBytes = 999;
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/usage", {}, options), json::object());
}

TEST(FetchJson, TransferStopsSoonAfterTheCap) {
    LocalServer server;
    constexpr std::size_t bodyBytes = std::size_t{64} << 20;
    server.hugeBody("/usage", bodyBytes, false);
    FetchOptions options;
    options.maxBodyBytes = std::size_t{1} << 20;
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/usage", {}, options), json::object());
    // Whatever the kernel buffers on loopback, the server stops long before the end.
    EXPECT_LT(server.bodyBytesSent(), bodyBytes / 2);
}

// The peak resident size of a process only grows, so the check runs in a fresh copy of this
// program that does nothing but this one fetch.
TEST(FetchJsonDeathTest, PeakMemoryDoesNotGrowWithATwentyMegabyteBody) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    LocalServer server;
    server.hugeBody("/usage", std::size_t{20} << 20, false);
    server.on("/warm-up", 200, "{}");
    // Under the address sanitizer freed blocks stay resident in its quarantine; the copy that
    // measures runs without one, so that only live memory counts. Other builds ignore this.
    const char* sanitizerOptions = std::getenv("ASAN_OPTIONS");
    const std::string savedOptions = sanitizerOptions != nullptr ? sanitizerOptions : "";
    setenv("ASAN_OPTIONS",
           (savedOptions + ":quarantine_size_mb=0:thread_local_quarantine_size_kb=0").c_str(), 1);
    EXPECT_EXIT(
        {
            // The first transfer loads the TLS library and its configuration; that is not
            // what is measured.
            fetchJSON(server.baseUrl() + "/warm-up", {});
            rusage before{};
            getrusage(RUSAGE_SELF, &before);
            const bool empty = fetchJSON(server.baseUrl() + "/usage", {}).empty();
            rusage after{};
            getrusage(RUSAGE_SELF, &after);
            const long growthKiB = after.ru_maxrss - before.ru_maxrss;
            std::fprintf(stderr, "empty=%d growth=%ldKiB", empty ? 1 : 0, growthKiB);
            std::exit(empty && growthKiB < 12 * 1024 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "empty=1");
    if (sanitizerOptions != nullptr) {
        setenv("ASAN_OPTIONS", savedOptions.c_str(), 1);
    } else {
        unsetenv("ASAN_OPTIONS");
    }
}

} // namespace
} // namespace quillon
