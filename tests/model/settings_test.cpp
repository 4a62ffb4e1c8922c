#include "model/settings.h"
#include "model/usage_data.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(Settings, DefaultAppSettings) {
    const AppSettings settings;
    EXPECT_EQ(settings.refreshInterval, 60);
    EXPECT_FALSE(settings.showActivityLog);
    EXPECT_FALSE(settings.launchAtStartup);
    EXPECT_TRUE(settings.notifications.enabled);
    EXPECT_EQ(settings.notifications.thresholds, (std::set<std::int64_t>{50, 75, 90}));
    EXPECT_EQ(settings, (AppSettings{60, false, false, NotificationSettings{true, {50, 75, 90}}}));
}

TEST(Settings, DefaultSmartNotificationSettings) {
    const SmartNotificationSettings smart;
    EXPECT_EQ(smart, (SmartNotificationSettings{true, false, false, 22, 8}));
}

TEST(Settings, ThresholdsAreASetWithoutDuplicates) {
    NotificationSettings notifications;
    notifications.thresholds.insert(75);
    notifications.thresholds.insert(95);
    EXPECT_EQ(notifications.thresholds, (std::set<std::int64_t>{50, 75, 90, 95}));
}

TEST(UsageRecords, WindowWithPercentAbove100IsCarriedUnchanged) {
    const UsageWindow window{104, std::nullopt, ""};
    const UsageData data{Provider::claude, "max", window, UsageWindow{}, {}, {}, {}};
    EXPECT_EQ(data.fiveHour.percent, 104);
}

TEST(UsageRecords, NegativePercentIsCarriedUnchanged) {
    const UsageWindow window{-5, std::nullopt, ""};
    EXPECT_EQ(window.percent, -5);
}

} // namespace
} // namespace quillon
