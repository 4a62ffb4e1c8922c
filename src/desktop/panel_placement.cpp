#include "desktop/panel_placement.h"

#include <algorithm>

namespace quillon {

QRect panelPlacement(QPoint anchor, const ScreenArea& screen, QSize size, int barDrawnInside) {
    const QRect& whole = screen.geometry;
    const QRect& free = screen.available;
    const int left = anchor.x() - size.width() / 2;
    const bool barKnown = free != whole;
    const bool barAtTop = anchor.y() < whole.center().y();
    int top = 0;
    if (barAtTop) {
        top = (barKnown ? free.top() + barDrawnInside : anchor.y()) + panelBarGap;
    } else {
        const int edge = barKnown ? free.bottom() + 1 - barDrawnInside : anchor.y();
        top = edge - panelBarGap - size.height();
    }
    if (!barKnown && whole.isValid()) {
        // An anchor that stands in for a bar may lie anywhere; the panel's header stays in view.
        top = std::max(whole.top(), std::min(top, whole.bottom() + 1 - size.height()));
    }
    return {QPoint(left, top), size};
}

ScreenArea screenForAnchor(QPoint anchor, const QList<ScreenArea>& screens) {
    if (const ScreenArea* screen = screenAreaAt(anchor, screens)) {
        return *screen;
    }
    return screens.isEmpty() ? ScreenArea{} : screens.first();
}

} // namespace quillon
