#include "notifications/desktop_notifications.h"
#include "support/fake_notification_server.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"

#include <QDBusArgument>
#include <QElapsedTimer>

#include <gtest/gtest.h>

namespace quillon {
namespace {

struct ImageData {
    int width = 0;
    int height = 0;
    int rowStride = 0;
    bool hasAlpha = false;
    int bitsPerSample = 0;
    int channels = 0;
    QByteArray bytes;
};

ImageData readImageData(const QVariant& value) {
    ImageData image;
    const auto argument = value.value<QDBusArgument>();
    argument.beginStructure();
    argument >> image.width >> image.height >> image.rowStride >> image.hasAlpha >>
        image.bitsPerSample >> image.channels >> image.bytes;
    argument.endStructure();
    return image;
}

class DesktopNotificationsTest : public ::testing::Test {
protected:
    void SetUp() override {
        // No icon theme of ours is installed unless a test puts one here.
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(dataHome.path().string()));
        qputenv("XDG_DATA_DIRS", QByteArray::fromStdString(dataDirs.path().string()));
    }

    test::TempDir dataHome;
    test::TempDir dataDirs;
};

TEST_F(DesktopNotificationsTest, NotifyCarriesEveryArgument) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    const DesktopNotifications notifications;
    notifications.send(QStringLiteral("Quillon"),
                       QStringLiteral("Claude Code has reached 90% of 5-hour limit"));
    ASSERT_TRUE(test::waitUntil([&] { return server.calls.size() == 1; }));

    const auto& call = server.calls.front();
    EXPECT_EQ(call.appName, "Quillon");
    EXPECT_EQ(call.replacesId, 0U);
    EXPECT_EQ(call.appIcon, "");
    EXPECT_EQ(call.summary, "Quillon");
    EXPECT_EQ(call.body, "Claude Code has reached 90% of 5-hour limit");
    EXPECT_TRUE(call.actions.isEmpty());
    EXPECT_EQ(call.expireTimeout, -1);
    EXPECT_EQ(call.hints.value("sound-name").toString(), "message-new-instant");
    EXPECT_EQ(call.hints.value("desktop-entry").toString(), "quillon");
    EXPECT_EQ(call.hints.size(), 3);

    const ImageData image = readImageData(call.hints.value("image-data"));
    EXPECT_EQ(image.width, 64);
    EXPECT_EQ(image.height, 64);
    EXPECT_EQ(image.rowStride, 64 * 4);
    EXPECT_TRUE(image.hasAlpha);
    EXPECT_EQ(image.bitsPerSample, 8);
    EXPECT_EQ(image.channels, 4);
    ASSERT_EQ(image.bytes.size(), 64 * 64 * 4);
    // The centre of the icon is opaque (the disc), a corner transparent.
    const auto alphaAt = [&](int x, int y) {
        return static_cast<unsigned char>(image.bytes[(y * 64 + x) * 4 + 3]);
    };
    EXPECT_EQ(alphaAt(32, 40), 255);
    EXPECT_EQ(alphaAt(0, 0), 0);
}

TEST_F(DesktopNotificationsTest, InstalledThemedIconIsNamedInsteadOfSent) {
    dataHome.write("icons/hicolor/scalable/apps/quillon.svg", "<svg/>");
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    DesktopNotifications().send(QStringLiteral("Quillon"),
                                QStringLiteral("Codex has reached 50% of 5-hour limit"));
    ASSERT_TRUE(test::waitUntil([&] { return server.calls.size() == 1; }));
    EXPECT_EQ(server.calls.front().appIcon, "quillon");
    EXPECT_FALSE(server.calls.front().hints.contains("image-data"));
    EXPECT_EQ(server.calls.front().body, "Codex has reached 50% of 5-hour limit");
}

TEST_F(DesktopNotificationsTest, SendReturnsBeforeTheServiceAnswers) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    const DesktopNotifications notifications;
    QDBusPendingCall call = notifications.send(QStringLiteral("Quillon"), QStringLiteral("one"));
    // The server lives on this thread: had send() waited for it, the call would be answered.
    EXPECT_TRUE(server.calls.empty());
    EXPECT_FALSE(call.isFinished());
    ASSERT_TRUE(test::waitUntil([&] { return call.isFinished(); }));
    EXPECT_FALSE(call.isError());
    EXPECT_EQ(server.calls.size(), 1U);
}

TEST_F(DesktopNotificationsTest, EveryAlertIsANewNotification) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    const DesktopNotifications notifications;
    notifications.send(QStringLiteral("Quillon"), QStringLiteral("first"));
    notifications.send(QStringLiteral("Quillon"), QStringLiteral("second"));
    ASSERT_TRUE(test::waitUntil([&] { return server.calls.size() == 2; }));
    EXPECT_EQ(server.calls[0].replacesId, 0U);
    EXPECT_EQ(server.calls[1].replacesId, 0U);
    EXPECT_EQ(server.calls[0].body, "first");
    EXPECT_EQ(server.calls[1].body, "second");
}

TEST_F(DesktopNotificationsTest, PermissionRequestAsksForCapabilitiesWithoutWaiting) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    QDBusPendingCall call = DesktopNotifications().requestPermission();
    EXPECT_EQ(server.capabilityRequests, 0);
    ASSERT_TRUE(test::waitUntil([&] { return server.capabilityRequests == 1; }));
    EXPECT_TRUE(server.calls.empty());
}

TEST_F(DesktopNotificationsTest, WithoutAServiceSendingIsSilentAndQuick) {
    const DesktopNotifications notifications;
    QElapsedTimer elapsed;
    elapsed.start();
    QDBusPendingCall call = notifications.send(QStringLiteral("Quillon"), QStringLiteral("lost"));
    notifications.requestPermission();
    EXPECT_LT(elapsed.elapsed(), 1000);
    ASSERT_TRUE(test::waitUntil([&] { return call.isFinished(); }));
    EXPECT_TRUE(call.isError());
}

TEST_F(DesktopNotificationsTest, WaitingWithoutAServiceGivesFalseWithinTheTimeout) {
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_FALSE(DesktopNotifications().sendAndWait(QStringLiteral("Quillon"),
                                                    QStringLiteral("lost"), 2000));
    EXPECT_LT(elapsed.elapsed(), 2500);
}

TEST_F(DesktopNotificationsTest, WithoutABusNothingHangs) {
    const DesktopNotifications notifications(QDBusConnection::connectToBus(
        QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("no-bus")));
    QDBusPendingCall call = notifications.send(QStringLiteral("Quillon"), QStringLiteral("lost"));
    ASSERT_TRUE(test::waitUntil([&] { return call.isFinished(); }, 2000));
    EXPECT_TRUE(call.isError());
    EXPECT_FALSE(notifications.sendAndWait(QStringLiteral("Quillon"), QStringLiteral("x"), 500));
}

} // namespace
} // namespace quillon
