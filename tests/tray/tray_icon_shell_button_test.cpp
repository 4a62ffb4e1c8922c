// The tray item beside a desktop shell's own button for Quillon (GNOME Shell's extension): while
// the shell holds its name on the bus, the item is passive and the plain icon hidden, so that no
// second Quillon shows; once the name goes, both come back.
#include "app/bus_names.h"
#include "tray_icon_fixture.h"

#include <QDBusConnectionInterface>

namespace quillon {
namespace {

using test::TrayIconTest;
using test::waitUntil;

class TrayIconShellButtonTest : public TrayIconTest {
protected:
    // Takes or gives back the shell button's name, from the second connection as a shell would.
    bool holdShellButton(bool hold) {
        const QString name = QString::fromLatin1(busNames::shellButton);
        if (!hold) {
            return client.unregisterService(name);
        }
        return client.registerService(name);
    }
};

TEST_F(TrayIconShellButtonTest, TheItemIsPassiveWhileTheShellShowsItsButton) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::statusNotifierItem; }));
    EXPECT_EQ(itemValue(tray, "Status").toString(), "Active");

    test::SignalRecorder statuses;
    ASSERT_TRUE(follow(tray, "org.kde.StatusNotifierItem", "NewStatus", statuses));
    itemValue(tray, "Status"); // the match rule is in place after a round trip

    ASSERT_TRUE(holdShellButton(true));
    ASSERT_TRUE(waitUntil([&] { return tray.shownByShell(); }));
    EXPECT_EQ(itemValue(tray, "Status").toString(), "Passive");
    ASSERT_TRUE(waitUntil([&] { return statuses.messages.size() == 1; }));
    EXPECT_EQ(statuses.messages[0].arguments().value(0).toString(), "Passive");

    ASSERT_TRUE(holdShellButton(false));
    ASSERT_TRUE(waitUntil([&] { return !tray.shownByShell(); }));
    EXPECT_EQ(itemValue(tray, "Status").toString(), "Active");
    ASSERT_TRUE(waitUntil([&] { return statuses.messages.size() == 2; }));
    EXPECT_EQ(statuses.messages[1].arguments().value(0).toString(), "Active");
}

TEST_F(TrayIconShellButtonTest, AButtonAlreadyThereAtStartUpIsNoticed) {
    ASSERT_TRUE(holdShellButton(true));
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    ASSERT_TRUE(waitUntil([&] { return tray.shownByShell(); }));
    EXPECT_EQ(itemValue(tray, "Status").toString(), "Passive");
}

TEST_F(TrayIconShellButtonTest, WithoutAWatcherThePlainIconStaysHiddenWhileTheButtonShows) {
    ASSERT_TRUE(holdShellButton(true));
    TrayIcon tray(actions());
    int unseen = 0;
    QObject::connect(&tray, &TrayIcon::unseen, [&] { ++unseen; });
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::fallback; }));
    ASSERT_TRUE(tray.shownByShell());
    ASSERT_NE(tray.fallbackIcon(), nullptr);
    EXPECT_FALSE(tray.fallbackIcon()->isVisible());
    EXPECT_EQ(unseen, 0);

    ASSERT_TRUE(holdShellButton(false));
    ASSERT_TRUE(waitUntil([&] { return tray.fallbackIcon()->isVisible(); }));
}

TEST_F(TrayIconShellButtonTest, WithNothingToShowItTheTraySaysSo) {
    TrayIcon tray(actions());
    int unseen = 0;
    QObject::connect(&tray, &TrayIcon::unseen, [&] { ++unseen; });
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::fallback; }));
    // The virtual display runs no XEmbed tray either.
    ASSERT_FALSE(QSystemTrayIcon::isSystemTrayAvailable());
    EXPECT_EQ(unseen, 1);

    // A button of the shell's that comes and goes again: unseen once more.
    ASSERT_TRUE(holdShellButton(true));
    ASSERT_TRUE(waitUntil([&] { return tray.shownByShell(); }));
    EXPECT_EQ(unseen, 1);
    ASSERT_TRUE(holdShellButton(false));
    ASSERT_TRUE(waitUntil([&] { return unseen == 2; }));

    // A watcher: seen.
    ASSERT_TRUE(watcher.start());
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::statusNotifierItem; }));
    test::spin(TrayIcon::fallbackDelayMs + 100);
    EXPECT_EQ(unseen, 2);
}

} // namespace
} // namespace quillon
