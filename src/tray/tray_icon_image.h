#pragma once

#include "model/usage_data.h"

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QList>

#include <cstdint>
#include <optional>

namespace quillon {

// The two five-hour figures the panel icon shows; a provider without figures is absent.
struct TrayFigures {
    std::optional<std::int64_t> claude;
    std::optional<std::int64_t> codex;

    bool any() const { return claude.has_value() || codex.has_value(); }
    bool operator==(const TrayFigures&) const = default;
};

TrayFigures trayFigures(const std::optional<UsageData>& claude,
                        const std::optional<UsageData>& codex);

// The sides (pixels) the icon is drawn at for the panels: the common bar sizes and two for
// scaled screens.
inline constexpr int trayIconSides[] = {16, 22, 24, 32, 48};

// The colour of a usage level, as the panel's bars colour it: green, yellow from 50 %, orange
// from 75 %, red from 90 %.
QColor usageLevelColor(std::int64_t percent);

// Two horizontal bars, Claude above Codex, each filled to its percent in its level colour over
// a grey track; an absent provider is an empty track. A square of `side` pixels.
QImage trayFiguresImage(const TrayFigures& figures, int side);

// The idle gauge (the themed symbolic icon) drawn in a light grey that reads on dark and on
// light bars.
QImage symbolicGaugeImage(int side);

// The figures where there are any, else the idle gauge, at every side of trayIconSides.
QList<QImage> trayIconImages(const TrayFigures& figures);
QIcon trayIcon(const TrayFigures& figures);

} // namespace quillon
