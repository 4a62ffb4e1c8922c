#include "desktop/screen_areas.h"
#include "desktop/x11_display.h"
#include "support/x11_windows.h"

#include <QGuiApplication>
#include <QScreen>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillon {
namespace {

using test::ForeignWindow;
using ::testing::UnorderedElementsAre;

const QRect screen(0, 0, 1280, 800);

TEST(AreaLeftByBarsTest, ABarAlongAnEdgeTakesItsStripOffThatEdge) {
    EXPECT_EQ(areaLeftByBars(screen, {QRect(0, 0, 1280, 26)}), QRect(0, 26, 1280, 774));
    EXPECT_EQ(areaLeftByBars(screen, {QRect(0, 760, 1280, 40)}), QRect(0, 0, 1280, 760));
    EXPECT_EQ(areaLeftByBars(screen, {QRect(0, 0, 48, 800)}), QRect(48, 0, 1232, 800));
    EXPECT_EQ(areaLeftByBars(screen, {QRect(1232, 100, 48, 600)}), QRect(0, 0, 1232, 800));
}

TEST(AreaLeftByBarsTest, BarsOnTwoEdgesBothCount) {
    EXPECT_EQ(areaLeftByBars(screen, {QRect(0, 0, 1280, 26), QRect(0, 770, 1280, 30)}),
              QRect(0, 26, 1280, 744));
}

TEST(AreaLeftByBarsTest, AShortBarCountsByTheEdgeItTouches) {
    // A bar that does not span the edge (a centred dock) still leaves the space beside it out.
    EXPECT_EQ(areaLeftByBars(screen, {QRect(400, 752, 480, 48)}), QRect(0, 0, 1280, 752));
}

TEST(AreaLeftByBarsTest, WindowsThatAreNoBarTakeNothing) {
    EXPECT_EQ(areaLeftByBars(screen, {QRect(100, 300, 600, 30)}), screen); // off the edges
    EXPECT_EQ(areaLeftByBars(screen, {screen}), screen);                   // a desktop window
    EXPECT_EQ(areaLeftByBars(screen, {QRect(0, 0, 1280, 500)}), screen);   // half the screen
    EXPECT_EQ(areaLeftByBars(screen, {QRect(1280, 0, 1920, 30)}), screen); // another screen
    EXPECT_EQ(areaLeftByBars(screen, {QRect(0, 0, 30, 30)}), screen);      // a corner square
}

// Real windows on the test's own display, where no window manager runs and so no work area
// shows any bar.
class BarWindowsTest : public ::testing::Test {
protected:
    QRect display = QGuiApplication::primaryScreen()->geometry();
};

TEST_F(BarWindowsTest, AViewableDockOrEdgeReservingWindowIsABar) {
    ForeignWindow dock(QRect(0, 0, display.width(), 26));
    dock.setType("_NET_WM_WINDOW_TYPE_DOCK").map();
    ForeignWindow reserving(QRect(0, 0, 40, display.height()));
    reserving.setStrut({40, 0, 0, 0}).map();
    ForeignWindow ordinary(QRect(200, 300, 400, 300));
    ordinary.map();
    ForeignWindow hidden(QRect(0, display.height() - 30, display.width(), 30));
    hidden.setType("_NET_WM_WINDOW_TYPE_DOCK");

    EXPECT_THAT(x11::barWindows(), UnorderedElementsAre(QRect(0, 0, display.width(), 26),
                                                        QRect(0, 0, 40, display.height())));
}

TEST_F(BarWindowsTest, ADockInAWindowManagersFrameIsFoundWhereTheFrameIs) {
    ForeignWindow frame(QRect(0, display.height() - 30, display.width(), 30));
    ForeignWindow dock(QRect(0, 0, display.width(), 30), frame.id());
    dock.setType("_NET_WM_WINDOW_TYPE_DOCK").map();
    frame.map();

    EXPECT_THAT(x11::barWindows(),
                UnorderedElementsAre(QRect(0, display.height() - 30, display.width(), 30)));
}

TEST_F(BarWindowsTest, WhereTheWorkAreaShowsNoBarTheDockWindowsLeaveTheFreeArea) {
    ASSERT_EQ(QGuiApplication::primaryScreen()->availableGeometry(), display);
    ForeignWindow dock(QRect(0, 0, display.width(), 26));
    dock.setType("_NET_WM_WINDOW_TYPE_DOCK").map();

    const QList<ScreenArea> screens = screenAreas();
    ASSERT_FALSE(screens.isEmpty());
    EXPECT_EQ(screens.first().geometry, display);
    EXPECT_EQ(screens.first().available, display.adjusted(0, 26, 0, 0));
}

TEST_F(BarWindowsTest, WithoutBarsTheWholeScreenIsFree) {
    ForeignWindow ordinary(QRect(0, 0, display.width(), 26));
    ordinary.map();
    const QList<ScreenArea> screens = screenAreas();
    ASSERT_FALSE(screens.isEmpty());
    EXPECT_EQ(screens.first().available, display);
}

TEST(ScreenAreaAtTest, FindsTheScreenHoldingThePoint) {
    const QList<ScreenArea> screens{{QRect(0, 0, 1920, 1080), QRect(0, 30, 1920, 1050)},
                                    {QRect(1920, 0, 1280, 800), QRect(1920, 0, 1280, 800)}};
    EXPECT_EQ(screenAreaAt(QPoint(2000, 10), screens), &screens[1]);
    EXPECT_EQ(screenAreaAt(QPoint(10, 10), screens), &screens[0]);
    EXPECT_EQ(screenAreaAt(QPoint(-5, 10), screens), nullptr);
}

} // namespace
} // namespace quillon
