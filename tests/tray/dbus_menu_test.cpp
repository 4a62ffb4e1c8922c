#include "app/app_state.h"
#include "support/memory_stores.h"
#include "support/qt_wait.h"
#include "tray/dbus_menu.h"
#include "tray/tray_icon.h"
#include "tray/tray_test_bus.h"

#include <QCursor>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QMenu>

#include <gtest/gtest.h>

#include <atomic>

namespace quillon {
namespace {

using test::callAndWait;
using test::waitUntil;

class DBusMenuTest : public ::testing::Test {
protected:
    DBusMenuTest() { registerTrayDBusTypes(); }
    ~DBusMenuTest() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("menu-test-client"));
    }

    QDBusMessage call(const char* method, const QVariantList& args) {
        auto message = QDBusMessage::createMethodCall(
            QDBusConnection::sessionBus().baseService(), QStringLiteral("/MenuBar"),
            QStringLiteral("com.canonical.dbusmenu"), QString::fromLatin1(method));
        message.setArguments(args);
        return callAndWait(client, message);
    }

    DBusMenuLayoutItem layout(int parent, int depth, const QStringList& names = {}) {
        const auto reply = call("GetLayout", {parent, depth, names});
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
        revision = reply.arguments().value(0).toUInt();
        EXPECT_EQ(reply.signature(), "u(ia{sv}av)");
        DBusMenuLayoutItem item;
        reply.arguments().value(1).value<QDBusArgument>() >> item;
        return item;
    }

    QVariantList clicked(int id) {
        return {id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(0)), 0u};
    }

    QDBusConnection client = test::otherBusConnection(QStringLiteral("menu-test-client"));
    uint revision = 0;
    std::vector<QPoint> shows;
    int refreshes = 0;
    int quits = 0;
    int hides = 0;
    TrayActions actions{
        .togglePanel = {},
        .showPanel = [this](QPoint point) { shows.push_back(point); },
        .hidePanel = [this] { ++hides; },
        .refresh = [this] { ++refreshes; },
        .quit = [this] { ++quits; },
    };
};

TEST_F(DBusMenuTest, LayoutHasTheThreeEntriesAndASeparator) {
    TrayIcon tray(actions);
    const auto root = layout(0, -1);
    EXPECT_EQ(revision, 1u);
    EXPECT_EQ(root.id, 0);
    EXPECT_EQ(root.properties.value(QStringLiteral("children-display")).toString(), "submenu");
    ASSERT_EQ(root.children.size(), 4);
    EXPECT_EQ(root.children[0].properties.value(QStringLiteral("label")).toString(),
              "Open Quillon");
    EXPECT_EQ(root.children[1].properties.value(QStringLiteral("label")).toString(),
              "Refresh Usage");
    EXPECT_EQ(root.children[2].properties.value(QStringLiteral("type")).toString(), "separator");
    EXPECT_FALSE(root.children[2].properties.contains(QStringLiteral("label")));
    EXPECT_EQ(root.children[3].properties.value(QStringLiteral("label")).toString(), "Quit");
    QList<int> ids;
    for (const auto& child : root.children) {
        ids.append(child.id);
        EXPECT_TRUE(child.children.isEmpty());
    }
    EXPECT_EQ(ids, (QList<int>{1, 2, 3, 4}));
}

TEST_F(DBusMenuTest, LayoutHonoursDepthAndPropertyNames) {
    TrayIcon tray(actions);
    EXPECT_TRUE(layout(0, 0).children.isEmpty());
    EXPECT_EQ(layout(0, 1).children.size(), 4);
    const auto labelsOnly = layout(0, -1, {QStringLiteral("label")});
    ASSERT_EQ(labelsOnly.children.size(), 4);
    EXPECT_EQ(labelsOnly.children[0].properties.keys(), QStringList{"label"});
    EXPECT_TRUE(labelsOnly.children[2].properties.isEmpty());
    const auto quit = layout(4, -1);
    EXPECT_EQ(quit.id, 4);
    EXPECT_EQ(quit.properties.value(QStringLiteral("label")).toString(), "Quit");
}

TEST_F(DBusMenuTest, UnknownIdsAreErrors) {
    TrayIcon tray(actions);
    EXPECT_EQ(call("GetLayout", {99, -1, QStringList()}).errorName(),
              "com.canonical.dbusmenu.UnknownId");
    EXPECT_EQ(call("GetProperty", {99, QStringLiteral("label")}).type(),
              QDBusMessage::ErrorMessage);
    EXPECT_EQ(
        call("Event", {99, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(0)), 0u})
            .type(),
        QDBusMessage::ErrorMessage);
}

