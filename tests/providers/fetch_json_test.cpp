#include "providers/fetch_json.h"

#include "support/local_server.h"
#include "support/temp_dir.h"
#include "support/test_ca.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using test::LocalServer;
using test::TempDir;

constexpr const char* secret = "Bearer sk-secret-0123456789";

FetchOptions trustingTestCa() {
    FetchOptions options;
    options.caFile = test::testCertificates().caFile.string();
    return options;
}

template <typename Call> std::chrono::milliseconds timed(Call call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start);
}

// A port nobody listens on: a server is started there and stopped again.
int closedPort() {
    return LocalServer().port();
}

TEST(FetchJson, UrlWithASpaceGivesEmptyObjectWithoutARequest) {
    LocalServer server;
    server.on("/api/oauth/usage", 200, R"({"five_hour":{}})");
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/api/oauth /usage", {}), json::object());
    EXPECT_EQ(fetchJSONArray(server.baseUrl() + "/api/oauth /usage", {}), json::array());
    EXPECT_EQ(server.requestCount(), 0u);
}

TEST(FetchJson, UrlsWithoutSchemeOrHostGiveEmptyResultsWithoutARequest) {
    LocalServer server;
    const std::string port = std::to_string(server.port());
    for (const std::string& url :
         {std::string(), "127.0.0.1:" + port + "/x", "//127.0.0.1:" + port + "/x",
          std::string("http://"), std::string("http:///x"), std::string("HTTP:///x"),
          std::string("not a url")}) {
        EXPECT_EQ(fetchJSON(url, {}), json::object()) << url;
        EXPECT_EQ(fetchJSONArray(url, {}), json::array()) << url;
    }
    EXPECT_EQ(server.requestCount(), 0u);
}

TEST(FetchJson, HtmlErrorPageWithStatus500GivesEmptyObject) {
    LocalServer server;
    server.on("/usage", 500, "<html><body>Internal Server Error</body></html>", "text/html");
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/usage", {}), json::object());
    EXPECT_EQ(server.requestCount(), 1u);
}

TEST(FetchJson, JsonErrorBodyWithStatus401GivesThatObject) {
    LocalServer server;
    server.on("/usage", 401, R"({"error":{"type":"authentication_error","message":"expired"}})");
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/usage", {}),
              json::parse(R"({"error":{"type":"authentication_error","message":"expired"}})"));
}

TEST(FetchJson, StatusCodeIsNotLookedAt) {
    LocalServer server;
    server.on("/missing", 404, R"({"five_hour":{"utilization":12}})");
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/missing", {}),
              json::parse(R"({"five_hour":{"utilization":12}})"));
}

TEST(FetchJson, JsonArrayGivenToFetchJsonGivesEmptyObject) {
    LocalServer server;
    server.on("/organizations", 200, R"([{"uuid":"a"}])");
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/organizations", {}), json::object());
}

TEST(FetchJson, JsonObjectGivenToFetchJsonArrayGivesEmptyArray) {
    LocalServer server;
    server.on("/usage", 200, R"({"uuid":"a"})");
    EXPECT_EQ(fetchJSONArray(server.baseUrl() + "/usage", {}), json::array());
}

TEST(FetchJson, ArrayOfObjectsIsReturned) {
    LocalServer server;
    server.on("/organizations", 200, R"([{"uuid":"a"},{"uuid":"b","name":"Team"}])");
    EXPECT_EQ(fetchJSONArray(server.baseUrl() + "/organizations", {}),
              json::parse(R"([{"uuid":"a"},{"uuid":"b","name":"Team"}])"));
}

TEST(FetchJson, ArrayOfNonObjectsGivesEmptyArray) {
    LocalServer server;
    server.on("/numbers", 200, "[1,2,3]");
    server.on("/mixed", 200, R"([{"uuid":"a"},"b"])");
    server.on("/nested", 200, R"([[{"uuid":"a"}]])");
    EXPECT_EQ(fetchJSONArray(server.baseUrl() + "/numbers", {}), json::array());
    EXPECT_EQ(fetchJSONArray(server.baseUrl() + "/mixed", {}), json::array());
    EXPECT_EQ(fetchJSONArray(server.baseUrl() + "/nested", {}), json::array());
}

TEST(FetchJson, EmptyArrayIsAnArrayOfObjects) {
    LocalServer server;
    server.on("/organizations", 200, "[]");
    EXPECT_EQ(fetchJSONArray(server.baseUrl() + "/organizations", {}), json::array());
    EXPECT_EQ(server.requestCount(), 1u);
}

TEST(FetchJson, MalformedBodiesGiveEmptyResults) {
    LocalServer server;
    server.on("/truncated", 200, R"({"five_hour":{"utilization":)");
    server.on("/empty", 200, "");
    server.on("/trailing", 200, R"({"a":1} {"b":2})");
    for (const char* path : {"/truncated", "/empty", "/trailing"}) {
        EXPECT_EQ(fetchJSON(server.baseUrl() + path, {}), json::object()) << path;
        EXPECT_EQ(fetchJSONArray(server.baseUrl() + path, {}), json::array()) << path;
    }
}

