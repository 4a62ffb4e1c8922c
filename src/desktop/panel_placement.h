#pragma once

#include "desktop/screen_areas.h"

#include <QPoint>
#include <QRect>
#include <QSize>

namespace quillon {

// Space between the panel and the bar (or the anchor, where no bar is known).
constexpr int panelBarGap = 8;

// Where the visible panel of `size` goes for an anchor on `screen`: centred on the anchor and not
// moved sideways, even where that takes it past the screen's left or right edge. With the anchor
// in the screen's upper half (a top bar) its top edge goes 8 px below the bar's visible edge, in
// the lower half (a bottom bar) its bottom edge 8 px above it. The bar's visible edge is the free
// area's edge, moved `barDrawnInside` px into the free area for a bar drawn off the screen's edge
// (a floating panel). A screen whose free area is the whole screen has no known bar: the anchor
// stands in for the bar's edge, and the panel is then kept within the screen's height.
QRect panelPlacement(QPoint anchor, const ScreenArea& screen, QSize size, int barDrawnInside = 0);

// The screen of `screens` that holds `anchor`, else the first (the primary), else none.
ScreenArea screenForAnchor(QPoint anchor, const QList<ScreenArea>& screens);

} // namespace quillon