TEST_F(DBusMenuTest, ClickingRefreshUsageStartsARefresh) {
    std::atomic<int> fetches{0};
    AppServices services;
    services.fetchClaude = [&](CredentialStore&, const Cancellation&) {
        ++fetches;
        return std::optional<UsageData>();
    };
    services.fetchCodex = [](CredentialStore&, const Cancellation&) {
        return std::optional<UsageData>();
    };
    test::MemoryCredentialStore credentials;
    AppState state(credentials, services);
    ASSERT_TRUE(waitUntil([&] { return fetches == 1 && !state.isRefreshing(); }));
    TrayActions live = actions;
    live.refresh = [&] { state.refreshAll(); };
    TrayIcon tray(live);

    const auto reply = call("Event", clicked(2));
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_TRUE(waitUntil([&] { return fetches == 2; }));
}

TEST_F(DBusMenuTest, ClickingOpenQuillonShowsThePanelAndQuitQuits) {
    TrayIcon tray(actions);
    ASSERT_EQ(call("Event", clicked(1)).type(), QDBusMessage::ReplyMessage);
    ASSERT_TRUE(waitUntil([&] { return shows.size() == 1; }));
    EXPECT_EQ(quits, 0);
    ASSERT_EQ(call("Event", clicked(4)).type(), QDBusMessage::ReplyMessage);
    ASSERT_TRUE(waitUntil([&] { return quits == 1; }));
    EXPECT_EQ(refreshes, 0);
}

TEST_F(DBusMenuTest, EventsOtherThanClickedAndSeparatorsDoNothing) {
    TrayIcon tray(actions);
    EXPECT_EQ(
        call("Event", {2, QStringLiteral("hovered"), QVariant::fromValue(QDBusVariant(0)), 0u})
            .type(),
        QDBusMessage::ReplyMessage);
    EXPECT_EQ(call("Event", clicked(3)).type(), QDBusMessage::ReplyMessage);
    test::spin(50);
    EXPECT_EQ(refreshes, 0);
    EXPECT_TRUE(shows.empty());
    EXPECT_EQ(quits, 0);
}

TEST_F(DBusMenuTest, EventGroupRunsKnownEventsAndReportsUnknownIds) {
    TrayIcon tray(actions);
    DBusMenuEventList events{{2, QStringLiteral("clicked"), QDBusVariant(0), 0},
                             {77, QStringLiteral("clicked"), QDBusVariant(0), 0}};
    const auto reply = call("EventGroup", {QVariant::fromValue(events)});
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(qdbus_cast<QList<int>>(reply.arguments().value(0)), QList<int>{77});
    EXPECT_TRUE(waitUntil([&] { return refreshes == 1; }));
}

