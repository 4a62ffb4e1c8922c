#include "providers/window_labels.h"

#include "providers/formatters.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace quillon {
namespace {

using namespace std::chrono;
using nlohmann::json;

const Instant now = sys_days{2026y / November / 22} + 13h + 7min + 42s + 250ms;

std::optional<Instant> ahead(nanoseconds interval) {
    return now + duration_cast<Instant::duration>(interval);
}

TEST(CountdownLabel, NoDateGivesEmptyText) {
    EXPECT_EQ(countdownLabel(std::nullopt, now), "");
}

TEST(CountdownLabel, JustUnderAnHourShowsMinutesOnly) {
    EXPECT_EQ(countdownLabel(ahead(3599900ms), now), "Resets in 59m");
}

TEST(CountdownLabel, ThirtySecondsPastTheHourShowsZeroPaddedMinutes) {
    EXPECT_EQ(countdownLabel(ahead(3630s), now), "Resets in 1h 00m");
}

TEST(CountdownLabel, DateOneSecondAgoIsResetting) {
    EXPECT_EQ(countdownLabel(ahead(-1s), now), "Resetting...");
}

TEST(CountdownLabel, DateExactlyNowIsResetting) {
    EXPECT_EQ(countdownLabel(ahead(0s), now), "Resetting...");
}

TEST(CountdownLabel, SevenHoursThreeMinutesThirtySeconds) {
    EXPECT_EQ(countdownLabel(ahead(7h + 3min + 30s), now), "Resets in 7h 03m");
}

TEST(CountdownLabel, ExactHourReadAMomentLaterCutsToFiftyNineMinutes) {
    const Instant date = now + 3600s;
    EXPECT_EQ(countdownLabel(date, now + 1ms), "Resets in 59m");
    EXPECT_EQ(countdownLabel(date, now), "Resets in 1h 00m");
}

TEST(CountdownLabel, UnderAMinuteShowsZeroMinutes) {
    EXPECT_EQ(countdownLabel(ahead(30s), now), "Resets in 0m");
    EXPECT_EQ(countdownLabel(ahead(1ns), now), "Resets in 0m");
    EXPECT_EQ(countdownLabel(ahead(7min + 59s), now), "Resets in 7m");
}

TEST(CountdownLabel, NoDayUnit) {
    EXPECT_EQ(countdownLabel(ahead(30h), now), "Resets in 30h 00m");
    EXPECT_EQ(countdownLabel(ahead(2h + 5min), now), "Resets in 2h 05m");
    EXPECT_EQ(countdownLabel(ahead(123h + 45min + 59s), now), "Resets in 123h 45m");
}

TEST(CountdownLabel, FarApartInstantsDoNotOverflow) {
    const auto early = Formatters::parseIso8601("1700-01-01T00:00:00.0Z");
    const auto late = Formatters::parseIso8601("2260-01-01T00:00:00.0Z");
    ASSERT_TRUE(early && late);
    EXPECT_EQ(countdownLabel(early, *late), "Resetting...");
    const auto hours = duration_cast<std::chrono::hours>(*late - sys_days{1980y / January / 1});
    EXPECT_EQ(countdownLabel(late, *early).rfind("Resets in ", 0), 0u);
    EXPECT_EQ(countdownLabel(late, sys_days{1980y / January / 1}),
              "Resets in " + std::to_string(hours.count()) + "h 00m");
}

TEST(ParseDate, NoTextGivesNoDate) {
    EXPECT_EQ(parseDate(std::nullopt), std::nullopt);
}

TEST(ParseDate, StampWithoutFractionGivesNoDate) {
    EXPECT_EQ(parseDate("2025-06-01T10:00:00Z"), std::nullopt);
}

TEST(ParseDate, StampWithMillisecondsIsReadAsUtc) {
    EXPECT_EQ(parseDate("2025-06-01T10:00:00.123Z"), sys_days{2025y / June / 1} + 10h + 123ms);
}

TEST(ParseDate, ZeroFractionAndHalfSecondWithOffsetAreAccepted) {
    EXPECT_EQ(parseDate("2025-06-01T10:00:00.000Z"), sys_days{2025y / June / 1} + 10h);
    EXPECT_EQ(parseDate("2025-06-01T10:00:00.5+00:00"), sys_days{2025y / June / 1} + 10h + 500ms);
}

TEST(ParseWindow, NoObjectGivesNoWindow) {
    EXPECT_EQ(parseWindow(nullptr), std::nullopt);
    const json null;
    const json array = json::array({1});
    const json number = 42;
    EXPECT_EQ(parseWindow(&null), std::nullopt);
    EXPECT_EQ(parseWindow(&array), std::nullopt);
    EXPECT_EQ(parseWindow(&number), std::nullopt);
}

TEST(ParseWindow, EmptyObjectGivesZeroPercentWithoutDate) {
    const json empty = json::object();
    EXPECT_EQ(parseWindow(&empty), (UsageWindow{0, std::nullopt, ""}));
}

TEST(ParseWindow, UtilizationPointFourRoundsToZero) {
    const json data = {{"utilization", 0.4}};
    EXPECT_EQ(parseWindow(&data)->percent, 0);
}

TEST(ParseWindow, UtilizationPointFiveRoundsToOne) {
    const json data = {{"utilization", 0.5}};
    EXPECT_EQ(parseWindow(&data)->percent, 1);
}

TEST(ParseWindow, PercentIsNeitherMultipliedNorClamped) {
    const json integer = {{"utilization", 42}};
    const json over = {{"utilization", 104.5}};
    const json negative = {{"utilization", -2.5}};
    EXPECT_EQ(parseWindow(&integer)->percent, 42);
    EXPECT_EQ(parseWindow(&over)->percent, 105);
    EXPECT_EQ(parseWindow(&negative)->percent, -3);
}

TEST(ParseWindow, UtilizationThatIsNotANumberCountsAsZero) {
    for (const json& value : {json("50"), json(nullptr), json(true), json::object()}) {
        const json data = {{"utilization", value}};
        EXPECT_EQ(parseWindow(&data)->percent, 0) << value;
    }
}

TEST(ParseWindowDeathTest, UtilizationBeyondSixtyFourBitsIsFatal) {
    const json data = {{"utilization", 1e19}};
    EXPECT_DEATH(parseWindow(&data), "fatal");
}

TEST(ParseWindow, ResetsAtTextIsReadAndLabelled) {
    const json data = {{"utilization", 12.0}, {"resets_at", "2026-11-23T15:05:00.000000+00:00"}};
    const auto window = parseWindow(&data);
    const Instant date = sys_days{2026y / November / 23} + 15h + 5min;
    ASSERT_TRUE(window);
    EXPECT_EQ(window->percent, 12);
    EXPECT_EQ(window->resetsAt, date);
    EXPECT_EQ(window->resetLabel, Formatters::displayDate(date));
    EXPECT_FALSE(window->resetLabel.empty());
}

TEST(ParseWindow, ResetsAtThatIsNotReadableTextGivesNoDate) {
    for (const json& value :
         {json(1767225600), json(nullptr), json("2025-06-01T10:00:00Z"), json("tomorrow")}) {
        const json data = {{"utilization", 3}, {"resets_at", value}};
        EXPECT_EQ(parseWindow(&data), (UsageWindow{3, std::nullopt, ""})) << value;
    }
}

TEST(ResetLabel, NoDateGivesEmptyText) {
    EXPECT_EQ(resetLabel(std::nullopt), "");
}

// The shared date formatter keeps the locale and zone of its first use; each check runs in a
// fresh copy of this program with its own environment.
TEST(ResetLabelDeathTest, WeekdayAndTimeInTheUsersLocaleAndZone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const Instant date = sys_days{2026y / November / 23} + 15h + 5min + 59s;
    const auto labelIn = [date](const char* language, const char* zone) {
        setenv("LANG", language, 1);
        unsetenv("LC_ALL");
        setenv("TZ", zone, 1);
        std::fprintf(stderr, "[%s]", resetLabel(date).c_str());
        std::exit(0);
    };
    EXPECT_EXIT(labelIn("en_US.UTF-8", "UTC"), testing::ExitedWithCode(0), "^\\[Mon 3:05 PM\\]$");
    EXPECT_EXIT(labelIn("en_GB.UTF-8", "America/Los_Angeles"), testing::ExitedWithCode(0),
                "^\\[Mon 7:05 am\\]$");
}

} // namespace
} // namespace quillon
