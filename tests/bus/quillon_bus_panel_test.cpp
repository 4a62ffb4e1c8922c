// The interface's requests about the panel: ShowPanel(), and those of a desktop shell that draws
// Quillon's button itself.
#include "quillon_bus_fixture.h"

namespace quillon {
namespace {

using test::name;
using test::QuillonBusTest;
using test::Recorder;

TEST_F(QuillonBusTest, ShowPanelOpensThePanel) {
    start();
    EXPECT_EQ(call(name(busNames::interface), QStringLiteral("ShowPanel")).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(panelsShown, 1);
}

TEST_F(QuillonBusTest, AShellButtonPlacesTogglesAndHidesThePanelAndReportsPresses) {
    std::vector<std::string> requests;
    const auto note = [&](const char* what, QRect rect) {
        requests.push_back(QStringLiteral("%1 %2,%3 %4x%5")
                               .arg(QLatin1String(what))
                               .arg(rect.x())
                               .arg(rect.y())
                               .arg(rect.width())
                               .arg(rect.height())
                               .toStdString());
    };
    actions.showPanelUnder = [&](QRect rect) { note("show", rect); };
    actions.togglePanelUnder = [&](QRect rect) { note("toggle", rect); };
    actions.hidePanel = [&] { requests.emplace_back("hide"); };
    actions.pressedAt = [&](QPoint at) {
        requests.push_back(QStringLiteral("press %1,%2").arg(at.x()).arg(at.y()).toStdString());
    };
    actions.quit = [&] { requests.emplace_back("quit"); };
    start();
    const QString interface = name(busNames::interface);
    EXPECT_EQ(call(interface, QStringLiteral("ShowPanelAt"), {1000, 0, 90, 32}).type(),
              QDBusMessage::ReplyMessage);
    call(interface, QStringLiteral("TogglePanelAt"), {12, 0, 0, 0});
    call(interface, QStringLiteral("HidePanel"));
    call(interface, QStringLiteral("PressedAt"), {300, 10});
    call(interface, QStringLiteral("Quit"));
    // A rectangle of no size stands for its corner.
    EXPECT_EQ(requests, (std::vector<std::string>{"show 1000,0 90x32", "toggle 12,0 1x1", "hide",
                                                  "press 300,10", "quit"}));
    // Arguments of the wrong types are refused, and nothing is done.
    EXPECT_EQ(call(interface, QStringLiteral("ShowPanelAt"), {QStringLiteral("x"), 0}).type(),
              QDBusMessage::ErrorMessage);
    EXPECT_EQ(requests.size(), 5u);
    EXPECT_EQ(panelsShown, 0);
}

TEST_F(QuillonBusTest, WithoutTheApplicationsActionsRequestsDoNothing) {
    actions = BusActions{};
    start();
    const QString interface = name(busNames::interface);
    EXPECT_EQ(call(interface, QStringLiteral("ShowPanel")).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(call(interface, QStringLiteral("Quit")).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(properties().value("MenuRows").toStringList(), QStringList());
    EXPECT_EQ(properties().value("PanelVisible").toBool(), false);
}

TEST_F(QuillonBusTest, TheMenuRowsAndThePanelsVisibilityAreAnnouncedWhenTheyChange) {
    bool visible = false;
    actions.panelVisible = [&] { return visible; };
    actions.menuRows = [this] {
        return QStringList{
            QStringLiteral("Claude  %1%")
                .arg(state->claudeUsage() ? state->claudeUsage()->fiveHour.percent : 0)};
    };
    start();
    listen();
    EXPECT_EQ(signatureOf("MenuRows"), "as");
    EXPECT_EQ(signatureOf("PanelVisible"), "b");
    EXPECT_EQ(properties().value("MenuRows").toStringList(), QStringList{"Claude  42%"});
    EXPECT_FALSE(properties().value("PanelVisible").toBool());

    visible = true;
    bus->announce();
    ASSERT_TRUE(test::waitUntil([&] { return changes().size() == 1; }));
    EXPECT_EQ(changes()[0], "PanelVisible");
    // Nothing new: nothing announced.
    bus->announce();
    test::spin(200);
    EXPECT_EQ(changes().size(), 1u);

    servers.setFigures(55, 17);
    const auto first = state->lastUpdated();
    state->refreshAll();
    waitForRefresh(first);
    ASSERT_TRUE(test::waitUntil([&] { return changes().size() == 2; }));
    EXPECT_EQ(changes()[1], "Claude,LastUpdated,MenuRows,Title");
    EXPECT_EQ(properties().value("MenuRows").toStringList(), QStringList{"Claude  55%"});
}

TEST_F(QuillonBusTest, TheNameIsTakenAndGivenBack) {
    start();
    auto* names = client.interface();
    EXPECT_TRUE(names->isServiceRegistered(name(busNames::service)).value());
    bus.reset();
    EXPECT_FALSE(names->isServiceRegistered(name(busNames::service)).value());
}

TEST_F(QuillonBusTest, ASecondInterfaceLeavesTheNameToTheFirst) {
    start();
    const QuillonBus second(*state, BusActions{}, client);
    EXPECT_FALSE(second.isPublished());
    EXPECT_EQ(call(name(busNames::interface), QStringLiteral("ShowPanel")).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(panelsShown, 1);
}

} // namespace
} // namespace quillon
