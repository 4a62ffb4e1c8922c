#include "intents/intent_replies.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

SharedUsageData snapshot(std::optional<std::int64_t> claude, std::optional<std::int64_t> codex,
                         std::optional<std::string> claudeReset = std::nullopt,
                         std::optional<std::string> codexReset = std::nullopt) {
    SharedUsageData data;
    data.claudePercent = claude;
    data.codexPercent = codex;
    data.claudeResetTime = std::move(claudeReset);
    data.codexResetTime = std::move(codexReset);
    return data;
}

TEST(IntentRepliesTest, ClaudeAtEightyNineIsGettingClose) {
    EXPECT_EQ(getClaudeUsageReply(snapshot(89, {})),
              "Your Claude usage is at 89 percent. You're getting close to your limit.");
}

TEST(IntentRepliesTest, ClaudeAtEightyNineWithResetTextPutsItBeforeTheWarning) {
    EXPECT_EQ(getClaudeUsageReply(snapshot(89, {}, "Resets in 12m")),
              "Your Claude usage is at 89 percent. Resets in 12m. You're getting close to your "
              "limit.");
}

TEST(IntentRepliesTest, ClaudeAtNinetyWarnsOfTheLimit) {
    EXPECT_EQ(getClaudeUsageReply(snapshot(90, {})),
              "Your Claude usage is at 90 percent. Warning: You're approaching your limit!");
}

TEST(IntentRepliesTest, ClaudeAtNinetyTwoWithResetText) {
    EXPECT_EQ(getClaudeUsageReply(snapshot(92, {}, "Resets in 2h 05m")),
              "Your Claude usage is at 92 percent. Resets in 2h 05m. Warning: You're approaching "
              "your limit!");
}

TEST(IntentRepliesTest, ClaudeAtSeventyFourAppendsNothing) {
    EXPECT_EQ(getClaudeUsageReply(snapshot(74, {})), "Your Claude usage is at 74 percent");
}

TEST(IntentRepliesTest, SeventyFiveIsGettingClose) {
    EXPECT_EQ(getCodexUsageReply(snapshot({}, 75)),
              "Your Codex usage is at 75 percent. You're getting close to your limit.");
}

TEST(IntentRepliesTest, NegativePercentAppendsNothing) {
    EXPECT_EQ(getCodexUsageReply(snapshot({}, -4)), "Your Codex usage is at -4 percent");
}

TEST(IntentRepliesTest, PresentButEmptyResetTextAddsNothing) {
    EXPECT_EQ(getClaudeUsageReply(snapshot(10, {}, "")), "Your Claude usage is at 10 percent");
    EXPECT_EQ(getCodexUsageReply(snapshot({}, 95, {}, "")),
              "Your Codex usage is at 95 percent. Warning: You're approaching your limit!");
}

TEST(IntentRepliesTest, ProviderIntentsWithoutSnapshotSayNotConnected) {
    EXPECT_EQ(getClaudeUsageReply(std::nullopt),
              "Claude is not connected. Please check your settings.");
    EXPECT_EQ(getCodexUsageReply(std::nullopt),
              "Codex is not connected. Please check your settings.");
}

TEST(IntentRepliesTest, ProviderIntentsWithoutTheirPercentSayNotConnected) {
    EXPECT_EQ(getClaudeUsageReply(snapshot({}, 50, "x", "y")),
              "Claude is not connected. Please check your settings.");
    EXPECT_EQ(getCodexUsageReply(snapshot(50, {}, "x", "y")),
              "Codex is not connected. Please check your settings.");
}

TEST(IntentRepliesTest, CodexUsesItsOwnFields) {
    EXPECT_EQ(getCodexUsageReply(snapshot(5, 80, "Claude reset", "Resets in 3h 00m")),
              "Your Codex usage is at 80 percent. Resets in 3h 00m. You're getting close to your "
              "limit.");
}

TEST(IntentRepliesTest, GetUsageWithBothProviders) {
    EXPECT_EQ(getUsageReply(snapshot(42, 17)),
              "Claude is at 42 percent and Codex is at 17 percent");
}

TEST(IntentRepliesTest, GetUsageWithOnlyClaude) {
    EXPECT_EQ(getUsageReply(snapshot(42, {})), "Claude is at 42 percent");
}

TEST(IntentRepliesTest, SnapshotWithOnlyCodexSaysCodexIsAt) {
    EXPECT_EQ(getUsageReply(snapshot({}, 17)), "Codex is at 17 percent");
}

TEST(IntentRepliesTest, GetUsageWithNeitherProvider) {
    EXPECT_EQ(getUsageReply(snapshot({}, {})), "No providers are currently connected");
}

TEST(IntentRepliesTest, GetUsageWithoutSnapshot) {
    EXPECT_EQ(getUsageReply(std::nullopt),
              "No usage data available. Please open Quillon to sync your data.");
}

TEST(IntentRepliesTest, RefreshPostsTheNotificationOnceAndReplies) {
    NotificationCenter center;
    int posts = 0;
    center.addObserver("refreshUsageFromIntent", [&] { ++posts; });
    EXPECT_EQ(performRefreshUsage(center), "Refreshing your usage data...");
    EXPECT_EQ(posts, 1);
}

} // namespace
} // namespace quillon
