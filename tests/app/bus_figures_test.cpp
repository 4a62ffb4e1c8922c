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

TEST(BusFigures, WindowsAServiceAddedAreOneDictionaryByTheirKeys) {
    const ExtraWindows extra{{"seven_day_opus", {12, resetsAt, "Thu 2:30 PM"}},
                             {"weekly_other", {3, std::nullopt, ""}}};
    const QVariantMap map = usageToBus(everyFigure(), extra);
    const QVariantMap windows = map.value("Extra").toMap();
    EXPECT_EQ(windows.keys(), (QStringList{"seven_day_opus", "weekly_other"}));
    const QVariantMap opus = windows.value("seven_day_opus").toMap();
    EXPECT_EQ(opus.value("Percent").metaType(), QMetaType::fromType<qlonglong>());
    EXPECT_EQ(opus.value("Percent").toLongLong(), 12);
    EXPECT_EQ(opus.value("ResetsAt").toLongLong(), 1'773'162'000);
    EXPECT_EQ(opus.value("ResetLabel").toString(), "Thu 2:30 PM");
    EXPECT_EQ(extraWindowsFromBus(map), extra);
    // The named figures are as they were without the added windows.
    EXPECT_EQ(usageFromBus(Provider::claude, map), everyFigure());
    QVariantMap withoutExtra = map;
    withoutExtra.remove("Extra");
    EXPECT_EQ(withoutExtra, usageToBus(everyFigure()));
    // None added, no key; and none for a provider that is not connected.
    EXPECT_FALSE(usageToBus(everyFigure()).contains("Extra"));
    EXPECT_EQ(usageToBus(std::nullopt, extra), (QVariantMap{{"Connected", false}}));
}

TEST(BusFigures, AddedWindowsThatAreNotOursAreLeftOut) {
    QVariantMap windows{
        {"fine", QVariantMap{{"Percent", qlonglong{5}}}},
        {"not a key", QVariantMap{{"Percent", qlonglong{6}}}},
        {"text", QStringLiteral("7%")},
    };
    for (int i = 0; i < 100; ++i) {
        windows.insert(QStringLiteral("w%1").arg(100 + i), QVariantMap{});
    }
    const ExtraWindows extra = extraWindowsFromBus({{"Extra", windows}});
    ASSERT_EQ(extra.size(), maxExtraWindows);
    EXPECT_EQ(extra.front(), (ExtraWindow{"fine", {5, std::nullopt, ""}}));
    for (const auto& window : extra) {
        EXPECT_TRUE(isWindowKey(window.key));
    }
    EXPECT_TRUE(extraWindowsFromBus({{"Extra", QStringLiteral("none")}}).empty());
    EXPECT_TRUE(extraWindowsFromBus({}).empty());
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