TEST(FetchJson, EachHeaderArrivesOnceWithItsExactValue) {
    LocalServer server;
    server.on("/usage", 200, "{}");
    const HttpHeaders headers{{"Authorization", secret},
                              {"anthropic-beta", "oauth-2025-04-20"},
                              {"Cookie", "sessionKey=abc; lastActiveOrg=xyz"},
                              {"Accept", "application/json"}};
    fetchJSON(server.baseUrl() + "/usage?x=1&y=two", headers);
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1u);
    const auto& request = requests.front();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.path, "/usage");
    EXPECT_EQ(request.query, "x=1&y=two");
    for (const auto& [name, value] : headers) {
        EXPECT_EQ(request.headerValues(name), std::vector<std::string>{value}) << name;
    }
}

TEST(FetchJson, HeadersNotGivenAreNotSent) {
    LocalServer server;
    server.on("/usage", 200, "{}");
    fetchJSON(server.baseUrl() + "/usage", {{"Authorization", secret}});
    const auto request = server.requests().at(0);
    EXPECT_TRUE(request.headerValues("Cookie").empty());
    EXPECT_TRUE(request.headerValues("anthropic-beta").empty());
    EXPECT_TRUE(request.headerValues("Expect").empty());
}

TEST(FetchJson, TheMethodIsGetForBothShapes) {
    LocalServer server;
    server.on("/object", 200, "{}");
    server.on("/array", 200, "[]");
    fetchJSON(server.baseUrl() + "/object", {});
    fetchJSONArray(server.baseUrl() + "/array", {});
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].method, "GET");
    EXPECT_EQ(requests[1].method, "GET");
}

TEST(FetchJson, HeaderWithALineBreakIsRefusedWithoutARequest) {
    LocalServer server;
    server.on("/usage", 200, "{}");
    try {
        fetchJSON(server.baseUrl() + "/usage", {{"Cookie", "a=b\r\nX-Injected: 1"}});
        ADD_FAILURE() << "no TransportError";
    } catch (const TransportError& error) {
        EXPECT_EQ(std::string(error.what()).find("a=b"), std::string::npos);
    }
    EXPECT_EQ(server.requestCount(), 0u);
}

TEST(FetchJson, RefusedConnectionThrows) {
    const std::string url = "http://127.0.0.1:" + std::to_string(closedPort()) + "/usage";
    EXPECT_THROW(fetchJSON(url, {}), TransportError);
    EXPECT_THROW(fetchJSONArray(url, {}), TransportError);
}

TEST(FetchJson, ErrorTextsNeverContainHeaderValues) {
    const std::string url = "http://127.0.0.1:" + std::to_string(closedPort()) + "/usage";
    try {
        fetchJSON(url, {{"Authorization", secret}, {"Cookie", "sessionKey=hunter2"}});
        ADD_FAILURE() << "no TransportError";
    } catch (const TransportError& error) {
        const std::string text = error.what();
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.find("sk-secret"), std::string::npos) << text;
        EXPECT_EQ(text.find("hunter2"), std::string::npos) << text;
    }
}

TEST(FetchJson, UnknownHostThrows) {
    FetchOptions options;
    options.timeout = 5s;
    EXPECT_THROW(fetchJSON("http://no-such-host.invalid/usage", {}, options), TransportError);
}

TEST(FetchJson, ServerThatNeverAnswersTimesOut) {
    LocalServer server;
    server.neverAnswer("/usage");
    FetchOptions options;
    options.timeout = 300ms;
    const auto elapsed = timed(
        [&] { EXPECT_THROW(fetchJSON(server.baseUrl() + "/usage", {}, options), TransportError); });
    EXPECT_GE(elapsed, 250ms);
    EXPECT_LT(elapsed, 3s);
}

TEST(FetchJson, ConnectionClosedMidBodyThrows) {
    LocalServer server;
    server.closeMidBody("/usage", 10000, 100);
    EXPECT_THROW(fetchJSON(server.baseUrl() + "/usage", {}), TransportError);
    EXPECT_EQ(server.bodyBytesSent(), 100u);
}

TEST(FetchJson, CancellationAbortsASlowTransfer) {
    LocalServer server;
    server.slowBody("/usage", std::string(R"({"pad":")") + std::string(1000, 'x') + "\"}", 50ms);
    Cancellation cancellation;
    FetchOptions options;
    options.cancellation = &cancellation;
    std::thread canceller([&] {
        std::this_thread::sleep_for(300ms);
        cancellation.cancel();
    });
    const auto elapsed = timed(
        [&] { EXPECT_THROW(fetchJSON(server.baseUrl() + "/usage", {}, options), TransportError); });
    canceller.join();
    EXPECT_GE(elapsed, 250ms);
    EXPECT_LT(elapsed, 3s);
    EXPECT_LT(server.bodyBytesSent(), 200u);
}

