// The panel under the window manager that wlroots' compositors run for XWayland, which centres
// every managed window: here a stand-in names itself as that manager on the test's own display.
#include "panel_fixture.h"

#include <QProcess>
#include <QRasterWindow>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace quillon {
namespace {

using test::PanelTest;

xcb_atom_t atom(xcb_connection_t* c, const char* name) {
    auto* reply = xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
    const xcb_atom_t result = reply->atom;
    std::free(reply);
    return result;
}

void sync(xcb_connection_t* c) {
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
}

// Announces a window manager by that name the way managers do (_NET_SUPPORTING_WM_CHECK on the
// root window, _NET_WM_NAME on the check window), and withdraws it again.
class AnnouncedManager {
public:
    explicit AnnouncedManager(const char* name) : c_(xcb_connect(nullptr, nullptr)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c_)).data;
        root_ = screen->root;
        check_ = xcb_generate_id(c_);
        xcb_create_window(c_, XCB_COPY_FROM_PARENT, check_, root_, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, check_, atom(c_, "_NET_WM_NAME"),
                            atom(c_, "UTF8_STRING"), 8, static_cast<uint32_t>(std::strlen(name)),
                            name);
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, root_, atom(c_, "_NET_SUPPORTING_WM_CHECK"),
                            XCB_ATOM_WINDOW, 32, 1, &check_);
        sync(c_);
    }
    ~AnnouncedManager() {
        xcb_delete_property(c_, root_, atom(c_, "_NET_SUPPORTING_WM_CHECK"));
        sync(c_);
        xcb_disconnect(c_);
    }
    AnnouncedManager(const AnnouncedManager&) = delete;
    AnnouncedManager& operator=(const AnnouncedManager&) = delete;

    // Gives the input focus to that window, as the manager does when the compositor focuses it.
    void focus(xcb_window_t window) {
        xcb_set_input_focus(c_, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
        sync(c_);
    }

private:
    xcb_connection_t* c_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_window_t check_ = XCB_WINDOW_NONE;
};

bool overrideRedirect(const QWindow& window) {
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    auto* attributes = xcb_get_window_attributes_reply(
        c, xcb_get_window_attributes(c, static_cast<xcb_window_t>(window.winId())), nullptr);
    const bool result = attributes != nullptr && attributes->override_redirect != 0;
    std::free(attributes);
    xcb_disconnect(c);
    return result;
}

QString windowType(const QWindow& window) {
    QProcess process;
    process.start(QStringLiteral("xprop"), {QStringLiteral("-id"), QString::number(window.winId()),
                                            QStringLiteral("_NET_WM_WINDOW_TYPE")});
    EXPECT_TRUE(process.waitForFinished(5000));
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}

void xdotool(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    ASSERT_TRUE(process.waitForFinished(5000));
    ASSERT_EQ(process.exitCode(), 0);
}

// Another program's window that holds the input focus while the panel is open.
class FocusedWindow : public QRasterWindow {
protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::darkGreen);
    }
};

class PanelUnmanagedTest : public PanelTest {
protected:
    bool waitShown(bool visible) {
        return test::waitUntil([&] { return panel->isVisible() == visible; }, 3000);
    }
    // Opens the panel while `other` holds the focus, which it keeps: the manager hands it back.
    void openBeside(FocusedWindow& other, AnnouncedManager& manager) {
        other.setGeometry(40, 600, 200, 150);
        other.show();
        ASSERT_TRUE(test::waitUntil([&] { return other.isExposed(); }));
        manager.focus(static_cast<xcb_window_t>(other.winId()));
        panel->toggleAt(QPoint(960, 10));
        ASSERT_TRUE(waitShown(true));
        test::spin(200);
    }
};

TEST_F(PanelUnmanagedTest, BypassesTheManagerAndStandsWhereItIsPlaced) {
    const AnnouncedManager manager("wlroots wm");
    start();
    panel->toggleAt(QPoint(1500, 12));
    ASSERT_TRUE(waitShown(true));
    QQuickWindow* window = panel->window();
    EXPECT_TRUE(overrideRedirect(*window));
    // Not a utility window: the compositor gives the keyboard only to other types.
    EXPECT_FALSE(windowType(*window).contains(QStringLiteral("UTILITY")))
        << windowType(*window).toStdString();
    EXPECT_EQ(panel->panelGeometry(), QRect(1500 - 180, 20, 360, 500));
}

TEST_F(PanelUnmanagedTest, AnyOtherManagerKeepsManagingIt) {
    const AnnouncedManager manager("Xfwm4");
    start();
    panel->toggleAt(QPoint(1500, 12));
    ASSERT_TRUE(waitShown(true));
    EXPECT_FALSE(overrideRedirect(*panel->window()));
    EXPECT_TRUE(windowType(*panel->window()).contains(QStringLiteral("UTILITY")));
}

TEST_F(PanelUnmanagedTest, FollowsTheManagerThatRunsWhenItIsShown) {
    start();
    panel->toggleAt(QPoint(1500, 12));
    ASSERT_TRUE(waitShown(true));
    EXPECT_FALSE(overrideRedirect(*panel->window()));
    panel->toggleAt(QPoint(1500, 12));
    ASSERT_TRUE(waitShown(false));
    test::spin(PanelWindow::toggleGraceMs + 50);
    {
        // XWayland's manager may come up after the program first showed the panel.
        const AnnouncedManager manager("wlroots wm");
        panel->toggleAt(QPoint(1500, 12));
        ASSERT_TRUE(waitShown(true));
        EXPECT_TRUE(overrideRedirect(*panel->window()));
        panel->toggleAt(QPoint(1500, 12));
        ASSERT_TRUE(waitShown(false));
        test::spin(PanelWindow::toggleGraceMs + 50);
    }
    panel->toggleAt(QPoint(1500, 12));
    ASSERT_TRUE(waitShown(true));
    EXPECT_FALSE(overrideRedirect(*panel->window()));
    EXPECT_TRUE(windowType(*panel->window()).contains(QStringLiteral("UTILITY")));
}

TEST_F(PanelUnmanagedTest, EscapeHidesItWhileAnotherWindowHoldsTheFocus) {
    AnnouncedManager manager("wlroots wm");
    start();
    FocusedWindow other;
    openBeside(other, manager);
    xdotool({QStringLiteral("key"), QStringLiteral("Escape")});
    EXPECT_TRUE(waitShown(false));
}

TEST_F(PanelUnmanagedTest, OtherKeysLeaveItOpen) {
    AnnouncedManager manager("wlroots wm");
    start();
    FocusedWindow other;
    openBeside(other, manager);
    xdotool({QStringLiteral("key"), QStringLiteral("a")});
    test::spin(300);
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(PanelUnmanagedTest, TheFocusMovingElsewhereHidesIt) {
    AnnouncedManager manager("wlroots wm");
    start();
    FocusedWindow other;
    openBeside(other, manager);
    // The compositor focused a window of its own (or the desktop): the manager drops the focus.
    manager.focus(XCB_WINDOW_NONE);
    EXPECT_TRUE(waitShown(false));
    // That counts as a click outside: the item's report of the same click keeps it hidden.
    panel->toggleAt(QPoint(960, 10));
    EXPECT_FALSE(panel->isVisible());
}

} // namespace
} // namespace quillon
