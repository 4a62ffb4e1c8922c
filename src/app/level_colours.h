#pragma once

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
    if (dark) {
        return {QColor(0xff, 0x55, 0x4a), QColor(0xff, 0xa1, 0x1a), QColor(0xff, 0xd4, 0x26),
                QColor(0x3a, 0xd1, 0x63)};
    }
    return {QColor(0xee, 0x3b, 0x30), QColor(0xf5, 0x8a, 0x00), QColor(0xf2, 0xc0, 0x00),
            QColor(0x2f, 0xb8, 0x51)};
}

} // namespace quillon
