#include "model/menu_bar_title.h"
#include "support/usage_builders.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillon {
namespace {

using test::usage;

TEST(MenuBarTitle, BothUsagesAbsentGiveAnEmptyTitle) {
    EXPECT_EQ(menuBarTitle(std::nullopt, std::nullopt), "");
}

TEST(MenuBarTitle, OnlyCodexAtSevenPercent) {
    EXPECT_EQ(menuBarTitle(std::nullopt, usage(Provider::codex, 7)), " X:7%");
}

TEST(MenuBarTitle, OnlyClaude) {
    EXPECT_EQ(menuBarTitle(usage(Provider::claude, 42), std::nullopt), " C:42%");
}

TEST(MenuBarTitle, BothProvidersClaudeFirst) {
    EXPECT_EQ(menuBarTitle(usage(Provider::claude, 42), usage(Provider::codex, 17)),
              " C:42% X:17%");
}

TEST(MenuBarTitle, ShowsOnlyTheFiveHourWindow) {
    EXPECT_EQ(menuBarTitle(usage(Provider::claude, 3, 99), usage(Provider::codex, 0, 88)),
              " C:3% X:0%");
}

TEST(MenuBarTitle, PercentsOutsideZeroToHundredPassThroughUnpadded) {
    EXPECT_EQ(menuBarTitle(usage(Provider::claude, 104), usage(Provider::codex, -5)),
              " C:104% X:-5%");
    EXPECT_EQ(menuBarTitle(usage(Provider::claude, 12345), std::nullopt), " C:12345%");
    EXPECT_EQ(menuBarTitle(usage(Provider::claude, std::numeric_limits<std::int64_t>::min()),
                           std::nullopt),
              " C:-9223372036854775808%");
}

TEST(SameTitleFigure, BothAbsentAreEqual) {
    EXPECT_TRUE(sameTitleFigure(std::nullopt, std::nullopt));
}

TEST(SameTitleFigure, AbsentAndPresentDiffer) {
    EXPECT_FALSE(sameTitleFigure(std::nullopt, usage(Provider::claude, 0)));
    EXPECT_FALSE(sameTitleFigure(usage(Provider::claude, 0), std::nullopt));
}

TEST(SameTitleFigure, AChangeOfOnlyTheWeeklyPercentIsNoChange) {
    auto later = usage(Provider::claude, 42, 80);
    later.plan = "Max";
    later.sonnet = UsageWindow{.percent = 5, .resetsAt = std::nullopt, .resetLabel = "x"};
    later.fiveHour.resetLabel = "Resets in 12m";
    EXPECT_TRUE(sameTitleFigure(usage(Provider::claude, 42, 10), later));
}

TEST(SameTitleFigure, AChangeOfTheFiveHourPercentIsAChange) {
    EXPECT_FALSE(sameTitleFigure(usage(Provider::claude, 42), usage(Provider::claude, 43)));
}

} // namespace
} // namespace quillon
