#pragma once

#include <QList>
#include <QPoint>
#include <QRect>

namespace quillon {

// One screen: its whole area and the part that the desktop's bars leave free.
struct ScreenArea {
    QRect geometry;
    QRect available;
};

// What the bars in `bars` (root coordinates) leave free of `screen`. A bar is a window that lies
// along one of the screen's edges, touching it, longer along the edge than across and thinner
// than half the screen; it takes its strip off that edge. Anything else (a window in the middle,
// a desktop window as large as the screen, a bar of another screen) takes nothing.
QRect areaLeftByBars(QRect screen, const QList<QRect>& bars);

// Of sway's work areas (sway::workAreas), the one that lies on `screen`; the whole screen where
// none does or the one that does is the whole screen.
QRect areaLeftBySway(QRect screen, const QList<QRect>& workAreas);

// Every screen, the primary first. The free part is what the window manager reports (its work
// area); on a screen where that shows no bar at all, as some window managers leave it for bars
// that reserve no space or whose reservation they ignore, it is what sway leaves its workspace
// there (its bars are Wayland surfaces that X11 clients cannot see), else what Plasma's shell
// leaves free there (plasma::availableScreenRect: on its Wayland session the same holds of its
// panels), else what the X11 bar windows leave (x11::barWindows).
QList<ScreenArea> screenAreas();

// The screen of `screens` that holds `point`, or null.
const ScreenArea* screenAreaAt(QPoint point, const QList<ScreenArea>& screens);

} // namespace quillon
