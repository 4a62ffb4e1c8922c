// The whole application as the shipped program builds it (credential store, state and refresh
// cycle, tray item, title subscription, panel), with the real providers talking HTTPS to the
// sample service, on a private session bus with a stand-in panel host and notification service,
// in a home folder of its own. Each test follows several refresh cycles and checks what a user
// sees and hears of them: the item's label and tooltip over the bus, the desktop notifications,
// the snapshot in the settings file and the command-line answers of the real binary.
#include "whole_application_fixture.h"

#include "support/qt_wait.h"
#include "support/test_ca.h"

#include <QCursor>
#include <QDBusObjectPath>
#include <QQuickItem>
#include <QQuickWindow>

#include <gtest/gtest.h>

namespace quillon::test {
namespace {

TEST_F(WholeApplicationTest, TheFirstRefreshShowsTheSampleFiguresEverywhere) {
    ASSERT_NO_FATAL_FAILURE(start());
    expectShown(QStringLiteral(" C:42% X:17%"));
    EXPECT_TRUE(newNotifications(0).empty());
    EXPECT_EQ(service.claudeRequests(), 1);
    EXPECT_GE(service.codexRequests(), 1);

    const auto snapshot = savedSnapshot();
    ASSERT_TRUE(snapshot.has_value());
    EXPECT_EQ(snapshot->claudePercent, 42);
    EXPECT_EQ(snapshot->codexPercent, 17);
    EXPECT_EQ(snapshot->claudePlan, "max");
    EXPECT_EQ(snapshot->codexPlan, "plus");
    EXPECT_EQ(snapshot->claudeResetTime, "Resets in 2h 05m");
    EXPECT_EQ(snapshot->codexResetTime, codexReset());
    ASSERT_TRUE(state().lastUpdated().has_value());
    EXPECT_LT(std::chrono::abs(snapshot->lastUpdated - *state().lastUpdated()), 1ms);

    EXPECT_EQ(answer("get-usage"), "Claude is at 42 percent and Codex is at 17 percent\n");
    EXPECT_EQ(answer("get-claude-usage"), "Your Claude usage is at 42 percent. Resets in 2h 05m\n");
    EXPECT_EQ(answer("get-codex-usage"), "Your Codex usage is at 17 percent. Resets in 3h 11m\n");
}

TEST_F(WholeApplicationTest, CrossingsAreAnnouncedOnceAndReArmAfterAFall) {
    ASSERT_NO_FATAL_FAILURE(start());
    expectShown(QStringLiteral(" C:42% X:17%"));

    setFigures(77, 55);
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:77% X:55%"));
    EXPECT_EQ(newNotifications(3), (std::multiset<std::string>{
                                       "Claude Code has reached 50% of 5-hour limit",
                                       "Claude Code has reached 75% of 5-hour limit",
                                       "Codex has reached 50% of 5-hour limit",
                                   }));
    EXPECT_EQ(answer("get-usage"), "Claude is at 77 percent and Codex is at 55 percent\n");
    EXPECT_EQ(answer("get-claude-usage"), "Your Claude usage is at 77 percent. Resets in 2h 05m. "
                                          "You're getting close to your limit.\n");

    // The same figures again: nothing is repeated.
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:77% X:55%"));
    EXPECT_TRUE(newNotifications(0).empty());

    setFigures(92.4, 55);
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:92% X:55%"));
    EXPECT_EQ(newNotifications(1),
              (std::multiset<std::string>{"Claude Code has reached 90% of 5-hour limit"}));
    EXPECT_EQ(answer("get-claude-usage"), "Your Claude usage is at 92 percent. Resets in 2h 05m. "
                                          "Warning: You're approaching your limit!\n");

    // A fall re-arms the thresholds above it silently; the next climb announces them again.
    setFigures(60, 40);
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:60% X:40%"));
    EXPECT_TRUE(newNotifications(0).empty());

    setFigures(80, 50);
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:80% X:50%"));
    EXPECT_EQ(newNotifications(2), (std::multiset<std::string>{
                                       "Claude Code has reached 75% of 5-hour limit",
                                       "Codex has reached 50% of 5-hour limit",
                                   }));

    const auto snapshot = savedSnapshot();
    ASSERT_TRUE(snapshot.has_value());
    EXPECT_EQ(snapshot->claudePercent, 80);
    EXPECT_EQ(snapshot->codexPercent, 50);
    EXPECT_EQ(answer("get-codex-usage"),
              "Your Codex usage is at 50 percent. " + codexReset() + "\n");
}

TEST_F(WholeApplicationTest, AClaudeOutageKeepsItsFiguresAndRaisesNothing) {
    ASSERT_NO_FATAL_FAILURE(useClaudeWebLogin());
    ASSERT_NO_FATAL_FAILURE(start());
    expectShown(QStringLiteral(" C:42% X:17%"));
    ASSERT_TRUE(state().claudeUsage().has_value());
    const Instant firstUpdate = *state().lastUpdated();
    const int claudeRequestsBefore = service.claudeRequests();

    // Claude answers with an outage page while Codex climbs past 50%.
    service.setClaudeDown(true);
    setFigures(96, 58);
    ASSERT_NO_FATAL_FAILURE(refresh());
    EXPECT_GT(service.claudeRequests(), claudeRequestsBefore);
    expectShown(QStringLiteral(" C:42% X:58%"));
    ASSERT_TRUE(state().claudeUsage().has_value());
    EXPECT_EQ(state().claudeUsage()->fiveHour.percent, 42);
    EXPECT_EQ(state().claudeUsage()->plan, "max");
    ASSERT_TRUE(state().lastUpdated().has_value());
    EXPECT_GT(*state().lastUpdated(), firstUpdate);
    EXPECT_EQ(newNotifications(1),
              (std::multiset<std::string>{"Codex has reached 50% of 5-hour limit"}));

    auto snapshot = savedSnapshot();
    ASSERT_TRUE(snapshot.has_value());
    EXPECT_EQ(snapshot->claudePercent, 42);
    EXPECT_EQ(snapshot->claudePlan, "max");
    EXPECT_EQ(snapshot->claudeResetTime, "Resets in 2h 05m");
    EXPECT_EQ(snapshot->codexPercent, 58);
    EXPECT_LT(std::chrono::abs(snapshot->lastUpdated - *state().lastUpdated()), 1ms);
    EXPECT_EQ(answer("get-claude-usage"), "Your Claude usage is at 42 percent. Resets in 2h 05m\n");

    // Still down: nothing new anywhere, yet the refresh is still recorded.
    const Instant secondUpdate = *state().lastUpdated();
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:42% X:58%"));
    EXPECT_GT(*state().lastUpdated(), secondUpdate);
    EXPECT_TRUE(newNotifications(0).empty());

    // Back up: the new Claude figure arrives and its crossings are announced.
    service.setClaudeDown(false);
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:96% X:58%"));
    EXPECT_EQ(newNotifications(3), (std::multiset<std::string>{
                                       "Claude Code has reached 50% of 5-hour limit",
                                       "Claude Code has reached 75% of 5-hour limit",
                                       "Claude Code has reached 90% of 5-hour limit",
                                   }));
    snapshot = savedSnapshot();
    ASSERT_TRUE(snapshot.has_value());
    EXPECT_EQ(snapshot->claudePercent, 96);
    EXPECT_EQ(answer("get-usage"), "Claude is at 96 percent and Codex is at 58 percent\n");
}

// With the Claude Code login, the OAuth endpoint's outage page is not an error to the provider:
// any answer that is not JSON reads as an empty one, that is 0 % and no reset time.
TEST_F(WholeApplicationTest, WithTheClaudeCodeLoginAnOutagePageReadsAsZeroPercent) {
    ASSERT_NO_FATAL_FAILURE(start());
    expectShown(QStringLiteral(" C:42% X:17%"));

    service.setClaudeDown(true);
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:0% X:17%"));
    EXPECT_TRUE(newNotifications(0).empty());
    const auto snapshot = savedSnapshot();
    ASSERT_TRUE(snapshot.has_value());
    EXPECT_EQ(snapshot->claudePercent, 0);
    EXPECT_EQ(snapshot->claudePlan, std::nullopt);
    EXPECT_EQ(snapshot->claudeResetTime, "");
    // An empty reset text adds nothing to the answer.
    EXPECT_EQ(answer("get-claude-usage"), "Your Claude usage is at 0 percent\n");
}

// Nobody logged in: nothing is asked of any service, the item shows the icon alone, and the
// answers say so; a cookie stored while the program runs is used from the next refresh on.
TEST_F(WholeApplicationTest, WithoutAnyLoginNothingIsShownUntilACookieIsStored) {
    std::filesystem::remove(home.path() / ".claude/.credentials.json");
    std::filesystem::remove(home.path() / ".codex/auth.json");
    ASSERT_NO_FATAL_FAILURE(start());
    EXPECT_FALSE(state().claudeUsage().has_value());
    EXPECT_FALSE(state().codexUsage().has_value());
    EXPECT_TRUE(service.requests().empty());
    expectShown(QString());
    const auto snapshot = savedSnapshot();
    ASSERT_TRUE(snapshot.has_value());
    EXPECT_EQ(snapshot->claudePercent, std::nullopt);
    EXPECT_EQ(snapshot->codexPercent, std::nullopt);
    EXPECT_EQ(answer("get-usage"), "No providers are currently connected\n");
    EXPECT_EQ(answer("get-claude-usage"), "Claude is not connected. Please check your settings.\n");
    EXPECT_EQ(answer("get-codex-usage"), "Codex is not connected. Please check your settings.\n");

    parts->authStore().setClaudeCookieHeader("sessionKey=sk-web-2");
    ASSERT_NO_FATAL_FAILURE(refresh());
    expectShown(QStringLiteral(" C:42%"));
    EXPECT_EQ(answer("get-usage"), "Claude is at 42 percent\n");
    EXPECT_TRUE(newNotifications(0).empty());
}

// "Refresh Usage" in the item's menu, clicked as a panel host reports it, runs a refresh whose
// figures reach the label and the alerts.
TEST_F(WholeApplicationTest, TheMenusRefreshEntryBringsNewFigures) {
    ASSERT_NO_FATAL_FAILURE(start());
    expectShown(QStringLiteral(" C:42% X:17%"));
    const int claudeRequests = service.claudeRequests();

    setFigures(51, 17);
    const auto menuPath = itemProperty("Menu").value<QDBusObjectPath>();
    ASSERT_FALSE(menuPath.path().isEmpty());
    auto click = QDBusMessage::createMethodCall(
        parts->tray().statusNotifierItem().serviceName(), menuPath.path(),
        QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("Event"));
    // The entries are numbered from 1: "Open Quillon", "Refresh Usage", a separator, "Quit".
    click << 2 << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant(0)) << 0u;
    const QDBusMessage reply = callAndWait(client, click);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();

