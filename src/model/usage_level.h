#pragma once

#include <cstdint>

namespace quillon {

// How full a window looks: the panel's bars and gauges, the tray's figures and the terminal's
// status line use the same steps, so that a figure reads the same wherever it is shown.
enum class UsageLevel { green, yellow, orange, red };

// 90 % and more (or a negative figure, which only a broken reply gives) is red, 75 % orange,
// 50 % yellow, anything lower green.
constexpr UsageLevel usageLevel(std::int64_t percent) {
    if (percent >= 90 || percent < 0) {
        return UsageLevel::red;
    }
    if (percent >= 75) {
        return UsageLevel::orange;
    }
    if (percent >= 50) {
        return UsageLevel::yellow;
    }
    return UsageLevel::green;
}

struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

// The colour of each level. The dark variant is brighter, to stand out from a dark background.
constexpr Rgb levelRgb(UsageLevel level, bool dark) {
    switch (level) {
    case UsageLevel::red:
        return dark ? Rgb{0xff, 0x55, 0x4a} : Rgb{0xee, 0x3b, 0x30};
    case UsageLevel::orange:
        return dark ? Rgb{0xff, 0xa1, 0x1a} : Rgb{0xf5, 0x8a, 0x00};
    case UsageLevel::yellow:
        return dark ? Rgb{0xff, 0xd4, 0x26} : Rgb{0xf2, 0xc0, 0x00};
    case UsageLevel::green:
        return dark ? Rgb{0x3a, 0xd1, 0x63} : Rgb{0x2f, 0xb8, 0x51};
    }
    return {};
}

} // namespace quillon
