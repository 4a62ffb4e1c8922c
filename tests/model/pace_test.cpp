#include "model/pace.h"

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <gtest/gtest.h>

#include <limits>

namespace quillon {
namespace {

using namespace std::chrono_literals;

// 2026-03-10T17:00:00Z: the five-hour window below runs from noon to 5 PM UTC.
constexpr Instant reset{std::chrono::seconds(1'773'162'000)};
constexpr Instant noon = reset - 5h;

UsageWindow window(std::int64_t percent, std::optional<Instant> resetsAt = reset) {
    return UsageWindow{percent, resetsAt, ""};
}

// Times are written in English and in UTC, whatever the machine's settings.
class PaceTest : public ::testing::Test {
protected:
    void SetUp() override {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale("en_US"), status);
        ASSERT_TRUE(U_SUCCESS(status));
        icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("UTC"));
    }
    void TearDown() override {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(savedLocale_, status);
        icu::TimeZone::adoptDefault(savedZone_);
    }

private:
    icu::Locale savedLocale_ = icu::Locale::getDefault();
    icu::TimeZone* savedZone_ = icu::TimeZone::createDefault();
};

TEST_F(PaceTest, WindowLengths) {
    EXPECT_EQ(windowLength(WindowKind::fiveHour), 5h);
    EXPECT_EQ(windowLength(WindowKind::weekly), 7 * 24h);
    EXPECT_EQ(minimumElapsed(WindowKind::fiveHour), 5min);
}

TEST_F(PaceTest, AtTheStartOfTheWindowNothingIsProjected) {
    const auto result = pace(window(3), WindowKind::fiveHour, noon);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->elapsedShare, 0);
    EXPECT_FALSE(result->projectedPercent);
    EXPECT_EQ(pacePhrase(window(3), WindowKind::fiveHour, noon), "");
}

TEST_F(PaceTest, InTheFirstMinutesNothingIsProjected) {
    const auto early = pace(window(4), WindowKind::fiveHour, noon + 4min + 59s);
    ASSERT_TRUE(early);
    EXPECT_FALSE(early->projectedPercent);
    const auto later = pace(window(4), WindowKind::fiveHour, noon + 5min);
    ASSERT_TRUE(later);
    EXPECT_EQ(later->projectedPercent, 240);
}

TEST_F(PaceTest, MidWindowBelowPace) {
    const auto result = pace(window(30), WindowKind::fiveHour, noon + 2h + 30min);
    ASSERT_TRUE(result);
    EXPECT_DOUBLE_EQ(result->elapsedShare, 0.5);
    EXPECT_EQ(result->projectedPercent, 60);
    EXPECT_FALSE(result->limitAt);
    EXPECT_FALSE(result->limitReached);
    EXPECT_EQ(pacePhrase(result, WindowKind::fiveHour), "at this pace 60% by the reset");
}

TEST_F(PaceTest, MidWindowAbovePaceNamesTheMomentOfTheLimit) {
    const auto result = pace(window(60), WindowKind::fiveHour, noon + 2h + 30min);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->projectedPercent, 120);
    // 60 % in 2 h 30 min: 100 % after 4 h 10 min, at 4:10 PM.
    EXPECT_EQ(result->limitAt, noon + 4h + 10min);
    EXPECT_EQ(result->limitBeforeReset, 50min);
    EXPECT_EQ(pacePhrase(result, WindowKind::fiveHour),
              "at this pace the limit is reached at 4:10 PM, 50 min before the reset");
}

TEST_F(PaceTest, AProjectionOfExactlyTheLimitReachesItAtTheReset) {
    const auto result = pace(window(50), WindowKind::fiveHour, noon + 2h + 30min);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->limitAt, reset);
    EXPECT_EQ(result->limitBeforeReset, 0s);
    EXPECT_EQ(pacePhrase(result, WindowKind::fiveHour),
              "at this pace the limit is reached at 5:00 PM, just at the reset");
}

TEST_F(PaceTest, WeeklyWindowNamesTheWeekday) {
    const Instant weeklyReset = reset;
    const Instant start = weeklyReset - 7 * 24h;
    const auto result = pace(window(70, weeklyReset), WindowKind::weekly, start + 84h);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->projectedPercent, 140);
    EXPECT_EQ(result->limitAt, start + 120h);
    EXPECT_EQ(pacePhrase(result, WindowKind::weekly),
              "at this pace the limit is reached at Sun 5:00 PM, 2 d 0 h before the reset");
}

TEST_F(PaceTest, PastTheResetThereIsNoPace) {
    EXPECT_FALSE(pace(window(80), WindowKind::fiveHour, reset));
    EXPECT_FALSE(pace(window(80), WindowKind::fiveHour, reset + 1s));
    EXPECT_EQ(pacePhrase(window(80), WindowKind::fiveHour, reset + 1h), "");
}

TEST_F(PaceTest, WithoutAResetTimeThereIsNoPace) {
    EXPECT_FALSE(pace(window(80, std::nullopt), WindowKind::fiveHour, noon + 1h));
    EXPECT_EQ(pacePhrase(window(80, std::nullopt), WindowKind::weekly, noon), "");
}

TEST_F(PaceTest, AResetFurtherAwayThanTheWindowIsLongGivesNoPace) {
    // The clock was set back by a day after the figures came.
    EXPECT_FALSE(pace(window(40), WindowKind::fiveHour, noon - 24h));
    EXPECT_FALSE(pace(window(40), WindowKind::fiveHour, noon - 1s));
}

TEST_F(PaceTest, FarApartInstantsDoNotOverflow) {
    const Instant earliest = Instant::min();
    const Instant latest = Instant::max();
    EXPECT_FALSE(pace(window(40, latest), WindowKind::weekly, earliest));
    EXPECT_FALSE(pace(window(40, earliest), WindowKind::weekly, latest));
}

TEST_F(PaceTest, ANegativePercentIsNotProjected) {
    const auto result = pace(window(-5), WindowKind::fiveHour, noon + 2h);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->projectedPercent);
    EXPECT_FALSE(result->limitAt);
    EXPECT_EQ(pacePhrase(result, WindowKind::fiveHour), "");
}

TEST_F(PaceTest, AtOrAboveTheLimitItIsSaidPlainly) {
    for (const std::int64_t percent :
         {std::int64_t{100}, std::int64_t{104}, std::numeric_limits<std::int64_t>::max()}) {
        const auto result = pace(window(percent), WindowKind::fiveHour, noon + 1h);
        ASSERT_TRUE(result);
        EXPECT_TRUE(result->limitReached);
        EXPECT_FALSE(result->projectedPercent);
        EXPECT_EQ(pacePhrase(result, WindowKind::fiveHour), "the limit is reached");
    }
}

TEST_F(PaceTest, NothingUsedProjectsNothingUsed) {
    const auto result = pace(window(0), WindowKind::fiveHour, noon + 3h);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->projectedPercent, 0);
    EXPECT_FALSE(result->limitAt);
    EXPECT_EQ(pacePhrase(result, WindowKind::fiveHour), "at this pace 0% by the reset");
}

TEST_F(PaceTest, ShortDurations) {
    EXPECT_EQ(shortDuration(0s), "0 min");
    EXPECT_EQ(shortDuration(59s), "0 min");
    EXPECT_EQ(shortDuration(48min + 30s), "48 min");
    EXPECT_EQ(shortDuration(2h + 5min), "2 h 05 min");
    EXPECT_EQ(shortDuration(76h), "3 d 4 h");
    EXPECT_EQ(shortDuration(-5s), "0 min");
}

} // namespace
} // namespace quillon
