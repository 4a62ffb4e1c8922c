#include "panel/appearance.h"
#include "panel/view_helpers.h"
#include "panel_fixture.h"
#include "providers/window_labels.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExpression>
#include <QSignalSpy>

#include <condition_variable>
#include <mutex>

namespace quillon {
namespace {

using test::PanelTest;

// Claude as the provider delivers it: the five-hour window labelled by the providers' own
// countdown, for a reset 2 h 05 min 30 s away.
UsageData deliveredClaude() {
    UsageData data = test::fullClaude();
    const Instant now = std::chrono::system_clock::now();
    data.fiveHour.resetsAt =
        now + std::chrono::hours(2) + std::chrono::minutes(5) + std::chrono::seconds(30);
    data.fiveHour.resetLabel = countdownLabel(data.fiveHour.resetsAt, now);
    return data;
}

// A colour at an opacity, as the views mix it.
QColor atOpacity(QColor colour, double opacity) {
    colour.setAlphaF(opacity);
    return colour;
}

// The outline of a rectangle item: its width and colour.
struct Outline {
    qreal width = -1;
    QColor colour;
};

Outline outlineOf(const QQuickItem* rectangle) {
    if (rectangle == nullptr) {
        return {};
    }
    const auto* border = rectangle->property("border").value<QObject*>();
    if (border == nullptr) {
        return {};
    }
    return {border->property("width").toReal(), border->property("color").value<QColor>()};
}

class DashboardViewTest : public PanelTest {
protected:
    QQuickItem* card(const char* provider) {
        return item(("usageCard_" + std::string(provider)).c_str());
    }
    QQuickItem* cardPart(const char* provider, const char* name) {
        return find(name, card(provider));
    }
    int shownSections(QQuickItem* within) const {
        int count = 0;
        for (const auto* section : items("usageSection", within)) {
            count += shown(section) ? 1 : 0;
        }
        return count;
    }
};

TEST_F(DashboardViewTest, BothProvidersAbsentShowOnlyTheEmptyState) {
    open();
    EXPECT_TRUE(shown(item("emptyStateView")));
    // Filled like a card, without an outline.
    EXPECT_EQ(outlineOf(item("emptyStateView")).width, 0);
    EXPECT_EQ(text(item("emptyTitle")), "No Providers Connected");
    EXPECT_EQ(text(item("emptyHint")), "Check Settings to configure your accounts");
    EXPECT_FALSE(shown(find("usageCard_claude")));
    EXPECT_FALSE(shown(find("usageCard_codex")));
    EXPECT_EQ(shownSections(nullptr), 0);
}

TEST_F(DashboardViewTest, CardWithoutSonnetContextAndTodayShowsExactlyTwoSections) {
    codex = test::plainCodex();
    open();
    QQuickItem* codexCard = card("codex");
    ASSERT_TRUE(shown(codexCard));
    EXPECT_EQ(shownSections(codexCard), 2);
    EXPECT_FALSE(shown(find("contextBlock", codexCard)));
    EXPECT_FALSE(shown(find("todayBlock", codexCard)));
    EXPECT_FALSE(shown(item("emptyStateView")));
    EXPECT_EQ(text(find("cardTitle", codexCard)), "Codex Usage");
}

TEST_F(DashboardViewTest, FullCardShowsEveryBlockWithItsTexts) {
    claude = deliveredClaude();
    open();
    QQuickItem* claudeCard = card("claude");
    ASSERT_TRUE(shown(claudeCard));
    EXPECT_EQ(shownSections(claudeCard), 3);
    EXPECT_EQ(text(find("cardTitle", claudeCard)), "Claude Usage");
    EXPECT_EQ(text(find("planText", claudeCard)), "Max 5x");
    QStringList labels;
    QStringList subtitles;
    for (auto* section : items("usageSection", claudeCard)) {
        labels << text(find("sectionLabel", section));
        subtitles << text(find("sectionSubtitle", section));
    }
    EXPECT_EQ(labels, (QStringList{"5-Hour Window", "Weekly", "Sonnet (7-day)"}));
    // Each reset line puts "Resets " before the window's label, and the five-hour label is itself
    // a countdown that starts with "Resets".
    EXPECT_EQ(subtitles,
              (QStringList{"Resets Resets in 2h 05m", "Resets Thu 9:00 AM", "Resets Thu 9:00 AM"}));
    EXPECT_EQ(text(find("contextPercent", claudeCard)), "23%");
    EXPECT_EQ(text(find("contextTokens", claudeCard)), "45.2K / 200.0K tokens");
    EXPECT_TRUE(shown(find("todayBlock", claudeCard)));
    EXPECT_FALSE(shown(item("emptyStateView")));
}

TEST_F(DashboardViewTest, CardIsOutlinedWithAHairlineOfTheTextColour) {
    claude = deliveredClaude();
    codex = test::plainCodex();
    open();
    const Appearance colours;
    for (const char* provider : {"claude", "codex"}) {
        const Outline outline = outlineOf(card(provider));
        EXPECT_EQ(outline.width, 0.5) << provider;
        EXPECT_EQ(outline.colour, atOpacity(colours.primary(), 0.1)) << provider;
    }
}

TEST_F(DashboardViewTest, ProgressTrackIsTheTextColourAtFifteenPercent) {
    claude = deliveredClaude();
    open();
    const auto tracks = items("progressTrack", card("claude"));
    ASSERT_EQ(tracks.size(), 4); // five-hour, weekly, Sonnet, context
    const QColor expected = atOpacity(Appearance().primary(), 0.15);
    for (const auto* track : tracks) {
        EXPECT_EQ(track->property("color").value<QColor>(), expected);
    }
}

TEST_F(DashboardViewTest, ProgressTrackFollowsTheDarkAppearance) {
    useDarkAppearance();
    claude = deliveredClaude();
    open();
    const QColor primary = Appearance().primary();
    EXPECT_GT(primary.lightness(), 200);
    EXPECT_EQ(cardPart("claude", "progressTrack")->property("color").value<QColor>(),
              atOpacity(primary, 0.15));
    EXPECT_EQ(outlineOf(card("claude")).colour, atOpacity(primary, 0.1));
}

TEST_F(DashboardViewTest, HeaderButtonSymbolIsThirteenInTheSecondaryStyle) {
    open();
    QQuickItem* symbol = item("settingsSymbol");
    EXPECT_EQ(symbol->property("size").toReal(), 13);
    EXPECT_EQ(symbol->width(), 13);
    EXPECT_EQ(symbol->property("color").value<QColor>(), Appearance().secondary());
    EXPECT_EQ(item("settingsButton")->property("contentItem").value<QQuickItem*>()->width(), 24);
}

TEST_F(DashboardViewTest, CardWithoutPlanShowsNoBadge) {
    codex = test::plainCodex();
    codex->plan.reset();
    open();
    EXPECT_FALSE(shown(cardPart("codex", "planBadge")));
}

TEST_F(DashboardViewTest, EmptyDayIsHidden) {
    claude = test::fullClaude();
    claude->today = TodayUsage{0, "0"};
    open();
    EXPECT_FALSE(shown(cardPart("claude", "todayBlock")));
}

TEST_F(DashboardViewTest, NoMessagesButTokensShowsTheDay) {
    claude = test::fullClaude();
    claude->today = TodayUsage{0, "1.2K"};
    open();
    QQuickItem* today = cardPart("claude", "todayBlock");
    ASSERT_TRUE(shown(today));
    EXPECT_EQ(find("messagesStat", today)->property("value").toString(), "0");
    EXPECT_EQ(find("tokensStat", today)->property("value").toString(), "1.2K");
}

// A fetch that waits until the test lets it go, so the panel can be seen mid-refresh.
class HeldFetch {
public:
    std::optional<UsageData> operator()() {
        std::unique_lock lock(mutex_);
        released_.wait(lock, [&] { return !held_; });
        return result;
    }
    void release() {
        {
            const std::lock_guard lock(mutex_);
            held_ = false;
        }
        released_.notify_all();
    }
    std::optional<UsageData> result;

private:
    std::mutex mutex_;
    std::condition_variable released_;
    bool held_ = true;
};

TEST_F(DashboardViewTest, NeverUpdatedShowsNeverAndTheSymbolSpinsWhileRefreshing) {
    auto held = std::make_shared<HeldFetch>();
    held->result = test::plainCodex();
    AppServices services;
    services.fetchCodex = [held](CredentialStore&, const Cancellation&) { return (*held)(); };
    state = std::make_unique<AppState>(authStore, std::move(services));
    panel = std::make_unique<PanelWindow>(*state, authStore);
    panel->showAt(QPoint(960, 30));
    test::spin(300);
    EXPECT_EQ(text(item("lastUpdatedText")), "Never");
    QQuickItem* symbol = item("refreshSymbol");
    EXPECT_TRUE(symbol->property("spinning").toBool());
    const qreal before = symbol->rotation();
    test::spin(250);
    EXPECT_NE(symbol->rotation(), before);

    held->release();
    ASSERT_TRUE(test::waitUntil([&] { return !state->isRefreshing(); }));
    test::spin(400);
    EXPECT_FALSE(symbol->property("spinning").toBool());
    EXPECT_EQ(symbol->rotation(), 0);
    EXPECT_EQ(text(item("lastUpdatedText")), "0 sec ago");
}

TEST_F(DashboardViewTest, LastUpdatedTextChangesWhenTheStatePublishesNotOnAClock) {
    codex = test::plainCodex();
    open();
    // The views read the time from a clock the test moves by hand.
    auto now = std::make_shared<Instant>(*state->lastUpdated());
    QQmlEngine* engine = qmlEngine(panel->window());
    engine->rootContext()->setContextProperty("views",
                                              new ViewHelpers([now] { return *now; }, engine));
    QQuickItem* lastUpdated = item("lastUpdatedText");
    EXPECT_EQ(text(lastUpdated), "0 sec ago");

    *now += std::chrono::minutes(5);
    // Longer than any tick of a clock would take: the text stays as the state last left it.
    test::spin(1500);
    EXPECT_EQ(text(lastUpdated), "0 sec ago");
    for (const QObject* child : item("footerView")->findChildren<QObject*>()) {
        EXPECT_STRNE(child->metaObject()->className(), "QQmlTimer");
    }

    // Any published change reads it afresh: here a setting.
    state->setRefreshInterval(120);
    EXPECT_EQ(text(lastUpdated), "5 min ago");
    *now += std::chrono::minutes(5);
    state->setRefreshInterval(180);
    EXPECT_EQ(text(lastUpdated), "10 min ago");
}

TEST_F(DashboardViewTest, IconButtonIsThePrimaryColourDeeperWhilePressedOnly) {
    open();
    QQuickItem* button = item("refreshButton");
    auto* plate = button->property("background").value<QQuickItem*>();
    ASSERT_NE(plate, nullptr);
    const QColor primary = Appearance().primary();
    const auto plateColour = [&] { return plate->property("color").value<QColor>(); };
    EXPECT_EQ(plateColour(), atOpacity(primary, 0.08));
    EXPECT_EQ(plate->property("radius").toReal(), 6);

    const QPoint centre =
        button->mapToScene(QPointF(button->width() / 2, button->height() / 2)).toPoint();
    QTest::mouseMove(panel->window(), centre);
    test::spin(50);
    EXPECT_EQ(plateColour(), atOpacity(primary, 0.08)); // no level of its own for hovering
    QTest::mousePress(panel->window(), Qt::LeftButton, {}, centre);
    EXPECT_TRUE(button->property("pressed").toBool());
    EXPECT_EQ(plateColour(), atOpacity(primary, 0.15)); // at once, without a fade
    QTest::mouseRelease(panel->window(), Qt::LeftButton, {}, centre);
    EXPECT_EQ(plateColour(), atOpacity(primary, 0.08));
}

TEST_F(DashboardViewTest, EmptyStateIsItsContentWithFortyAroundItCentred) {
    open();
    QQuickItem* view = item("emptyStateView");
    QQuickItem* content = item("emptyStateContent");
    QQuickItem* column = item("usageCards");
    EXPECT_EQ(view->width(), content->width() + 80);
    EXPECT_EQ(view->height(), content->height() + 80);
    EXPECT_EQ(content->position(), QPointF(40, 40));
    EXPECT_LT(view->width(), column->width());
    EXPECT_NEAR(view->x() + view->width() / 2, column->width() / 2, 0.5);
}

TEST_F(DashboardViewTest, RefreshButtonStartsARefresh) {
    codex = test::plainCodex();
    open();
    QSignalSpy refreshes(state.get(), &AppState::lastUpdatedChanged);
    click(item("refreshButton"));
    ASSERT_TRUE(test::waitUntil([&] { return refreshes.count() == 1; }));
}

TEST_F(DashboardViewTest, SettingsButtonSwapsTheCardsForTheSettingsAndBack) {
    codex = test::plainCodex();
    open();
    EXPECT_EQ(item("settingsSymbol")->property("name").toString(), "gearshape");
    openSettings();
    EXPECT_TRUE(shown(item("inlineSettingsView")));
    EXPECT_EQ(find("usageCard_codex"), nullptr);
    EXPECT_EQ(item("settingsSymbol")->property("name").toString(), "chevron.left");
    click(item("settingsButton"));
    EXPECT_EQ(find("inlineSettingsView"), nullptr);
    EXPECT_TRUE(shown(item("usageCard_codex")));
}

TEST(ViewHelpersTest, FormatsTokensAsTheCoreDoes) {
    const ViewHelpers helpers;
    EXPECT_EQ(helpers.formatTokens(999), "999");
    EXPECT_EQ(helpers.formatTokens(1000), "1.0K");
    EXPECT_EQ(helpers.formatTokens(999999), "1000.0K");
    EXPECT_EQ(helpers.formatTokens(1000000), "1.0M");
}

TEST(ViewHelpersTest, LastUpdatedTextCountsFromTheClock) {
    const auto now = std::chrono::system_clock::now();
    const ViewHelpers helpers([now] { return now; });
    EXPECT_EQ(helpers.lastUpdatedText(QDateTime()), "Never");
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    EXPECT_EQ(helpers.lastUpdatedText(QDateTime::fromMSecsSinceEpoch(ms.count() - 125000)),
              "2 min ago");
}

// An hour the pickers cannot offer is a slip in a view: it stops the program as the core does,
// rather than showing an empty text.
TEST(ViewHelpersDeathTest, HourOutsideTheDayFromAViewStopsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto fromView = [](const char* expression) {
        QQmlEngine engine;
        ViewHelpers helpers;
        engine.rootContext()->setContextProperty("views", &helpers);
        QQmlExpression(engine.rootContext(), nullptr, QString::fromLatin1(expression)).evaluate();
    };
    EXPECT_DEATH(fromView("views.formatHour(24)"), "hour of the day");
    EXPECT_DEATH(fromView("views.formatHour(-1)"), "hour of the day");
}

TEST(ViewHelpersTest, SymbolSourceCarriesTheColour) {
    const ViewHelpers helpers;
    EXPECT_EQ(helpers.symbol("gearshape", QColor(0x34, 0x78, 0xf6)),
              "image://symbol/ff3478f6/gearshape");
}

TEST_F(DashboardViewTest, ScreenshotBothCardsLight) {
    claude = deliveredClaude();
    codex = test::plainCodex();
    open();
    const QImage shot = screenshot("panel-cards-light");
    // The shadow darkens the backdrop just below the panel's bottom edge.
    const QRect panelRect(PanelWindow::shadowMargin, PanelWindow::shadowMargin,
                          PanelWindow::panelWidth, PanelWindow::panelHeight);
    const QColor under = shot.pixelColor(panelRect.center().x(), panelRect.bottom() + 6);
    const QColor far = shot.pixelColor(panelRect.center().x(), shot.height() - 1);
    EXPECT_LT(under.lightness(), far.lightness() - 8);
}

TEST_F(DashboardViewTest, ScreenshotBothCardsDark) {
    useDarkAppearance();
    claude = deliveredClaude();
    codex = test::plainCodex();
    open();
    const QImage shot = screenshot("panel-cards-dark");
    const QColor background =
        shot.pixelColor(PanelWindow::shadowMargin + 5, PanelWindow::shadowMargin + 30);
    EXPECT_LT(background.lightness(), 80);
}

TEST_F(DashboardViewTest, ScreenshotEmptyStateLight) {
    open();
    screenshot("panel-empty-light");
}

TEST_F(DashboardViewTest, ScreenshotEmptyStateDark) {
    useDarkAppearance();
    open();
    screenshot("panel-empty-dark");
}

} // namespace
} // namespace quillon