    expectShown(QStringLiteral(" C:51% X:17%"));
    EXPECT_EQ(service.claudeRequests(), claudeRequests + 1);
    EXPECT_EQ(newNotifications(1),
              (std::multiset<std::string>{"Claude Code has reached 50% of 5-hour limit"}));
    EXPECT_FALSE(parts->panel().isVisible());
}

// The item's primary click, as a panel host sends it, opens the panel with both cards.
TEST_F(WholeApplicationTest, ActivatingTheItemOpensThePanelWithBothCards) {
    ASSERT_NO_FATAL_FAILURE(start());
    expectShown(QStringLiteral(" C:42% X:17%"));
    EXPECT_FALSE(parts->panel().isVisible());

    auto call = QDBusMessage::createMethodCall(
        parts->tray().statusNotifierItem().serviceName(),
        QString::fromLatin1(StatusNotifierItem::objectPath),
        QString::fromLatin1(StatusNotifierItem::interfaceName), QStringLiteral("Activate"));
    call << 900 << 12;
    // The virtual display has no bar: the point counts because the pointer, which follows
    // clicks on X11, is there too.
    QCursor::setPos(902, 10);
    ASSERT_TRUE(waitUntil([] { return QCursor::pos() == QPoint(902, 10); }, deadlineMs));
    const QDBusMessage reply = callAndWait(client, call);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    ASSERT_TRUE(waitUntil([&] { return parts->panel().isVisible(); }, deadlineMs));
    QQuickWindow* window = parts->panel().window();
    ASSERT_TRUE(waitUntil([&] { return window->isExposed(); }, deadlineMs));

    const auto percentOf = [&](const char* card) -> std::string {
        QQuickItem* found = findItem(QString::fromLatin1(card), window->contentItem());
        if (found == nullptr || !found->isVisible()) {
            return "no visible " + std::string(card);
        }
        QQuickItem* percent = findItem(QStringLiteral("sectionPercent"), found);
        return percent == nullptr ? "no percent"
                                  : percent->property("text").toString().toStdString();
    };
    ASSERT_TRUE(waitUntil([&] { return percentOf("usageCard_codex") == "17%"; }, deadlineMs));
    EXPECT_EQ(percentOf("usageCard_claude"), "42%");
    EXPECT_EQ(percentOf("usageCard_codex"), "17%");
    QQuickItem* empty = findItem(QStringLiteral("emptyStateView"), window->contentItem());
    EXPECT_TRUE(empty == nullptr || !empty->isVisible());

    // The panel sits under the click, centred on it.
    const QRect placed = parts->panel().panelGeometry();
    EXPECT_EQ(placed.x() + placed.width() / 2, 900) << placed.x();

    // A second click closes it again.
    spin(PanelWindow::toggleGraceMs + 100);
    ASSERT_EQ(callAndWait(client, call).type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(waitUntil([&] { return !parts->panel().isVisible(); }, deadlineMs));
}

} // namespace
} // namespace quillon::test
