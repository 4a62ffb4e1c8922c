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

inline QColor levelColour(UsageLevel level, bool dark) {
    const Rgb rgb = levelRgb(level, dark);
    return {rgb.red, rgb.green, rgb.blue};
}

inline LevelColours levelColours(bool dark) {
    return {levelColour(UsageLevel::red, dark), levelColour(UsageLevel::orange, dark),
            levelColour(UsageLevel::yellow, dark), levelColour(UsageLevel::green, dark)};
}

} // namespace quillon
