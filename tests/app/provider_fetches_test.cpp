#include "app/provider_fetches.h"

#include <QDir>

#include <gtest/gtest.h>

#include <chrono>

namespace quillon {
namespace {

using namespace std::chrono_literals;

// What the shipped program talks to: the real services, over TLS only.
TEST(ProviderFetchesTest, TheShippedProgramReachesTheServicesOverHttps) {
    const ProviderEnvironment env = productionProviderEnvironment();
    EXPECT_EQ(env.claudeApiBase, "https://api.anthropic.com");
    EXPECT_EQ(env.claudeWebBase, "https://claude.ai");
    EXPECT_EQ(env.chatgptBase, "https://chatgpt.com");
    EXPECT_TRUE(env.fetch.caFile.empty()); // the system's certificate authorities
    EXPECT_TRUE(env.fetch.resolve.empty());
}

// Every request of the shipped program gives up after one minute, redirects included.
TEST(ProviderFetchesTest, TheShippedProgramWaitsSixtySecondsForARequest) {
    EXPECT_EQ(productionProviderEnvironment().fetch.timeout, 60s);
    EXPECT_EQ(FetchOptions{}.timeout, 60s);
}

TEST(ProviderFetchesTest, TheShippedProgramReadsTheUsersOwnHome) {
    const ProviderEnvironment env = productionProviderEnvironment();
    EXPECT_EQ(env.home, QDir::homePath().toStdString());
    EXPECT_EQ(env.securityTool, "/usr/bin/security");
}

} // namespace
} // namespace quillon
