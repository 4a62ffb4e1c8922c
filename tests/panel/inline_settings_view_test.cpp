#include "panel/appearance.h"
#include "panel_fixture.h"

#include <QSignalSpy>

namespace quillon {
namespace {

using test::PanelTest;

class InlineSettingsViewTest : public PanelTest {
protected:
    // Opens the panel on its settings with the state prepared by `prepare`.
    template <typename Prepare> void openSettingsWith(Prepare prepare) {
        open();
        prepare(*state);
        openSettings();
    }
    std::set<std::int64_t> thresholds() const { return state->settings().notifications.thresholds; }

    // The three groups, in order, each with its symbol drawn in the primary colour of its title.
    void expectGroupSymbolsInTheirTitlesColour() const {
        const auto symbols = items("groupSymbol");
        const auto titles = items("groupTitle");
        ASSERT_EQ(symbols.size(), 3);
        ASSERT_EQ(titles.size(), 3);
        QStringList groups;
        for (qsizetype i = 0; i < titles.size(); ++i) {
            groups << symbols[i]->property("name").toString() + " " + text(titles[i]);
            const QColor title = titles[i]->property("color").value<QColor>();
            EXPECT_EQ(symbols[i]->property("color").value<QColor>(), title);
            // A text keeps its colour in eight bits a channel.
            EXPECT_EQ(title.rgba(), Appearance().primary().rgba());
        }
        EXPECT_EQ(groups, (QStringList{"person.2.fill Accounts", "bell.fill Notifications",
                                       "gearshape.fill General"}));
    }
};

TEST_F(InlineSettingsViewTest, NotificationsOffShowOnlyTheEnableSwitch) {
    openSettingsWith([](AppState&) {});
    EXPECT_TRUE(shown(item("notificationDetails")));
    click(item("notificationsSwitch"));
    EXPECT_FALSE(state->settings().notifications.enabled);
    EXPECT_TRUE(shown(item("notificationsSwitch")));
    EXPECT_FALSE(shown(item("notificationDetails")));
    EXPECT_FALSE(shown(item("threshold50")));
    EXPECT_FALSE(shown(item("quietHoursSwitch")));
    // What was chosen is kept for when they are switched on again.
    EXPECT_EQ(thresholds(), (std::set<std::int64_t>{50, 75, 90}));
    click(item("notificationsSwitch"));
    EXPECT_TRUE(shown(item("notificationDetails")));
}

TEST_F(InlineSettingsViewTest, ThresholdBoxesShowTheStoredSetAndChangeOnlyTheirOwnValue) {
    openSettingsWith([](AppState& state) {
        AppSettings settings = state.settings();
        settings.notifications.thresholds = {75, 95};
        state.setSettings(settings);
    });
    EXPECT_FALSE(item("threshold50")->property("checked").toBool());
    EXPECT_TRUE(item("threshold75")->property("checked").toBool());
    EXPECT_FALSE(item("threshold90")->property("checked").toBool());
    click(item("threshold50"));
    EXPECT_EQ(thresholds(), (std::set<std::int64_t>{50, 75, 95}));
    EXPECT_TRUE(item("threshold50")->property("checked").toBool());
    click(item("threshold75"));
    EXPECT_EQ(thresholds(), (std::set<std::int64_t>{50, 95}));
}

TEST_F(InlineSettingsViewTest, QuietHoursPickersShowTheHoursAndWriteThroughSetQuietHours) {
    openSettingsWith([](AppState& state) { state.setQuietHours(true, 22, 7); });
    QQuickItem* start = item("quietStartPicker");
    QQuickItem* end = item("quietEndPicker");
    ASSERT_TRUE(shown(start));
    EXPECT_EQ(start->width(), 80);
    EXPECT_EQ(start->property("displayText").toString(), "10 PM");
    EXPECT_EQ(end->property("displayText").toString(), "7 AM");

    QSignalSpy changes(state.get(), &AppState::smartNotificationSettingsChanged);
    scrollTo(start);
    start->forceActiveFocus();
    QTest::keyClick(panel->window(), Qt::Key_Down); // the next hour, as a person picks it
    test::spin(100);
    // setQuietHours announces its three writes one by one.
    EXPECT_EQ(changes.count(), 3);
    const auto& smart = state->smartNotificationSettings();
    EXPECT_TRUE(smart.quietHoursEnabled);
    EXPECT_EQ(smart.quietHoursStart, 23);
    EXPECT_EQ(smart.quietHoursEnd, 7);
    EXPECT_EQ(start->property("displayText").toString(), "11 PM");
}

TEST_F(InlineSettingsViewTest, PickersOfferEveryHourOfTheDay) {
    openSettingsWith([](AppState& state) { state.setQuietHours(true, 0, 23); });
    QQuickItem* start = item("quietStartPicker");
    EXPECT_EQ(start->property("count").toInt(), 24);
    EXPECT_EQ(start->property("displayText").toString(), "12 AM");
    EXPECT_EQ(item("quietEndPicker")->property("displayText").toString(), "11 PM");
}

TEST_F(InlineSettingsViewTest, QuietHoursSwitchKeepsTheHours) {
    openSettingsWith([](AppState& state) { state.setQuietHours(false, 21, 6); });
    EXPECT_FALSE(shown(item("quietHoursRow")));
    QSignalSpy changes(state.get(), &AppState::smartNotificationSettingsChanged);
    click(item("quietHoursSwitch"));
    EXPECT_EQ(changes.count(), 3);
    EXPECT_TRUE(state->smartNotificationSettings().quietHoursEnabled);
    EXPECT_EQ(state->smartNotificationSettings().quietHoursStart, 21);
    EXPECT_EQ(state->smartNotificationSettings().quietHoursEnd, 6);
    EXPECT_TRUE(shown(item("quietHoursRow")));
}

TEST_F(InlineSettingsViewTest, StoredIntervalOffTheGridShowsAsIsAndSnapsOnTheFirstMove) {
    openSettingsWith([](AppState& state) { state.setRefreshInterval(45); });
    EXPECT_EQ(text(item("intervalText")), "45s");
    QQuickItem* slider = item("intervalSlider");
    scrollTo(slider);
    // Press at about two thirds of the track.
    const QPointF at = slider->mapToScene(QPointF(slider->width() * 0.66, slider->height() / 2));
    QTest::mouseClick(panel->window(), Qt::LeftButton, {}, at.toPoint());
    test::spin(100);
    const double interval = state->settings().refreshInterval;
    EXPECT_EQ(std::fmod(interval, 30.0), 0.0) << interval;
    EXPECT_GT(interval, 150);
    EXPECT_EQ(text(item("intervalText")), QString::number(interval) + "s");
}

TEST_F(InlineSettingsViewTest, SwitchesWriteTheirOwnFlag) {
    openSettingsWith([](AppState&) {});
    click(item("smartThrottlingSwitch"));
    EXPECT_FALSE(state->smartNotificationSettings().smartThrottling);
    click(item("criticalOnlySwitch"));
    EXPECT_TRUE(state->smartNotificationSettings().criticalAlertsOnly);
    click(item("launchAtStartupSwitch"));
    EXPECT_TRUE(state->settings().launchAtStartup);
    EXPECT_TRUE(state->settings().notifications.enabled);
}

TEST_F(InlineSettingsViewTest, SwitchesCarryTheirHoverHelp) {
    openSettingsWith([](AppState&) {});
    EXPECT_EQ(item("smartThrottlingSwitch")->property("toolTipText").toString(),
              "Prevents notification spam");
    EXPECT_EQ(item("criticalOnlySwitch")->property("toolTipText").toString(),
              QString::fromUtf8("Only alert when usage \u2265 90%"));
}

TEST_F(InlineSettingsViewTest, FailedProviderShowsNotConnectedThoughItsCredentialsAreStored) {
    authStore.setClaudeCookieHeader("sessionKey=stored");
    codex = test::plainCodex();
    openSettingsWith([](AppState&) {});
    EXPECT_EQ(item("claudeStatus")->property("text").toString(), "Not connected");
    EXPECT_EQ(item("codexStatus")->property("text").toString(), "Connected");
}

TEST_F(InlineSettingsViewTest, EachGroupShowsItsSymbolInTheColourOfItsTitle) {
    openSettingsWith([](AppState&) {});
    expectGroupSymbolsInTheirTitlesColour();
}

TEST_F(InlineSettingsViewTest, EachGroupShowsItsSymbolInTheColourOfItsTitleWhenDark) {
    useDarkAppearance();
    openSettingsWith([](AppState&) {});
    expectGroupSymbolsInTheirTitlesColour();
}

TEST_F(InlineSettingsViewTest, ScreenshotSettingsLight) {
    claude = test::fullClaude();
    openSettingsWith([](AppState& state) { state.setQuietHours(true, 22, 7); });
    screenshot("panel-settings-light");
}

TEST_F(InlineSettingsViewTest, ScreenshotSettingsDark) {
    useDarkAppearance();
    claude = test::fullClaude();
    openSettingsWith([](AppState& state) { state.setQuietHours(true, 22, 7); });
    screenshot("panel-settings-dark");
}

} // namespace
} // namespace quillon
