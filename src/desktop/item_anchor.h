#pragma once

#include "desktop/desktop_hosts.h"
#include "desktop/screen_areas.h"

#include <QList>
#include <QPoint>
#include <QRect>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillon {

// Where the item sits, for placing the panel under it. Hosts differ in what they tell: most
// send the click's point with Activate, MATE's notification area sends (0, y), waybar a point
// relative to its icon, GNOME's menu nothing at all; on X11 the pointer is where the click was,
// while under XWayland it stays wherever it last crossed an X11 window. Where the pointer cannot
// be trusted, the menu's opening also starts a lookup of where the shell draws the item
// (Environment::locate), and a command from the menu waits for its answer. The rule:
//
//  1. A reported point counts when it lies on a screen but not on its outermost row or column
//     (no item is centred there; (0, y) is a placeholder), and, unless the host's row in the
//     table of hosts (desktopHosts) says it passes the click's screen point, either within a bar
//     of that screen (the screen minus its free area, give or take a few pixels) or near the
//     pointer where the pointer can be trusted.
//  2. Otherwise the pointer, where it can be trusted: always on an X11 session, under XWayland
//     only when it lies within a bar.
//  3. Otherwise the last item position found by 1 or 2 (also remembered when the menu opens),
//     or by a lookup: the middle of the item's rectangle, when that lies within a bar.
//  4. Otherwise the middle of the bar's edge of the primary screen (the top edge where no bar
//     is known).
//
// A bar of a screen is what its free area leaves out (screenAreas): the window manager's work
// area, or, where that shows no bar on the screen (MATE's panel under marco), the X11 dock
// windows and windows that reserve a screen edge, each lying along an edge of the screen.
//
// The panel is then placed against the bar of the anchor's screen (panelPlacement).
class ItemAnchor {
public:
    struct Environment {
        std::function<QList<ScreenArea>()> screens;
        // The pointer, and whether it follows every click (an X11 session: true; XWayland:
        // false, it is stale over the compositor's own surfaces).
        std::function<QPoint()> pointer;
        bool pointerFollowsClicks = true;
        // What the host's Activate carries.
        ActivatePoint activatePoint = ActivatePoint::checked;
        // Looks up where the shell draws the item and calls back once, within a bounded time,
        // with the item's rectangle on screen or with nothing. Unset where there is no such
        // source.
        using LocateCallback = std::function<void(std::optional<QRect>)>;
        std::function<void(LocateCallback)> locate;
    };

    // How far around a bar, and around the pointer, a point still counts.
    static constexpr int barSlack = 4;
    static constexpr int pointerSlack = 24;

    // The screens, pointer and host of the running application; `itemTitle` is the name under
    // which a shell may list the item's button in its accessibility tree.
    static Environment systemEnvironment(const QString& itemTitle);

    explicit ItemAnchor(Environment environment);
    ~ItemAnchor();
    ItemAnchor(ItemAnchor&&) noexcept;
    ItemAnchor& operator=(ItemAnchor&&) noexcept;
    ItemAnchor(const ItemAnchor&) = delete;
    ItemAnchor& operator=(const ItemAnchor&) = delete;

    // The anchor for a click on the item that the host reported at `reported`.
    QPoint forClick(QPoint reported);
    // The menu is opening: the pointer is on the item if anywhere useful; where it cannot be
    // trusted, a lookup of the item starts (unless one is under way).
    void noteMenuOpened();
    // The anchor for a command chosen from the menu, which carries no point, as known now.
    QPoint forMenu();
    // The same, handed to `done` once a lookup under way has answered; at once when none is.
    void forMenu(std::function<void(QPoint)> done);
    // Whether a lookup of the item is under way.
    bool locating() const;
    std::optional<QPoint> lastItemPosition() const;
    // The last resort of the rule: the middle of the primary screen's bar edge.
    QPoint barEdge() const;

private:
    // Shared with the callback of a lookup, which may answer after the anchor has moved or gone.
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace quillon
