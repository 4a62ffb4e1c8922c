#pragma once

#include "app/screen_areas.h"

#include <QList>
#include <QPoint>
#include <QRect>

#include <functional>
#include <optional>

namespace quillon {

// Where the item sits, for placing the panel under it. Hosts differ in what they tell: most
// send the click's point with Activate, MATE's notification area sends (0, y), waybar a point
// relative to itself, GNOME's menu nothing at all; on X11 the pointer is where the click was,
// while under XWayland it stays wherever it last crossed an X11 window. The rule:
//
//  1. A reported point counts when it lies on a screen but not on its outermost row or column
//     (no item is centred there; (0, y) is a placeholder), and either within a bar of that
//     screen (the screen minus its free area, give or take a few pixels) or near the pointer
//     where the pointer can be trusted.
//  2. Otherwise the pointer, where it can be trusted: always on an X11 session, under XWayland
//     only when it lies within a bar.
//  3. Otherwise the last item position found by 1 or 2 (also remembered when the menu opens).
//  4. Otherwise the middle of the bar's edge of the primary screen (the top edge where no bar
//     is known).
//
// A bar of a screen is what its free area leaves out (screenAreas): the window manager's work
// area, or, where that shows no bar on the screen (MATE's panel under marco), the X11 dock
// windows and windows that reserve a screen edge, each lying along an edge of the screen.
//
// The panel is then placed against the bar of the anchor's screen (PanelWindow::placement).
class ItemAnchor {
public:
    struct Environment {
        std::function<QList<ScreenArea>()> screens;
        // The pointer, and whether it follows every click (an X11 session: true; XWayland:
        // false, it is stale over the compositor's own surfaces).
        std::function<QPoint()> pointer;
        bool pointerFollowsClicks = true;
    };

    // How far around a bar, and around the pointer, a point still counts.
    static constexpr int barSlack = 4;
    static constexpr int pointerSlack = 24;

    // The screens and pointer of the running application.
    static Environment systemEnvironment();

    explicit ItemAnchor(Environment environment = systemEnvironment());

    // The anchor for a click on the item that the host reported at `reported`.
    QPoint forClick(QPoint reported);
    // The menu is opening: the pointer is on the item if anywhere useful.
    void noteMenuOpened();
    // The anchor for a command chosen from the menu, which carries no point.
    QPoint forMenu();
    std::optional<QPoint> lastItemPosition() const { return last_; }
    // The last resort of the rule: the middle of the primary screen's bar edge.
    QPoint barEdge() const;

private:
    bool inBar(QPoint point, const QList<ScreenArea>& screens) const;
    std::optional<QPoint> trustedPointer(const QList<ScreenArea>& screens) const;
    static QPoint barEdge(const QList<ScreenArea>& screens);

    Environment environment_;
    std::optional<QPoint> last_;
};

} // namespace quillon
