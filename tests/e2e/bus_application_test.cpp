// The application's session-bus interface as the shipped program wires it: the figures a client
// reads agree with the item's label, Refresh() is the refresh button, ShowPanel() opens the
// panel, and the real binary's `status` reads them all.
#include "app/bus_names.h"
#include "whole_application_fixture.h"

#include "support/qt_wait.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace quillon::test {
namespace {

QDBusMessage callQuillon(const QDBusConnection& bus, const QString& method) {
    return callAndWait(
        bus, QDBusMessage::createMethodCall(QString::fromLatin1(busNames::service),
                                            QString::fromLatin1(busNames::objectPath),
                                            QString::fromLatin1(busNames::interface), method));
}

QString title(const QDBusConnection& bus) {
    const QDBusMessage reply = getProperty(
        bus, QString::fromLatin1(busNames::service), QString::fromLatin1(busNames::objectPath),
        QString::fromLatin1(busNames::interface), QStringLiteral("Title"));
    return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
}

TEST_F(WholeApplicationTest, TheBusCarriesTheTitleAndItsRefreshBringsNewFigures) {
    ASSERT_NO_FATAL_FAILURE(start());
    expectShown(QStringLiteral(" C:42% X:17%"));
    EXPECT_EQ(title(client).toStdString(), " C:42% X:17%");

    setFigures(64, 30);
    const auto before = state().lastUpdated();
    EXPECT_EQ(callQuillon(client, QStringLiteral("Refresh")).type(), QDBusMessage::ReplyMessage);
    ASSERT_TRUE(waitUntil(
        [&] { return !state().isRefreshing() && state().lastUpdated() != before; }, deadlineMs));
    expectShown(QStringLiteral(" C:64% X:30%"));
    EXPECT_EQ(title(client).toStdString(), " C:64% X:30%");

    const ProcessOutcome status = runQuillon({"status", "--format", "waybar"});
    EXPECT_EQ(status.exitCode, 0) << status.err;
    const auto module = nlohmann::json::parse(status.out);
    EXPECT_EQ(module.at("text"), " C:64% X:30%");
    EXPECT_EQ(module.at("class"), "warning");
}

TEST_F(WholeApplicationTest, ShowPanelOpensThePanel) {
    ASSERT_NO_FATAL_FAILURE(start());
    EXPECT_FALSE(parts->panel().isVisible());
    EXPECT_EQ(callQuillon(client, QStringLiteral("ShowPanel")).type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(waitUntil([&] { return parts->panel().isVisible(); }, deadlineMs));
}

// While a shell draws Quillon's button, only the shell knows where the button is: ShowPanel()
// asks it with PanelWanted, and the shell answers with ShowPanelAt under its button.
TEST_F(WholeApplicationTest, ShowPanelAsksTheShellThatDrawsTheButton) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(client.registerService(QString::fromLatin1(busNames::shellButton)));
    ASSERT_TRUE(waitUntil([&] { return parts->tray().shownByShell(); }, deadlineMs));
    SignalRecorder wanted;
    ASSERT_TRUE(client.connect(QString::fromLatin1(busNames::service),
                               QString::fromLatin1(busNames::objectPath),
                               QString::fromLatin1(busNames::interface),
                               QStringLiteral("PanelWanted"), &wanted, SLOT(record(QDBusMessage))));
    title(client); // the match rule is in place after a round trip

    EXPECT_EQ(callQuillon(client, QStringLiteral("ShowPanel")).type(), QDBusMessage::ReplyMessage);
    ASSERT_TRUE(waitUntil([&] { return wanted.messages.size() == 1; }, deadlineMs));
    EXPECT_FALSE(parts->panel().isVisible());

    auto showAt = QDBusMessage::createMethodCall(
        QString::fromLatin1(busNames::service), QString::fromLatin1(busNames::objectPath),
        QString::fromLatin1(busNames::interface), QStringLiteral("ShowPanelAt"));
    showAt << 600 << 0 << 40 << 28;
    EXPECT_EQ(callAndWait(client, showAt).type(), QDBusMessage::ReplyMessage);
    ASSERT_TRUE(waitUntil([&] { return parts->panel().isVisible(); }, deadlineMs));
    const QRect panel = parts->panel().panelGeometry();
    EXPECT_EQ(panel.x() + panel.width() / 2, 620); // centred on the button
    EXPECT_EQ(wanted.messages.size(), 1U);
}

} // namespace
} // namespace quillon::test
