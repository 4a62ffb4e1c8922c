#include "model/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace quillon {
namespace {

TEST(Numbers, HalvesRoundAwayFromZero) {
    EXPECT_EQ(roundToInt64(0.5), 1);
    EXPECT_EQ(roundToInt64(42.5), 43);
    EXPECT_EQ(roundToInt64(42.49), 42);
    EXPECT_EQ(roundToInt64(-0.5), -1);
    EXPECT_EQ(roundToInt64(0.4), 0);
    EXPECT_EQ(roundToInt64(130.2), 130);
}

TEST(NumbersDeathTest, NonFiniteValueIsFatal) {
    EXPECT_DEATH(roundToInt64(std::numeric_limits<double>::quiet_NaN()), "fatal");
    EXPECT_DEATH(roundToInt64(std::numeric_limits<double>::infinity()), "fatal");
}

TEST(NumbersDeathTest, ValueBeyondSixtyFourBitsIsFatal) {
    EXPECT_DEATH(roundToInt64(1e19), "fatal");
    EXPECT_DEATH(roundToInt64(-1e19), "fatal");
}

TEST(Numbers, TheTryingRoundingGivesNothingWhereTheOtherStops) {
    EXPECT_EQ(tryRoundToInt64(42.5), 43);
    EXPECT_EQ(tryRoundToInt64(-0.5), -1);
    EXPECT_EQ(tryRoundToInt64(1e19), std::nullopt);
    EXPECT_EQ(tryRoundToInt64(-1e19), std::nullopt);
    EXPECT_EQ(tryRoundToInt64(std::numeric_limits<double>::quiet_NaN()), std::nullopt);
    EXPECT_EQ(tryRoundToInt64(-std::numeric_limits<double>::infinity()), std::nullopt);
}

TEST(Numbers, CheckedAdditionAndSubtraction) {
    EXPECT_EQ(checkedAdd(40, 2), 42);
    EXPECT_EQ(checkedSubtract(200000, 150000), 50000);
}

TEST(NumbersDeathTest, OverflowingAdditionIsFatal) {
    EXPECT_DEATH(checkedAdd(std::numeric_limits<std::int64_t>::max(), 1), "fatal");
}

TEST(NumbersDeathTest, OverflowingSubtractionIsFatal) {
    EXPECT_DEATH(checkedSubtract(std::numeric_limits<std::int64_t>::min(), 1), "fatal");
}

} // namespace
} // namespace quillon
