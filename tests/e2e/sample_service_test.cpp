#include "sample_service.h"

#include <httplib.h>

#include <gtest/gtest.h>

namespace quillon::demo {
namespace {

// Asks the service for the Claude usage; the status of its answer.
int askClaudeUsage(const SampleService& service) {
    httplib::Client client(service.baseUrl());
    const auto result = client.Get("/api/oauth/usage");
    return result ? result->status : -1;
}

TEST(SampleService, RequestsAreRecordedForTests) {
    const SampleService service;
    ASSERT_EQ(askClaudeUsage(service), 200);
    ASSERT_EQ(service.requests().size(), 1u);
    EXPECT_EQ(service.requests().front().path, "/api/oauth/usage");
}

// The demo's service runs as long as the demo does, a refresh a minute: it keeps no log.
TEST(SampleService, WithoutRecordingItAnswersAndKeepsNothing) {
    SampleService service;
    service.setRecording(false);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(askClaudeUsage(service), 200);
    }
    EXPECT_TRUE(service.requests().empty());
    EXPECT_EQ(service.claudeRequests(), 3);
}

} // namespace
} // namespace quillon::demo
