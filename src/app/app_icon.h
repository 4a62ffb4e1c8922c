#pragma once

#include <QIcon>
#include <QImage>

namespace quillon {

// The application's own picture, a gauge: a red disc, a white arc open at the top, a needle
// pointing down and to the right, and a white hub. Drawn at any side length `size` (pixels) on a
// transparent square.
QImage generatePlaceholderAppIcon(int size);

// The same drawing as an icon that renders each requested size afresh, so it stays sharp at
// every size without drawing any of them before they are needed.
QIcon appIcon();

} // namespace quillon
