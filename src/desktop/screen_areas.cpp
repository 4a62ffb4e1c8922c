#include "desktop/screen_areas.h"

#include "desktop/plasma_shell.h"
#include "desktop/sway_ipc.h"
#include "desktop/x11_display.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <optional>

namespace quillon {

QRect areaLeftByBars(QRect screen, const QList<QRect>& bars) {
    QRect free = screen;
    for (const QRect& bar : bars) {
        const QRect part = bar.intersected(screen);
        if (part.isEmpty()) {
            continue;
        }
        if (part.width() > part.height() && part.height() < screen.height() / 2) {
            if (part.top() == screen.top()) {
                free.setTop(std::max(free.top(), part.bottom() + 1));
            } else if (part.bottom() == screen.bottom()) {
                free.setBottom(std::min(free.bottom(), part.top() - 1));
            }
        } else if (part.height() > part.width() && part.width() < screen.width() / 2) {
            if (part.left() == screen.left()) {
                free.setLeft(std::max(free.left(), part.right() + 1));
            } else if (part.right() == screen.right()) {
                free.setRight(std::min(free.right(), part.left() - 1));
            }
        }
    }
    return free;
}

QRect areaLeftBySway(QRect screen, const QList<QRect>& workAreas) {
    for (const QRect& area : workAreas) {
        if (screen.contains(area) && area != screen) {
            return area;
        }
    }
    return screen;
}

QList<ScreenArea> screenAreas() {
    QList<QScreen*> screens = QGuiApplication::screens();
    if (QScreen* primary = QGuiApplication::primaryScreen()) {
        screens.removeOne(primary);
        screens.prepend(primary);
    }
    // Asked of sway and of the X server once, and only where the work area shows no bar.
    std::optional<QList<QRect>> swayAreas;
    std::optional<QList<QRect>> bars;
    QList<ScreenArea> areas;
    for (const QScreen* screen : screens) {
        ScreenArea area{.geometry = screen->geometry(), .available = screen->availableGeometry()};
        if (area.available == area.geometry) {
            if (!swayAreas) {
                swayAreas = sway::workAreas();
            }
            area.available = areaLeftBySway(area.geometry, *swayAreas);
        }
        if (area.available == area.geometry) {
            // Plasma's shell answers like sway: with the screen's free area, or nothing.
            area.available =
                areaLeftBySway(area.geometry, {plasma::availableScreenRect(screen->name())});
        }
        if (area.available == area.geometry) {
            if (!bars) {
                bars = x11::barWindows();
            }
            area.available = areaLeftByBars(area.geometry, *bars);
        }
        areas.append(area);
    }
    return areas;
}

const ScreenArea* screenAreaAt(QPoint point, const QList<ScreenArea>& screens) {
    const auto found = std::find_if(screens.begin(), screens.end(), [point](const ScreenArea& s) {
        return s.geometry.contains(point);
    });
    return found != screens.end() ? &*found : nullptr;
}

} // namespace quillon
