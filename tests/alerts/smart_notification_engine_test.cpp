#include "alerts/smart_notification_engine.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

namespace quillon {
namespace {

TEST(SmartNotificationEngineTest, StartsWithAnEmptyHistoryAndAPositiveBound) {
    const SmartNotificationEngine engine;
    EXPECT_TRUE(engine.notificationHistory.empty());
    EXPECT_GT(SmartNotificationEngine::maxHistorySize, 0);
}

TEST(SmartNotificationEngineTest, HistoryKeepsInsertionOrder) {
    using Record = SmartNotificationEngine::NotificationRecord;
    const Instant at{std::chrono::seconds(1'700'000'000)};
    // An order that no field sorts: providers, percents, thresholds and times all go both ways.
    const std::vector<Record> raised = {
        {"codex", 91, 90, at + std::chrono::seconds(30)},
        {"claude", 51, 50, at},
        {"codex", 76, 75, at + std::chrono::seconds(90)},
        {"claude", 97, 90, at + std::chrono::seconds(10)},
        {"claude", 51, 50, at},
    };
    SmartNotificationEngine engine;
    for (const Record& record : raised) {
        // Appended at the end, through the one insertion every standard container offers.
        engine.notificationHistory.insert(engine.notificationHistory.end(), record);
    }
    const std::vector<Record> held(engine.notificationHistory.begin(),
                                   engine.notificationHistory.end());
    EXPECT_EQ(held, raised);
}

TEST(SmartNotificationEngineTest, IsAReferenceTypeThatCannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<SmartNotificationEngine>);
    EXPECT_FALSE(std::is_copy_assignable_v<SmartNotificationEngine>);
}

} // namespace
} // namespace quillon
