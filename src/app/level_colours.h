#pragma once

#include "model/usage_level.h"

#include <QColor>

namespace quillon {

// The colours of the usage levels, shared by the panel's bars and gauges and the tray icon's
// figures, so that a figure looks the same wherever it is drawn. The dark variant is brighter,
// to stand out from a dark background.
struct LevelColours {
    QColor red;
    QColor orange;
    QColor yellow;
    QColor green;
};

inline LevelColours levelColours(bool dark) {
    const auto colour = [dark](UsageLevel level) {
        const Rgb rgb = levelRgb(level, dark);
        return QColor(rgb.red, rgb.green, rgb.blue);
    };
    return {colour(UsageLevel::red), colour(UsageLevel::orange), colour(UsageLevel::yellow),
            colour(UsageLevel::green)};
}

} // namespace quillon
