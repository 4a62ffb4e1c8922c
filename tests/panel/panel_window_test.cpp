#include "panel_fixture.h"

#include <QProcess>
#include <QScreen>
#include <QWindow>

namespace quillon {
namespace {

using test::PanelTest;

// A real click through the X server, where no window manager runs: the same path a click on
// the desktop or in another program takes.
void xdotoolClick(QPoint at) {
    QProcess xdotool;
    xdotool.start(QStringLiteral("xdotool"),
                  {QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
                   QStringLiteral("click"), QStringLiteral("1")});
    ASSERT_TRUE(xdotool.waitForFinished(5000));
    ASSERT_EQ(xdotool.exitCode(), 0);
}

class PanelWindowTest : public PanelTest {
protected:
    bool waitShown(bool visible) {
        return test::waitUntil([&] { return panel->isVisible() == visible; }, 3000);
    }
    QRect screen() const { return QGuiApplication::primaryScreen()->geometry(); }
};

TEST(PanelPlacementTest, UnderTheBarAtTheTopCentredOnTheClick) {
    const QRect screen(0, 0, 1920, 1080);
    const QRect available(0, 32, 1920, 1048);
    EXPECT_EQ(PanelWindow::placement(QPoint(1500, 16), screen, available),
              QRect(1500 - 180, 32 + 8, 360, 500));
}

TEST(PanelPlacementTest, AboveTheBarAtTheBottom) {
    const QRect screen(0, 0, 1920, 1080);
    const QRect available(0, 0, 1920, 1040);
    const QRect panel = PanelWindow::placement(QPoint(1800, 1060), screen, available);
    EXPECT_EQ(panel.bottom() + 1, 1040 - 8);
    EXPECT_EQ(panel.left(), 1800 - 180);
}

TEST(PanelPlacementTest, WithoutAKnownBarTheClickStandsIn) {
    const QRect screen(0, 0, 1920, 1080);
    EXPECT_EQ(PanelWindow::placement(QPoint(700, 20), screen, screen).top(), 28);
    EXPECT_EQ(PanelWindow::placement(QPoint(700, 1070), screen, screen).bottom() + 1, 1062);
}

TEST(PanelPlacementTest, NearTheLeftEdgeTheOverhangIsNotCorrected) {
    const QRect screen(0, 0, 1920, 1080);
    const QRect available(0, 30, 1920, 1050);
    EXPECT_EQ(PanelWindow::placement(QPoint(100, 15), screen, available).left(), -80);
}

TEST(PanelPlacementTest, OnASecondScreenTheBarOfThatScreenCounts) {
    const QRect screen(1920, 0, 1280, 1024);
    const QRect available(1920, 24, 1280, 1000);
    EXPECT_EQ(PanelWindow::placement(QPoint(3000, 10), screen, available),
              QRect(3000 - 180, 32, 360, 500));
}

TEST_F(PanelWindowTest, NoWindowUntilThePanelIsFirstShown) {
    start();
    for (QWindow* window : QGuiApplication::allWindows()) {
        EXPECT_EQ(qobject_cast<QQuickWindow*>(window), nullptr);
    }
    EXPECT_FALSE(panel->isVisible());
}

TEST_F(PanelWindowTest, IsAFramelessAlwaysOnTopToolWindowOutOfTheTaskBar) {
    start();
    QQuickWindow* window = panel->window();
    EXPECT_EQ(window->flags() & Qt::WindowType_Mask, Qt::Tool);
    EXPECT_TRUE(window->flags().testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(window->flags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_EQ(window->color().alpha(), 0);
    EXPECT_EQ(window->format().alphaBufferSize(), 8);
    EXPECT_EQ(window->rendererInterface()->graphicsApi(), QSGRendererInterface::Software);
}

TEST_F(PanelWindowTest, ToggleNearTheTopLeftLeavesTheLeftEdgeOffScreen) {
    start();
    panel->toggleAt(QPoint(100, 10));
    ASSERT_TRUE(waitShown(true));
    // Xvfb has no panel bar: the panel hangs 8 px below the click.
    EXPECT_EQ(panel->panelGeometry(), QRect(-80, 18, 360, 500));
}

TEST_F(PanelWindowTest, ToggleWhileShownHidesIt) {
    start();
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    panel->toggleAt(QPoint(960, 10));
    EXPECT_FALSE(panel->isVisible());
    // A hide by the toggle itself leaves no grace period.
    panel->toggleAt(QPoint(960, 10));
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(PanelWindowTest, OutsideClickHidesAndAToggleRightAfterKeepsItHidden) {
    start();
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    test::spin(200);
    xdotoolClick(QPoint(300, 700));
    ASSERT_TRUE(waitShown(false));
    // The tray item's Activate for that same click arrives just after.
    panel->toggleAt(QPoint(960, 10));
    EXPECT_FALSE(panel->isVisible());
    test::spin(PanelWindow::toggleGraceMs + 50);
    panel->toggleAt(QPoint(1400, 10));
    ASSERT_TRUE(waitShown(true));
    EXPECT_EQ(panel->panelGeometry().topLeft(), QPoint(1400 - 180, 18));
}

TEST_F(PanelWindowTest, ClickInsideKeepsItOpen) {
    start();
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    test::spin(200);
    const QRect inside = panel->panelGeometry();
    xdotoolClick(QPoint(inside.center().x(), inside.top() + 200));
    test::spin(300);
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(PanelWindowTest, ClickOnTheShadowCountsAsOutside) {
    start();
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    test::spin(200);
    const QRect inside = panel->panelGeometry();
    xdotoolClick(QPoint(inside.center().x(), inside.bottom() + 10));
    EXPECT_TRUE(waitShown(false));
}

TEST_F(PanelWindowTest, ShownAgainAfterAnOutsideClick) {
    start();
    for (int round = 0; round < 2; ++round) {
        panel->toggleAt(QPoint(960, 10));
        ASSERT_TRUE(waitShown(true)) << round;
        test::spin(200);
        xdotoolClick(QPoint(200, 900));
        ASSERT_TRUE(waitShown(false)) << round;
        test::spin(PanelWindow::toggleGraceMs + 50);
    }
}

TEST_F(PanelWindowTest, EscapeHides) {
    start();
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    test::spin(200);
    QTest::keyClick(panel->window(), Qt::Key_Escape);
    EXPECT_TRUE(waitShown(false));
}

} // namespace
} // namespace quillon