TEST_F(DBusMenuTest, PropertiesAndGroupProperties) {
    TrayIcon tray(actions);
    const auto label = call("GetProperty", {2, QStringLiteral("label")});
    ASSERT_EQ(label.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(label.arguments().value(0).value<QDBusVariant>().variant().toString(),
              "Refresh Usage");

    const auto group = call("GetGroupProperties", {QVariant::fromValue(QList<int>{1, 4, 50}),
                                                   QStringList{QStringLiteral("label")}});
    ASSERT_EQ(group.type(), QDBusMessage::ReplyMessage) << group.errorMessage().toStdString();
    EXPECT_EQ(group.signature(), "a(ia{sv})");
    DBusMenuItemPropertiesList items;
    group.arguments().value(0).value<QDBusArgument>() >> items;
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[0].id, 1);
    EXPECT_EQ(items[0].properties.value(QStringLiteral("label")).toString(), "Open Quillon");
    EXPECT_EQ(items[1].properties.value(QStringLiteral("label")).toString(), "Quit");

    const auto about = call("AboutToShow", {0});
    ASSERT_EQ(about.type(), QDBusMessage::ReplyMessage);
    EXPECT_FALSE(about.arguments().value(0).toBool());
    const auto aboutGroup = call("AboutToShowGroup", {QVariant::fromValue(QList<int>{0, 9})});
    ASSERT_EQ(aboutGroup.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(aboutGroup.signature(), "aiai");
    EXPECT_EQ(qdbus_cast<QList<int>>(aboutGroup.arguments().value(1)), QList<int>{9});
}

TEST_F(DBusMenuTest, TheMenuOpeningHidesThePanelAsAClickOnTheItemDoes) {
    TrayIcon tray(actions);
    ASSERT_EQ(call("AboutToShow", {0}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(hides, 1);
    // A submenu opening is no click on the item.
    ASSERT_EQ(call("AboutToShow", {1}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(hides, 1);
    ASSERT_EQ(call("AboutToShowGroup", {QVariant::fromValue(QList<int>{0})}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(hides, 2);
}

TEST_F(DBusMenuTest, MenuPropertiesOfTheProtocol) {
    TrayIcon tray(actions);
    const auto get = [&](const char* name) {
        return test::getProperty(
                   client, QDBusConnection::sessionBus().baseService(), QStringLiteral("/MenuBar"),
                   QStringLiteral("com.canonical.dbusmenu"), QString::fromLatin1(name))
            .arguments()
            .value(0)
            .value<QDBusVariant>()
            .variant();
    };
    EXPECT_EQ(get("Version").metaType(), QMetaType::fromType<uint>());
    EXPECT_EQ(get("Version").toUInt(), 3u);
    EXPECT_EQ(get("TextDirection").toString(), "ltr");
    EXPECT_EQ(get("Status").toString(), "normal");
    EXPECT_EQ(get("IconThemePath").toStringList(), QStringList());
}

TEST_F(DBusMenuTest, ALinePerProviderWithFiguresComesFirstAndFollowsTheData) {
    TrayIcon tray(actions);
    test::SignalRecorder updates;
    ASSERT_TRUE(client.connect(QDBusConnection::sessionBus().baseService(),
                               QStringLiteral("/MenuBar"), QStringLiteral("com.canonical.dbusmenu"),
                               QStringLiteral("LayoutUpdated"), &updates,
                               SLOT(record(QDBusMessage))));
    UsageData claude;
    claude.provider = Provider::claude;
    claude.fiveHour.percent = 42;
    claude.fiveHour.resetLabel = "Resets in 2h 05m";
    UsageData codex;
    codex.provider = Provider::codex;
    codex.fiveHour.percent = 17;
    codex.fiveHour.resetLabel = "Resets in 3h 10m";
    tray.updateMenu(claude, codex);
    ASSERT_TRUE(waitUntil([&] { return updates.messages.size() == 1; }));
    EXPECT_EQ(updates.messages.front().arguments(), (QVariantList{2u, 0}));

    auto root = layout(0, -1);
    EXPECT_EQ(revision, 2u);
    ASSERT_EQ(root.children.size(), 6);
    const auto label = [&](int i) {
        return root.children[i].properties.value(QStringLiteral("label")).toString();
    };
    EXPECT_EQ(label(0), QString::fromUtf8("Claude  42% \u00b7 Resets in 2h 05m"));
    EXPECT_EQ(label(1), QString::fromUtf8("Codex  17% \u00b7 Resets in 3h 10m"));
    EXPECT_EQ(label(2), "Open Quillon");
    EXPECT_EQ(label(5), "Quit");
    // The lines show figures; they cannot be chosen, and choosing one anyway does nothing.
    EXPECT_FALSE(root.children[0].properties.value(QStringLiteral("enabled")).toBool());
    EXPECT_TRUE(root.children[2].properties.value(QStringLiteral("enabled")).toBool());
    ASSERT_EQ(call("Event", clicked(root.children[0].id)).type(), QDBusMessage::ReplyMessage);

    // Only Codex left, with a new reset time: one line, a new revision.
    codex.fiveHour.resetLabel = "Resets in 3h 09m";
    tray.updateMenu(std::nullopt, codex);
    ASSERT_TRUE(waitUntil([&] { return updates.messages.size() == 2; }));
    root = layout(0, -1);
    EXPECT_EQ(revision, 3u);
    ASSERT_EQ(root.children.size(), 5);
    EXPECT_EQ(label(0), QString::fromUtf8("Codex  17% \u00b7 Resets in 3h 09m"));
    // The same data again is no change.
    tray.updateMenu(std::nullopt, codex);
    test::spin(50);
    EXPECT_EQ(updates.messages.size(), 2u);
    EXPECT_TRUE(shows.empty());
    EXPECT_EQ(refreshes + quits, 0);

    // The context menu of hosts that ask for one shows the same lines.
    const auto entries = tray.contextMenu().actions();
    ASSERT_EQ(entries.size(), 5);
    EXPECT_EQ(entries[0]->text(), QString::fromUtf8("Codex  17% \u00b7 Resets in 3h 09m"));
    EXPECT_FALSE(entries[0]->isEnabled());
}

TEST_F(DBusMenuTest, OpenQuillonOpensThePanelWhereTheItemWasWhenTheMenuOpened) {
    TrayIcon tray(actions);
    QCursor::setPos(1234, 8);
    ASSERT_TRUE(waitUntil([] { return QCursor::pos() == QPoint(1234, 8); }));
    ASSERT_EQ(call("AboutToShow", {0}).type(), QDBusMessage::ReplyMessage);
    // The pointer then moves onto the menu's entry.
    QCursor::setPos(1240, 90);
    ASSERT_TRUE(waitUntil([] { return QCursor::pos() == QPoint(1240, 90); }));
    ASSERT_EQ(call("Event", clicked(1)).type(), QDBusMessage::ReplyMessage);
    ASSERT_TRUE(waitUntil([&] { return shows.size() == 1; }));
    EXPECT_EQ(shows.front(), QPoint(1234, 8));
}

} // namespace
} // namespace quillon
