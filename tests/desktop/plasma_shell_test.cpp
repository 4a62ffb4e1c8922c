#include "desktop/plasma_shell.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QObject>

#include <gtest/gtest.h>

namespace quillon {
namespace {

// Plasma's strut manager, as the shell exports it: the free area of each screen it knows.
class StrutManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.PlasmaShell.StrutManager")

public:
    QRect answer;
    QString asked;

public slots:
    QRect availableScreenRect(const QString& screenName) {
        asked = screenName;
        return answer;
    }
};

class PlasmaShellTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(bus.registerObject(QStringLiteral("/StrutManager"), &manager,
                                       QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(bus.registerService(QStringLiteral("org.kde.plasmashell")));
    }
    void TearDown() override {
        bus.unregisterService(QStringLiteral("org.kde.plasmashell"));
        bus.unregisterObject(QStringLiteral("/StrutManager"));
    }

    QDBusConnection bus = QDBusConnection::sessionBus();
    StrutManager manager;
};

TEST_F(PlasmaShellTest, TheShellSaysWhatItsPanelsLeaveFreeOfTheNamedScreen) {
    manager.answer = QRect(0, 0, 1280, 744);
    EXPECT_EQ(plasma::availableScreenRect(QStringLiteral("WL-0")), QRect(0, 0, 1280, 744));
    EXPECT_EQ(manager.asked, QStringLiteral("WL-0"));
}

TEST_F(PlasmaShellTest, AnEmptyAnswerIsNone) {
    manager.answer = QRect();
    EXPECT_TRUE(plasma::availableScreenRect(QStringLiteral("WL-0")).isNull());
}

TEST(PlasmaShellWithoutAShellTest, NoShellMeansNoAnswer) {
    EXPECT_TRUE(plasma::availableScreenRect(QStringLiteral("WL-0")).isNull());
}

} // namespace
} // namespace quillon

#include "plasma_shell_test.moc"
