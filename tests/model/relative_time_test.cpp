#include "model/relative_time.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using namespace std::chrono_literals;

const Instant now = Instant(std::chrono::seconds(1'780'000'000));

std::string ago(std::chrono::duration<double> elapsed) {
    return relativeString(now - std::chrono::duration_cast<Instant::duration>(elapsed), now,
                          identityTranslator());
}

TEST(RelativeString, FourPointNineSecondsTruncatesToZeroSecAgo) {
    EXPECT_EQ(ago(4.9s), "0 sec ago");
}

TEST(RelativeString, FiveSecondsGivesFiveSecAgo) {
    EXPECT_EQ(ago(5.0s), "5 sec ago");
}

TEST(RelativeString, FutureInstantGivesZeroSecAgo) {
    EXPECT_EQ(ago(-30s), "0 sec ago");
    EXPECT_EQ(ago(-100000s), "0 sec ago");
}

TEST(RelativeString, FiftyNinePointNineSecondsGivesFiftyNineSecAgo) {
    EXPECT_EQ(ago(59.9s), "59 sec ago");
}

TEST(RelativeString, SixtySecondsGivesOneMinAgo) {
    EXPECT_EQ(ago(60s), "1 min ago");
}

TEST(RelativeString, ThirtyFiveHundredNinetyNineSecondsGivesFiftyNineMinAgo) {
    EXPECT_EQ(ago(3599s), "59 min ago");
}

TEST(RelativeString, OneHourGivesOneHAgo) {
    EXPECT_EQ(ago(3600s), "1h ago");
}

TEST(RelativeString, OneDayGivesTwentyFourHAgoWithoutDayUnit) {
    EXPECT_EQ(ago(86400s), "24h ago");
}

TEST(RelativeString, TextsAreLookedUpAndUsedAsFormats) {
    const Translator german = [](const std::string& key) -> std::string {
        if (key == "%d min ago") {
            return "vor %d Min.";
        }
        if (key == "0 sec ago") {
            return "gerade eben";
        }
        return key;
    };
    EXPECT_EQ(relativeString(now - 125s, now, german), "vor 2 Min.");
    EXPECT_EQ(relativeString(now, now, german), "gerade eben");
    EXPECT_EQ(relativeString(now - 7200s, now, german), "2h ago");
}

} // namespace
} // namespace quillon
