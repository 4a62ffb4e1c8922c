#include "tray/tray_icon_fixture.h"

namespace quillon {
namespace {

using test::callAndWait;
using test::TrayIconTest;
using test::waitUntil;

TEST_F(TrayIconTest, ActivateOverTheBusTogglesThePanelAtThatPoint) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    // The virtual display has no bar: a point counts when the pointer, which follows clicks on
    // X11, is there too.
    QCursor::setPos(642, 10);
    ASSERT_TRUE(waitUntil([] { return QCursor::pos() == QPoint(642, 10); }));
    activate(tray, 640, 12);
    ASSERT_TRUE(waitUntil([&] { return !toggles.empty(); }));
    EXPECT_EQ(toggles, std::vector<QPoint>{QPoint(640, 12)});
    EXPECT_TRUE(shows.empty());
}

TEST_F(TrayIconTest, APlaceholderPointGivesWayToThePointer) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    QCursor::setPos(1210, 14);
    ASSERT_TRUE(waitUntil([] { return QCursor::pos() == QPoint(1210, 14); }));
    activate(tray, 0, 25);
    ASSERT_TRUE(waitUntil([&] { return !toggles.empty(); }));
    EXPECT_EQ(toggles, std::vector<QPoint>{QPoint(1210, 14)});
}

TEST_F(TrayIconTest, OtherItemMethodsAnswerAndChangeNothing) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    const auto send = [&](const char* method, const QVariantList& args) {
        auto call = QDBusMessage::createMethodCall(
            tray.statusNotifierItem().serviceName(), QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.kde.StatusNotifierItem"), QString::fromLatin1(method));
        call.setArguments(args);
        return callAndWait(client, call).type();
    };
    EXPECT_EQ(send("SecondaryActivate", {1, 2}), QDBusMessage::ReplyMessage);
    EXPECT_EQ(send("Scroll", {3, QStringLiteral("vertical")}), QDBusMessage::ReplyMessage);
    EXPECT_EQ(send("ProvideXdgActivationToken", {QStringLiteral("token")}),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(send("Activate", {QStringLiteral("not a number"), 2}), QDBusMessage::ErrorMessage);
    test::spin(50);
    EXPECT_TRUE(toggles.empty());
    EXPECT_EQ(refreshes, 0);
    EXPECT_EQ(quits, 0);
}

} // namespace
} // namespace quillon
