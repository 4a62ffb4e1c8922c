#include "app/bus_figures.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillon {
namespace {

using namespace std::chrono_literals;

constexpr Instant resetsAt{std::chrono::seconds(1'773'162'000)};

UsageData everyFigure() {
    UsageData usage;
    usage.provider = Provider::claude;
    usage.plan = "max";
    usage.fiveHour = {42, resetsAt, "Resets in 2h 05m"};
    usage.weekly = {63, std::nullopt, ""};
    usage.sonnet = UsageWindow{-4, resetsAt + 3600s, "Tue 6:00 PM"};
    usage.contextUsage = ContextUsage{"quillon", 112400, 200000, 87600, 56};
    usage.today = TodayUsage{23, "1.1M"};
    return usage;
}

TEST(BusFigures, EveryFigureComesBack) {
    EXPECT_EQ(usageFromBus(Provider::claude, usageToBus(everyFigure())), everyFigure());
}

TEST(BusFigures, AbsentFiguresAreAbsentKeys) {
    UsageData usage;
    usage.provider = Provider::codex;
    const QVariantMap map = usageToBus(usage);
    EXPECT_EQ(map.keys(), (QStringList{"Connected", "FiveHour", "Weekly"}));
    EXPECT_FALSE(map.value("FiveHour").toMap().contains("ResetsAt"));
    EXPECT_EQ(usageFromBus(Provider::codex, map), usage);
}

TEST(BusFigures, AProviderWithoutFiguresIsNotConnected) {
    EXPECT_EQ(usageToBus(std::nullopt), (QVariantMap{{"Connected", false}}));
    EXPECT_FALSE(usageFromBus(Provider::claude, usageToBus(std::nullopt)));
    EXPECT_FALSE(usageFromBus(Provider::claude, {}));
    EXPECT_FALSE(usageFromBus(Provider::claude, {{"Connected", 1}}));
}

TEST(BusFigures, FiguresOfTheWrongTypeReadAsAbsent) {
    const QVariantMap map{
        {"Connected", true},
        {"Plan", 7},
        {"FiveHour", QVariantMap{{"Percent", QStringLiteral("42")}, {"ResetsAt", 1.5}}},
        {"Weekly", QStringLiteral("63%")},
        {"Today", QVariantMap{{"Messages", true}}},
    };
    const auto usage = usageFromBus(Provider::claude, map);
    ASSERT_TRUE(usage);
    EXPECT_FALSE(usage->plan);
    EXPECT_EQ(usage->fiveHour, UsageWindow{});
    EXPECT_EQ(usage->weekly, UsageWindow{});
    EXPECT_EQ(usage->today, (TodayUsage{0, ""}));
}

TEST(BusFigures, InstantsAreWholeSecondsAndZeroIsNone) {
    EXPECT_EQ(instantToBus(std::nullopt), 0);
    EXPECT_EQ(instantToBus(resetsAt + 999ms), 1'773'162'000);
    EXPECT_EQ(instantToBus(Instant(-1500ms)), -2);
    EXPECT_EQ(instantFromBus(1'773'162'000), resetsAt);
    EXPECT_FALSE(instantFromBus(0));
}

TEST(BusFigures, InstantsFarOutAreRefused) {
    EXPECT_FALSE(instantFromBus(std::numeric_limits<qint64>::max()));
    EXPECT_FALSE(instantFromBus(std::numeric_limits<qint64>::min()));
    // Year 2200 is more than half of what an Instant holds away from 1970.
    EXPECT_FALSE(instantFromBus(7'258'118'400));
    EXPECT_TRUE(instantFromBus(4'102'444'800)); // 2100
}

TEST(BusFigures, PropertiesCarryTheTitleAndTheThresholdsInOrder) {
    NotificationSettings notifications;
    notifications.thresholds = {90, 10, 50};
    const QVariantMap properties =
        busProperties(everyFigure(), std::nullopt, resetsAt, notifications);
    EXPECT_EQ(properties.value("Title").toString(), " C:42%");
    EXPECT_EQ(properties.value("LastUpdated").toLongLong(), 1'773'162'000);
    EXPECT_EQ(properties.value("AlertThresholds").value<QList<qlonglong>>(),
              (QList<qlonglong>{10, 50, 90}));
    EXPECT_EQ(properties.value("Codex").toMap(), (QVariantMap{{"Connected", false}}));
}

} // namespace
} // namespace quillon
