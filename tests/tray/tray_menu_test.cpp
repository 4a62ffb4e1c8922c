#include "tray/status_notifier_item.h"
#include "tray/tray_icon.h"
#include "tray/tray_menu.h"

#include <gtest/gtest.h>

#include <chrono>

namespace quillon {
namespace {

using namespace std::chrono_literals;

const Instant now = std::chrono::sys_days(std::chrono::year(2026) / 3 / 10) + 14h;

// A provider's usage whose five-hour window resets `left` after `now`, labelled as the providers
// label it.
UsageData usage(Provider provider, std::int64_t percent, std::optional<Instant::duration> left,
                std::string label) {
    UsageData data;
    data.provider = provider;
    data.fiveHour.percent = percent;
    if (left) {
        data.fiveHour.resetsAt = now + *left;
    }
    data.fiveHour.resetLabel = std::move(label);
    return data;
}

TEST(TrayMenuRowTest, ShowsTheResetTextAsTheProvidersWriteIt) {
    // Half the window is left and 20 % is used: 40 % by the reset at this pace.
    const auto claude = usage(Provider::claude, 20, 2h + 30min, "Resets in 2h 30m");
    EXPECT_EQ(providerMenuRow(claude, now),
              QString::fromUtf8("Claude  20% \u00b7 Resets in 2h 30m \u00b7 at this pace 40% by "
                                "the reset"));
}

TEST(TrayMenuRowTest, WithoutAResetTimeTheRowHasNeitherResetNorPace) {
    EXPECT_EQ(providerMenuRow(usage(Provider::codex, 17, std::nullopt, ""), now),
              QString::fromUtf8("Codex  17%"));
}

TEST(TrayMenuRowTest, InTheFirstMinutesOfAWindowNothingIsProjected) {
    const auto codex = usage(Provider::codex, 3, 4h + 59min, "Resets in 4h 59m");
    EXPECT_EQ(providerMenuRow(codex, now), QString::fromUtf8("Codex  3% \u00b7 Resets in 4h 59m"));
}

TEST(TrayMenuRowTest, PaceLinesNameEachProviderWithAPace) {
    const auto claude = usage(Provider::claude, 20, 2h + 30min, "Resets in 2h 30m");
    const auto codex = usage(Provider::codex, 10, 2h + 30min, "Resets in 2h 30m");
    EXPECT_EQ(paceLines(claude, codex, now),
              "Claude: at this pace 40% by the reset\nCodex: at this pace 20% by the reset");
    EXPECT_EQ(paceLines(std::nullopt, usage(Provider::codex, 17, std::nullopt, ""), now), "");
}

TEST(TrayToolTipTest, CarriesTheTitleAndThenThePaceOfEachWindow) {
    TrayIcon tray(TrayActions{});
    const Instant current = std::chrono::system_clock::now();
    UsageData claude;
    claude.provider = Provider::claude;
    claude.fiveHour.percent = 20;
    // A minute more than half the window left keeps the projection at 40 % however long the
    // test takes to get to the tray.
    claude.fiveHour.resetsAt = current + 2h + 31min;
    tray.updateMenuBarTitle(claude, std::nullopt);
    tray.updateMenu(claude, std::nullopt);
    EXPECT_EQ(tray.statusNotifierItem().toolTip().text,
              "C:20%\nClaude: at this pace 40% by the reset");
    // The label stays exactly the title.
    EXPECT_EQ(tray.statusNotifierItem().label(), " C:20%");
}

} // namespace
} // namespace quillon
