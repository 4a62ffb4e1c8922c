#include "alerts/smart_notification_engine.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace quillon {
namespace {

TEST(SmartNotificationEngineTest, StartsWithAnEmptyHistoryAndAPositiveBound) {
    const SmartNotificationEngine engine;
    EXPECT_TRUE(engine.notificationHistory.empty());
    EXPECT_GT(SmartNotificationEngine::maxHistorySize, 0);
}

TEST(SmartNotificationEngineTest, HistoryKeepsInsertionOrder) {
    SmartNotificationEngine engine;
    const Instant at{std::chrono::seconds(1'700'000'000)};
    engine.notificationHistory.push_back({"codex", 91, 90, at});
    engine.notificationHistory.push_back({"claude", 51, 50, at + std::chrono::seconds(5)});
    ASSERT_EQ(engine.notificationHistory.size(), 2U);
    EXPECT_EQ(engine.notificationHistory[0],
              (SmartNotificationEngine::NotificationRecord{"codex", 91, 90, at}));
    EXPECT_EQ(engine.notificationHistory[1].provider, "claude");
    EXPECT_EQ(engine.notificationHistory[1].threshold, 50);
}

TEST(SmartNotificationEngineTest, IsAReferenceTypeThatCannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<SmartNotificationEngine>);
    EXPECT_FALSE(std::is_copy_assignable_v<SmartNotificationEngine>);
}

} // namespace
} // namespace quillon