TEST(FetchJson, CancelledBeforeStartThrows) {
    LocalServer server;
    server.on("/usage", 200, "{}");
    Cancellation cancellation;
    cancellation.cancel();
    FetchOptions options;
    options.cancellation = &cancellation;
    EXPECT_THROW(fetchJSON(server.baseUrl() + "/usage", {}, options), TransportError);
}

TEST(FetchJson, HttpsWithTheTestCaWorks) {
    LocalServer server(LocalServer::Scheme::https);
    server.on("/api/oauth/usage", 200, R"({"seven_day":{"utilization":3}})");
    EXPECT_EQ(fetchJSON(server.baseUrl() + "/api/oauth/usage", {{"Authorization", secret}},
                        trustingTestCa()),
              json::parse(R"({"seven_day":{"utilization":3}})"));
    EXPECT_EQ(server.requests().at(0).header("Authorization"), secret);
}

TEST(FetchJson, HttpsWithoutTheTestCaFailsVerification) {
    LocalServer server(LocalServer::Scheme::https);
    server.on("/api/oauth/usage", 200, "{}");
    EXPECT_THROW(fetchJSON(server.baseUrl() + "/api/oauth/usage", {{"Authorization", secret}}),
                 TransportError);
    EXPECT_EQ(server.requestCount(), 0u);
}

TEST(FetchJson, HttpsUnderANameTheCertificateLacksFails) {
    LocalServer server(LocalServer::Scheme::https);
    server.on("/usage", 200, "{}");
    FetchOptions options = trustingTestCa();
    options.resolve = {server.resolveEntry("wrong.test")};
    EXPECT_THROW(fetchJSON(server.baseUrlFor("wrong.test") + "/usage", {}, options),
                 TransportError);
    EXPECT_EQ(server.requestCount(), 0u);
}

TEST(FetchJson, OtherSchemesAreNotFetched) {
    EXPECT_THROW(fetchJSON("ftp://127.0.0.1:" + std::to_string(closedPort()) + "/usage", {}),
                 TransportError);
    TempDir folder;
    const auto file = folder.write("usage.json", R"({"local":true})");
    // A file URL has no host, so it is refused before libcurl could open anything.
    EXPECT_EQ(fetchJSON("file://localhost" + file.string(), {}), json::object());
    EXPECT_EQ(fetchJSON("file://" + file.string(), {}), json::object());
}

TEST(ReadJson, ObjectAndArrayShapes) {
    EXPECT_EQ(readJsonObject(R"({"a":[1,2]})"), json::parse(R"({"a":[1,2]})"));
    EXPECT_EQ(readJsonObject(" \n{}\t"), json::object());
    EXPECT_EQ(readJsonObject("[]"), json::object());
    EXPECT_EQ(readJsonObject("\"text\""), json::object());
    EXPECT_EQ(readJsonObject("null"), json::object());
    EXPECT_EQ(readJsonArray(R"([{}, {"a":1}])"), json::parse(R"([{}, {"a":1}])"));
    EXPECT_EQ(readJsonArray(R"([{}, null])"), json::array());
    EXPECT_EQ(readJsonArray("{}"), json::array());
}

TEST(ReadJson, CommentsAndInvalidTextAreRefused) {
    EXPECT_EQ(readJsonObject(R"({"a":1 /* note */})"), json::object());
    EXPECT_EQ(readJsonObject("{\"a\":\"\xff\"}"), json::object());
    EXPECT_EQ(readJsonObject(R"({'a':1})"), json::object());
    EXPECT_EQ(readJsonObject(std::string("{}\0", 3)), json::object());
}

TEST(ReadJson, NumbersBeyondADoubleAreRefused) {
    EXPECT_EQ(readJsonObject(R"({"utilization":1e400})"), json::object());
    EXPECT_EQ(readJsonObject(R"({"utilization":-1e400})"), json::object());
    EXPECT_EQ(readJsonObject(R"({"utilization":1e300})"), json::parse(R"({"utilization":1e300})"));
}

TEST(ReadJson, DeepNestingIsRefusedWithoutParsing) {
    const std::string deep = "{\"a\":" + std::string(100000, '[') + std::string(100000, ']') + "}";
    EXPECT_EQ(readJsonObject(deep), json::object());
    const std::string fine = "{\"a\":" + std::string(100, '[') + std::string(100, ']') + "}";
    EXPECT_TRUE(readJsonObject(fine).contains("a"));
    // Brackets inside strings do not count.
    EXPECT_EQ(readJsonObject("{\"a\":\"" + std::string(100000, '[') + "\"}").size(), 1u);
}

} // namespace
} // namespace quillon
