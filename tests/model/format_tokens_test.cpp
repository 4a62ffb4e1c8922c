#include "model/format_tokens.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(FormatTokens, BelowOneThousandIsThePlainNumber) {
    EXPECT_EQ(formatTokens(999), "999");
    EXPECT_EQ(formatTokens(0), "0");
    EXPECT_EQ(formatTokens(-42), "-42");
}

TEST(FormatTokens, ThousandsHaveOneDecimal) {
    EXPECT_EQ(formatTokens(1000), "1.0K");
    EXPECT_EQ(formatTokens(200000), "200.0K");
    EXPECT_EQ(formatTokens(45210), "45.2K");
}

TEST(FormatTokens, JustBelowOneMillionReadsAsThousandK) {
    EXPECT_EQ(formatTokens(999999), "1000.0K");
}

TEST(FormatTokens, MillionsHaveOneDecimal) {
    EXPECT_EQ(formatTokens(1000000), "1.0M");
    EXPECT_EQ(formatTokens(1234567), "1.2M");
    EXPECT_EQ(formatTokens(1260000), "1.3M");
}

} // namespace
} // namespace quillon
