#include "alerts/threshold_alerts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

UsageData usageAt(Provider provider, std::int64_t fiveHour, std::int64_t weekly = 0) {
    UsageData data;
    data.provider = provider;
    data.fiveHour.percent = fiveHour;
    data.weekly.percent = weekly;
    data.sonnet = UsageWindow{weekly, std::nullopt, ""};
    return data;
}

Alert claudeAlert(int threshold) {
    return {"Quillon",
            "Claude Code has reached " + std::to_string(threshold) + "% of 5-hour limit"};
}

Alert codexAlert(int threshold) {
    return {"Quillon", "Codex has reached " + std::to_string(threshold) + "% of 5-hour limit"};
}

// The refresh cycle's view of the check: the current snapshots, the settings and the fired keys.
class ThresholdAlertsTest : public ::testing::Test {
protected:
    std::vector<Alert> check() { return checkThresholds(claude, codex, settings, fired); }

    std::optional<UsageData> claude;
    std::optional<UsageData> codex;
    NotificationSettings settings;
    std::set<std::string> fired;
};

TEST_F(ThresholdAlertsTest, FirstRefreshAtNinetyFiveRaisesFiftySeventyFiveAndNinety) {
    claude = usageAt(Provider::claude, 95);
    EXPECT_THAT(check(), UnorderedElementsAre(claudeAlert(50), claudeAlert(75), claudeAlert(90)));
    EXPECT_THAT(fired, UnorderedElementsAre("claude:50", "claude:75", "claude:90"));
}

TEST_F(ThresholdAlertsTest, StillAtNinetyFiveRaisesNothingThenFallAndClimbRaiseNinetyOnce) {
    claude = usageAt(Provider::claude, 95);
    check();
    EXPECT_THAT(check(), IsEmpty());

    claude = usageAt(Provider::claude, 80);
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_THAT(fired, UnorderedElementsAre("claude:50", "claude:75"));

    claude = usageAt(Provider::claude, 90);
    EXPECT_THAT(check(), ElementsAre(claudeAlert(90)));
    EXPECT_THAT(fired, UnorderedElementsAre("claude:50", "claude:75", "claude:90"));
}

TEST_F(ThresholdAlertsTest, ExactlyAtThresholdRaisesAndOneBelowReArms) {
    settings.thresholds = {50};
    claude = usageAt(Provider::claude, 50);
    EXPECT_THAT(check(), ElementsAre(claudeAlert(50)));
    claude = usageAt(Provider::claude, 49);
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_THAT(fired, IsEmpty());
    claude = usageAt(Provider::claude, 50);
    EXPECT_THAT(check(), ElementsAre(claudeAlert(50)));
}

TEST_F(ThresholdAlertsTest, AlertsOffWhileUseFallsThenBackOnAtEightyRaisesNothing) {
    claude = usageAt(Provider::claude, 80);
    check();
    ASSERT_TRUE(fired.contains("claude:75"));

    settings.enabled = false;
    claude = usageAt(Provider::claude, 10);
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_THAT(fired, UnorderedElementsAre("claude:50", "claude:75"));

    settings.enabled = true;
    claude = usageAt(Provider::claude, 80);
    EXPECT_THAT(check(), IsEmpty());
}

TEST_F(ThresholdAlertsTest, AlertsBackOnAtTenReArmsAndTheNextClimbAnnounces) {
    claude = usageAt(Provider::claude, 80);
    check();
    settings.enabled = false;
    claude = usageAt(Provider::claude, 10);
    check();

    settings.enabled = true;
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_THAT(fired, IsEmpty());

    claude = usageAt(Provider::claude, 75);
    EXPECT_THAT(check(), UnorderedElementsAre(claudeAlert(50), claudeAlert(75)));
}

TEST_F(ThresholdAlertsTest, UntickingAFiredThresholdAndTickingItAgainRaisesNothing) {
    claude = usageAt(Provider::claude, 80);
    check();
    settings.thresholds = {50, 90};
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_TRUE(fired.contains("claude:75"));
    settings.thresholds = {50, 75, 90};
    EXPECT_THAT(check(), IsEmpty());
}

TEST_F(ThresholdAlertsTest, ClaudeAndCodexKeysAreIndependent) {
    settings.thresholds = {50};
    claude = usageAt(Provider::claude, 60);
    codex = usageAt(Provider::codex, 60);
    EXPECT_THAT(check(), UnorderedElementsAre(claudeAlert(50), codexAlert(50)));
    EXPECT_THAT(fired, UnorderedElementsAre("claude:50", "codex:50"));

    codex = usageAt(Provider::codex, 10);
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_THAT(fired, UnorderedElementsAre("claude:50"));
}

TEST_F(ThresholdAlertsTest, AbsentSnapshotRaisesNothingAndChangesNoKey) {
    fired = {"claude:50", "codex:90"};
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_THAT(fired, UnorderedElementsAre("claude:50", "codex:90"));
}

TEST_F(ThresholdAlertsTest, OnlyTheFiveHourWindowIsChecked) {
    claude = usageAt(Provider::claude, 10, 99);
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_THAT(fired, IsEmpty());
}

TEST_F(ThresholdAlertsTest, BodyNamesTheThresholdNotTheCurrentFigure) {
    settings.thresholds = {90};
    claude = usageAt(Provider::claude, 93);
    EXPECT_THAT(check(),
                ElementsAre(Alert{"Quillon", "Claude Code has reached 90% of 5-hour limit"}));
}

TEST_F(ThresholdAlertsTest, CheckProviderUsesTheGivenKeyAndLabel) {
    std::set<std::string> keys;
    const auto alerts = checkProvider(usageAt(Provider::codex, 130), "codex", "Codex",
                                      NotificationSettings{}, keys);
    EXPECT_THAT(alerts, UnorderedElementsAre(codexAlert(50), codexAlert(75), codexAlert(90)));
    EXPECT_THAT(keys, UnorderedElementsAre("codex:50", "codex:75", "codex:90"));
}

TEST_F(ThresholdAlertsTest, KeysHaveNoPadding) {
    EXPECT_EQ(alertKey("claude", 5), "claude:5");
    EXPECT_EQ(alertKey("codex", -10), "codex:-10");
    EXPECT_EQ(alertKey("codex", 100), "codex:100");
}

TEST_F(ThresholdAlertsTest, NegativeUseReArmsEverything) {
    claude = usageAt(Provider::claude, 95);
    check();
    claude = usageAt(Provider::claude, -5);
    EXPECT_THAT(check(), IsEmpty());
    EXPECT_THAT(fired, IsEmpty());
}

} // namespace
} // namespace quillon
