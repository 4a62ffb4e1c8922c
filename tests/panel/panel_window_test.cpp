#include "panel_fixture.h"

#include <QProcess>
#include <QRasterWindow>
#include <QScreen>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

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

// What xprop says of the window's properties.
QString xprop(const QWindow& window) {
    QProcess process;
    process.start(QStringLiteral("xprop"),
                  {QStringLiteral("-id"), QString::number(window.winId()),
                   QStringLiteral("_NET_WM_STATE"), QStringLiteral("_NET_WM_WINDOW_TYPE"),
                   QStringLiteral("WM_TRANSIENT_FOR"), QStringLiteral("_GTK_FRAME_EXTENTS")});
    EXPECT_TRUE(process.waitForFinished(5000));
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}

// Stands in for a compositing manager: owns its selection on the display while it lives.
class FakeCompositor {
public:
    FakeCompositor() : connection_(xcb_connect(nullptr, nullptr)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        const xcb_window_t window = xcb_generate_id(connection_);
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        const char* name = "_NET_WM_CM_S0";
        auto* reply = xcb_intern_atom_reply(
            connection_,
            xcb_intern_atom(connection_, 0, static_cast<uint16_t>(std::strlen(name)), name),
            nullptr);
        xcb_set_selection_owner(connection_, window, reply->atom, XCB_CURRENT_TIME);
        std::free(reply);
        sync();
    }
    ~FakeCompositor() { xcb_disconnect(connection_); }
    FakeCompositor(const FakeCompositor&) = delete;
    FakeCompositor& operator=(const FakeCompositor&) = delete;

private:
    void sync() {
        std::free(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    }
    xcb_connection_t* connection_;
};

// A plain window that counts the presses it receives.
class PressCounter : public QRasterWindow {
public:
    int presses = 0;

protected:
    void mousePressEvent(QMouseEvent*) override { ++presses; }
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::darkCyan);
    }
};

class PanelWindowTest : public PanelTest {
protected:
    bool waitShown(bool visible) {
        return test::waitUntil([&] { return panel->isVisible() == visible; }, 3000);
    }
    QRect screen() const { return QGuiApplication::primaryScreen()->geometry(); }
};

TEST(PanelPlacementTest, UnderAShellButtonEightPixelsBelowItsBottomCentredOnIt) {
    const QRect screen(0, 0, 1280, 800);
    // A button of the top bar, as the shell reports it: the bar's rows, the button's columns.
    EXPECT_EQ(PanelWindow::placementUnder(QRect(1000, 0, 90, 32), screen),
              QRect(1045 - 180, 32 + 8, 360, 500));
}

TEST(PanelPlacementTest, AboveAShellButtonInTheLowerHalf) {
    const QRect screen(0, 0, 1280, 800);
    const QRect panel = PanelWindow::placementUnder(QRect(600, 768, 80, 32), screen);
    EXPECT_EQ(panel.bottom() + 1, 768 - 8);
    EXPECT_EQ(panel.left(), 640 - 180);
}

TEST(PanelPlacementTest, UnderAShellButtonNearTheRightEdgeTheOverhangIsNotCorrected) {
    const QRect screen(0, 0, 1280, 800);
    EXPECT_EQ(PanelWindow::placementUnder(QRect(1240, 0, 40, 32), screen).right(), 1260 + 180 - 1);
}

TEST_F(PanelWindowTest, NoWindowUntilThePanelIsFirstShown) {
    start();
    for (QWindow* window : QGuiApplication::allWindows()) {
        EXPECT_EQ(qobject_cast<QQuickWindow*>(window), nullptr);
    }
    EXPECT_FALSE(panel->isVisible());
}

TEST_F(PanelWindowTest, IsAFramelessUtilityWindowAboveOthersAndOutOfTaskBarsAndPagers) {
    start();
    QQuickWindow* window = panel->window();
    EXPECT_TRUE(window->flags().testFlag(Qt::FramelessWindowHint));
    EXPECT_EQ(window->color().alpha(), 0);
    EXPECT_EQ(window->format().alphaBufferSize(), 8);
    EXPECT_EQ(window->rendererInterface()->graphicsApi(), QSGRendererInterface::Software);
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    const QString properties = xprop(*window);
    EXPECT_TRUE(properties.contains(QStringLiteral("_NET_WM_STATE_ABOVE")))
        << properties.toStdString();
    EXPECT_TRUE(properties.contains(QStringLiteral("_NET_WM_STATE_SKIP_TASKBAR")));
    EXPECT_TRUE(properties.contains(QStringLiteral("_NET_WM_STATE_SKIP_PAGER")));
    EXPECT_TRUE(properties.contains(QStringLiteral("_NET_WM_WINDOW_TYPE_UTILITY")));
    // Neither the KDE-only state nor a transient parent that is never shown: window managers
    // warn about both.
    EXPECT_FALSE(properties.contains(QStringLiteral("STAYS_ON_TOP")));
    EXPECT_TRUE(properties.contains(QStringLiteral("WM_TRANSIENT_FOR:  not found")));
}

