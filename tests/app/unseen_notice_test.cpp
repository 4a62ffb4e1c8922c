#include "app/unseen_notice.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillon {
namespace {

struct Said {
    std::vector<std::string> lines;
    std::vector<std::string> notifications;

    UnseenNotice notice(bool gnome) {
        return UnseenNotice(
            gnome, [this](const QString& line) { lines.push_back(line.toStdString()); },
            [this](const QString& title, const QString& body) {
                notifications.push_back((title + QLatin1Char('|') + body).toStdString());
            });
    }
};

TEST(UnseenNoticeTest, OnGnomeOneLineNamesTheExtensionAndOneNotificationSaysHowToTurnItOn) {
    Said said;
    UnseenNotice notice = said.notice(true);
    notice();
    notice();
    notice();
    ASSERT_EQ(said.lines.size(), 1u);
    EXPECT_EQ(said.lines[0].find('\n'), std::string::npos);
    EXPECT_NE(said.lines[0].find("no StatusNotifierWatcher and no system tray"), std::string::npos);
    EXPECT_NE(said.lines[0].find("gnome-extensions enable quillon@quillon.org"), std::string::npos);
    ASSERT_EQ(said.notifications.size(), 1u);
    EXPECT_EQ(said.notifications[0].find("Quillon is running but not shown|"), 0u);
    EXPECT_NE(said.notifications[0].find("gnome-extensions enable quillon@quillon.org"),
              std::string::npos);
}

TEST(UnseenNoticeTest, ElsewhereOneLineAndNoNotification) {
    Said said;
    UnseenNotice notice = said.notice(false);
    notice();
    notice();
    ASSERT_EQ(said.lines.size(), 1u);
    EXPECT_NE(said.lines[0].find("no StatusNotifierWatcher and no system tray"), std::string::npos);
    EXPECT_EQ(said.lines[0].find("gnome-extensions"), std::string::npos);
    EXPECT_TRUE(said.notifications.empty());
}

TEST(UnseenNoticeTest, GnomeIsFoundInTheDesktopList) {
    EXPECT_TRUE(UnseenNotice::isGnome(QStringLiteral("GNOME")));
    EXPECT_TRUE(UnseenNotice::isGnome(QStringLiteral("ubuntu:GNOME")));
    EXPECT_TRUE(UnseenNotice::isGnome(QStringLiteral("gnome")));
    EXPECT_FALSE(UnseenNotice::isGnome(QStringLiteral("GNOME-Flashback-ish")));
    EXPECT_FALSE(UnseenNotice::isGnome(QStringLiteral("KDE")));
    EXPECT_FALSE(UnseenNotice::isGnome(QString()));
}

} // namespace
} // namespace quillon
