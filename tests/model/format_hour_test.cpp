#include "model/format_hour.h"

#include <unicode/locid.h>

#include <gtest/gtest.h>

namespace quillon {
namespace {

class FormatHourTest : public ::testing::Test {
protected:
    void SetUp() override {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale("en_US"), status);
        ASSERT_TRUE(U_SUCCESS(status));
    }
    void TearDown() override {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(saved_, status);
    }

private:
    icu::Locale saved_ = icu::Locale::getDefault();
};

TEST_F(FormatHourTest, MidnightIsTwelveAm) {
    EXPECT_EQ(formatHour(0), "12 AM");
}

TEST_F(FormatHourTest, MorningHour) {
    EXPECT_EQ(formatHour(9), "9 AM");
}

TEST_F(FormatHourTest, NoonIsTwelvePm) {
    EXPECT_EQ(formatHour(12), "12 PM");
}

TEST_F(FormatHourTest, LastHourOfTheDay) {
    EXPECT_EQ(formatHour(23), "11 PM");
}

TEST_F(FormatHourTest, QuietHoursDefaults) {
    EXPECT_EQ(formatHour(22), "10 PM");
    EXPECT_EQ(formatHour(7), "7 AM");
}

TEST_F(FormatHourTest, EveryHourHasItsOwnText) {
    for (std::int64_t hour = 0; hour < 12; ++hour) {
        EXPECT_NE(formatHour(hour), formatHour(hour + 12)) << hour;
    }
}

TEST_F(FormatHourTest, FollowsTheLocale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("ko_KR"), status);
    ASSERT_TRUE(U_SUCCESS(status));
    // Korean writes its own day-period names in place of the English AM and PM.
    EXPECT_EQ(formatHour(9).find("AM"), std::string::npos);
}

TEST(FormatHourDeathTest, HourOutsideTheDayIsFatal) {
    EXPECT_DEATH(formatHour(24), "");
    EXPECT_DEATH(formatHour(-1), "");
}

} // namespace
} // namespace quillon