TEST_F(PanelWindowTest, WithoutACompositorTheWindowIsThePanelAloneWithRoundedCorners) {
    start();
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    QQuickWindow* window = panel->window();
    EXPECT_EQ(window->geometry(), panel->panelGeometry());
    EXPECT_EQ(window->geometry().size(), QSize(360, 500));
    EXPECT_EQ(panel->currentMargin(), 0);
    // The corners are cut away, the middle kept.
    const QRegion shape = window->mask();
    EXPECT_FALSE(shape.contains(QPoint(0, 0)));
    EXPECT_FALSE(shape.contains(QPoint(359, 499)));
    EXPECT_TRUE(shape.contains(QPoint(180, 250)));
    EXPECT_TRUE(shape.contains(QPoint(180, 0)));
    EXPECT_FALSE(xprop(*window).contains(QStringLiteral("_GTK_FRAME_EXTENTS(CARDINAL)")));
    test::spin(300);
    EXPECT_TRUE(QGuiApplication::primaryScreen()
                    ->grabWindow(0, 780 - 10, 0, 360 + 20, 520)
                    .save(test::screenshotFolder() + QStringLiteral("/panel-no-compositor.png")));
}

TEST_F(PanelWindowTest, WithACompositorTheShadowMarginIsTheWindowsOwnAndNotPlaced) {
    start();
    const FakeCompositor compositor;
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    QQuickWindow* window = panel->window();
    EXPECT_EQ(panel->currentMargin(), PanelWindow::shadowMargin);
    // The visible panel is where it would be without the margin.
    EXPECT_EQ(panel->panelGeometry(), QRect(960 - 180, 18, 360, 500));
    EXPECT_EQ(window->geometry().size(), QSize(408, 548));
    EXPECT_TRUE(window->mask().isEmpty());
    EXPECT_TRUE(
        xprop(*window).contains(QStringLiteral("_GTK_FRAME_EXTENTS(CARDINAL) = 24, 24, 24, 24")));
    EXPECT_EQ(window->property("shadowMargin").toInt(), 24);
}

TEST_F(PanelWindowTest, WithACompositorAClickOnTheShadowReachesTheWindowUnderIt) {
    start();
    const FakeCompositor compositor;
    PressCounter under;
    under.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    // Lies under the shadow below the panel, which is placed at (780, 18) and 500 px high.
    under.setGeometry(700, 520, 520, 40);
    under.show();
    ASSERT_TRUE(test::waitUntil([&] { return under.isExposed(); }));
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    test::spin(200);
    const QRect inside = panel->panelGeometry();
    const QPoint onShadow(inside.center().x(), inside.bottom() + 12);
    ASSERT_TRUE(panel->window()->geometry().contains(onShadow));
    xdotoolClick(onShadow);
    // The click closes the panel as any click outside does, and reaches the window under it.
    ASSERT_TRUE(waitShown(false));
    ASSERT_TRUE(test::waitUntil([&] { return under.presses == 1; }));
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
    // A second report of the click that hid it (waybar sends one for a double click) keeps it
    // hidden; a click after the grace period shows it again.
    panel->toggleAt(QPoint(960, 10));
    EXPECT_FALSE(panel->isVisible());
    test::spin(PanelWindow::toggleGraceMs + 50);
    panel->toggleAt(QPoint(960, 10));
    EXPECT_TRUE(waitShown(true));
}

TEST_F(PanelWindowTest, ToggleUnderAButtonShowsItThereAndHidesItAgain) {
    start();
    panel->toggleUnder(QRect(1000, 0, 90, 32));
    ASSERT_TRUE(waitShown(true));
    EXPECT_EQ(panel->panelGeometry(), QRect(1045 - 180, 40, 360, 500));
    panel->toggleUnder(QRect(1000, 0, 90, 32));
    EXPECT_FALSE(panel->isVisible());
    panel->toggleUnder(QRect(1000, 0, 90, 32));
    EXPECT_FALSE(panel->isVisible());
    test::spin(PanelWindow::toggleGraceMs + 50);
    panel->showUnder(QRect(400, 0, 60, 32));
    ASSERT_TRUE(waitShown(true));
    EXPECT_EQ(panel->panelGeometry().topLeft(), QPoint(430 - 180, 40));
}

TEST_F(PanelWindowTest, APressTheShellSawOutsideHidesAndOneOnThePanelDoesNot) {
    start();
    panel->showUnder(QRect(1000, 0, 90, 32));
    ASSERT_TRUE(waitShown(true));
    const QRect shown = panel->panelGeometry();
    panel->pressedAt(shown.center());
    panel->pressedAt(shown.topLeft());
    EXPECT_TRUE(panel->isVisible());
    // On the top bar, beside the button: the press closes the panel, and the button's toggle for
    // that same press keeps it closed.
    panel->pressedAt(QPoint(200, 10));
    EXPECT_FALSE(panel->isVisible());
    panel->toggleUnder(QRect(1000, 0, 90, 32));
    EXPECT_FALSE(panel->isVisible());
    // Presses while it is hidden change nothing.
    panel->pressedAt(QPoint(200, 10));
    EXPECT_FALSE(panel->isVisible());
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

TEST_F(PanelWindowTest, OutsideClickStillReachesTheWindowUnderIt) {
    start();
    PressCounter other;
    // A window that never takes the focus, like a desktop or a top bar: the panel does not lose
    // activation, only the press itself can tell.
    other.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    other.setGeometry(100, 600, 200, 200);
    other.show();
    ASSERT_TRUE(test::waitUntil([&] { return other.isExposed(); }));
    panel->toggleAt(QPoint(960, 10));
    ASSERT_TRUE(waitShown(true));
    test::spin(200);
    xdotoolClick(QPoint(200, 700));
    ASSERT_TRUE(waitShown(false));
    // No grab swallowed it: the click arrived where it was aimed.
    ASSERT_TRUE(test::waitUntil([&] { return other.presses == 1; }));
}

TEST_F(PanelWindowTest, ClickJustBesideThePanelCountsAsOutside) {
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
