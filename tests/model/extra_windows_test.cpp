#include "model/extra_windows.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(ExtraWindows, KeysArePlainAndShort) {
    EXPECT_TRUE(isWindowKey("seven_day_opus"));
    EXPECT_TRUE(isWindowKey("rate_limit.tertiary-window2"));
    EXPECT_TRUE(isWindowKey(std::string(maxWindowKeyLength, 'k')));
    EXPECT_FALSE(isWindowKey(std::string(maxWindowKeyLength + 1, 'k')));
    EXPECT_FALSE(isWindowKey(""));
    EXPECT_FALSE(isWindowKey("a b"));
    EXPECT_FALSE(isWindowKey("a\x1b[2J"));
    EXPECT_FALSE(isWindowKey("<b>bold</b>"));
    EXPECT_FALSE(isWindowKey("\xc3\xa9t\xc3\xa9"));
    EXPECT_FALSE(isWindowKey(std::string_view("a\0b", 3)));
}

TEST(ExtraWindows, AddingKeepsTheFirstOfAKeyAndStopsWhenFull) {
    ExtraWindows windows;
    EXPECT_TRUE(addExtraWindow(windows, "opus", {12, std::nullopt, ""}));
    EXPECT_FALSE(addExtraWindow(windows, "opus", {99, std::nullopt, ""}));
    EXPECT_FALSE(addExtraWindow(windows, "bad key", {1, std::nullopt, ""}));
    EXPECT_EQ(windows, (ExtraWindows{{"opus", {12, std::nullopt, ""}}}));
    for (std::size_t i = 1; i < maxExtraWindows; ++i) {
        EXPECT_TRUE(addExtraWindow(windows, "w" + std::to_string(i), {}));
    }
    EXPECT_FALSE(addExtraWindow(windows, "one_more", {}));
    EXPECT_EQ(windows.size(), maxExtraWindows);
}

TEST(ExtraWindows, KeysReadAsWords) {
    EXPECT_EQ(readableWindowKey("seven_day_opus"), "Seven day opus");
    EXPECT_EQ(readableWindowKey("rate_limit.tertiary_window"), "Rate limit tertiary window");
    EXPECT_EQ(readableWindowKey("__odd--key__"), "Odd key");
    EXPECT_EQ(readableWindowKey("Weekly"), "Weekly");
    EXPECT_EQ(readableWindowKey("7d"), "7d");
    EXPECT_EQ(readableWindowKey("___"), "___");
}

TEST(ExtraWindows, AFetchOfTheNamedWindowsAloneHasNoExtras) {
    UsageData usage;
    usage.fiveHour.percent = 42;
    const FetchedUsage fetched = usage;
    EXPECT_EQ(fetched.usage, usage);
    EXPECT_TRUE(fetched.extraWindows.empty());
}

} // namespace
} // namespace quillon
