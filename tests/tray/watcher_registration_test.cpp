#include "support/qt_wait.h"
#include "tray/status_notifier_item.h"
#include "tray/tray_icon.h"
#include "tray/tray_test_bus.h"
#include "tray/watcher_registration.h"

#include <QDBusArgument>

#include <gtest/gtest.h>

namespace quillon {
namespace {

using test::waitUntil;

class WatcherRegistrationTest : public ::testing::Test {
protected:
    ~WatcherRegistrationTest() override {
        watcher.stop();
        second.stop();
        QDBusConnection::disconnectFromBus(QStringLiteral("registration-test-client"));
        QDBusConnection::disconnectFromBus(QStringLiteral("registration-test-second"));
    }

    bool listedBy(const test::FakeStatusNotifierWatcher& host, TrayIcon& tray) {
        return host.registeredItems().contains(tray.statusNotifierItem().serviceName());
    }

    QDBusConnection client = test::otherBusConnection(QStringLiteral("registration-test-client"));
    QDBusConnection secondBus =
        test::otherBusConnection(QStringLiteral("registration-test-second"));
    test::FakeStatusNotifierWatcher watcher{client};
    test::FakeStatusNotifierWatcher second{secondBus};
};

TEST_F(WatcherRegistrationTest, AWatcherThatTakesOverTheNameGetsARegistration) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(TrayActions{});
    ASSERT_TRUE(waitUntil([&] { return listedBy(watcher, tray); }));
    // A restarted host takes the name over without it ever being free.
    ASSERT_TRUE(second.start(true));
    ASSERT_TRUE(waitUntil([&] { return listedBy(second, tray); }));
    EXPECT_EQ(tray.mode(), TrayIcon::Mode::statusNotifierItem);
    EXPECT_EQ(tray.registration().attempts(), 2);
}

TEST_F(WatcherRegistrationTest, AWatcherThatRestartsGetsARegistrationEachTime) {
    TrayIcon tray(TrayActions{});
    // The plain icon first, while no watcher runs: Qt's tray code asks the bus for one as it
    // starts, and a watcher in this same thread could not answer.
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::fallback; }));
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(watcher.start()) << round;
        ASSERT_TRUE(waitUntil([&] { return listedBy(watcher, tray); }))
            << round << " attempts " << tray.registration().attempts() << " mode "
            << int(tray.mode()) << " items " << watcher.registeredItems().join(",").toStdString();
        ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::statusNotifierItem; }));
        watcher.stop();
        ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::fallback; })) << round;
        // The next host knows nothing of the item.
        watcher.drop(tray.statusNotifierItem().serviceName());
    }
}

TEST_F(WatcherRegistrationTest, AnItemTheWatcherDropsRegistersAgain) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(TrayActions{});
    ASSERT_TRUE(waitUntil([&] { return tray.registration().isRegistered(); }));
    ASSERT_EQ(tray.registration().attempts(), 1);
    watcher.drop(tray.statusNotifierItem().serviceName());
    ASSERT_FALSE(listedBy(watcher, tray));
    ASSERT_TRUE(waitUntil([&] { return listedBy(watcher, tray); }));
    EXPECT_EQ(tray.registration().attempts(), 2);
}

TEST_F(WatcherRegistrationTest, ADroppedOtherItemChangesNothing) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(TrayActions{});
    ASSERT_TRUE(waitUntil([&] { return tray.registration().isRegistered(); }));
    watcher.drop(QStringLiteral("org.kde.StatusNotifierItem-1-1"));
    test::spin(WatcherRegistration::retryMs * 3);
    EXPECT_EQ(tray.registration().attempts(), 1);
    EXPECT_TRUE(tray.registration().isRegistered());
}

TEST_F(WatcherRegistrationTest, AfterRegisteringEveryPropertyIsSentAgain) {
    ASSERT_TRUE(watcher.start());
    test::SignalRecorder changes;
    TrayIcon tray(TrayActions{});
    ASSERT_TRUE(client.connect(tray.statusNotifierItem().serviceName(),
                               QString::fromLatin1(StatusNotifierItem::objectPath),
                               QStringLiteral("org.freedesktop.DBus.Properties"),
                               QStringLiteral("PropertiesChanged"), &changes,
                               SLOT(record(QDBusMessage))));
    ASSERT_TRUE(waitUntil([&] { return changes.messages.size() >= 2; }));
    for (const auto& message : changes.messages) {
        const auto changed = qdbus_cast<QVariantMap>(message.arguments().value(1));
        EXPECT_EQ(changed.value(QStringLiteral("Id")).toString(), "quillon");
        EXPECT_EQ(changed.value(QStringLiteral("Menu")).value<QDBusObjectPath>().path(),
                  "/MenuBar");
        EXPECT_EQ(changed.value(QStringLiteral("IconName")).toString(), "quillon-symbolic");
        EXPECT_FALSE(changed.value(QStringLiteral("IconThemePath")).toString().isEmpty());
        EXPECT_EQ(changed.size(), 18);
    }
}

} // namespace
} // namespace quillon
