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

// Every screen, the primary first. The free part is what the window manager reports (its work
// area); on a screen where that shows no bar at all, as some window managers leave it for bars
// that reserve no space or whose reservation they ignore, it is what the X11 bar windows leave
// (x11::barWindows).
QList<ScreenArea> screenAreas();

// The screen of `screens` that holds `point`, or null.
const ScreenArea* screenAreaAt(QPoint point, const QList<ScreenArea>& screens);

} // namespace quillon
