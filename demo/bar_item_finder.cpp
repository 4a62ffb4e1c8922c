#include "bar_item_finder.h"

#include "desktop/screen_areas.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

namespace quillon::demo {

namespace {

// A pixel counts as changed, or as drawn on the bar, above this brightness difference; a picture
// counts as seen before when no pixel of it differs by more than `sameLimit` (smoothing and
// blending shift a few levels).
constexpr int changeLimit = 8;
constexpr int sameLimit = 24;
// Drawn columns this close belong to one picture.
constexpr int pictureGap = 3;

int difference(QRgb a, QRgb b) {
    const int red = std::abs(qRed(a) - qRed(b));
    const int green = std::abs(qGreen(a) - qGreen(b));
    const int blue = std::abs(qBlue(a) - qBlue(b));
    return (299 * red + 587 * green + 114 * blue) / 1000;
}

QRgb at(const QImage& image, int x, int y) {
    return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
}

// The largest difference between the column strip [x, x + width) of `a` and the one at `bx` of `b`.
int stripDifference(const QImage& a, int x, const QImage& b, int bx, int width) {
    int largest = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int i = 0; i < width; ++i) {
            largest = std::max(largest, difference(at(a, x + i, y), at(b, bx + i, y)));
        }
    }
    return largest;
}

// The bar's own colour in each row: the most common one (bars may shade from top to bottom).
std::vector<QRgb> rowColours(const QImage& image) {
    std::vector<QRgb> colours;
    for (int y = 0; y < image.height(); ++y) {
        std::map<QRgb, int> counts;
        for (int x = 0; x < image.width(); ++x) {
            ++counts[at(image, x, y)];
        }
        colours.push_back(std::max_element(counts.begin(), counts.end(), [](auto& l, auto& r) {
                              return l.second < r.second;
                          })->first);
    }
    return colours;
}

bool drawn(const QImage& image, int x, int y, const std::vector<QRgb>& bar) {
    return difference(at(image, x, y), bar[static_cast<std::size_t>(y)]) > changeLimit;
}

// The pictures on the bar: runs of columns with something drawn in them.
std::vector<std::pair<int, int>> pictures(const QImage& image, const std::vector<QRgb>& bar) {
    std::vector<std::pair<int, int>> runs;
    for (int x = 0; x < image.width(); ++x) {
        bool any = false;
        for (int y = 0; y < image.height() && !any; ++y) {
            any = drawn(image, x, y, bar);
        }
        if (!any) {
            continue;
        }
        if (!runs.empty() && x - runs.back().second <= pictureGap) {
            runs.back().second = x + 1;
        } else {
            runs.emplace_back(x, x + 1);
        }
    }
    return runs;
}

bool changed(const QImage& before, const QImage& after, int x, int width) {
    return stripDifference(before, x, after, x, width) > changeLimit;
}

bool seenBefore(const QImage& before, const QImage& after, int x, int width) {
    for (int bx = 0; bx + width <= before.width(); ++bx) {
        if (stripDifference(after, x, before, bx, width) <= sameLimit) {
            return true;
        }
    }
    return false;
}

} // namespace

QRect newItemBox(const QImage& before, const QImage& after) {
    if (before.size() != after.size() || after.isNull()) {
        return {};
    }
    const QImage a = before.convertToFormat(QImage::Format_RGB32);
    const QImage b = after.convertToFormat(QImage::Format_RGB32);
    const std::vector<QRgb> bar = rowColours(a);
    QRect box;
    for (const auto& [start, end] : pictures(b, bar)) {
        if (!changed(a, b, start, end - start) || seenBefore(a, b, start, end - start)) {
            continue;
        }
        for (int y = 0; y < b.height(); ++y) {
            for (int x = start; x < end; ++x) {
                if (drawn(b, x, y, bar)) {
                    box |= QRect(x, y, 1, 1);
                }
            }
        }
    }
    return box;
}

BarItemFinder::BarItemFinder() {
    const QList<ScreenArea> screens = screenAreas();
    if (screens.isEmpty()) {
        return;
    }
    const QRect whole = screens.first().geometry;
    const QRect free = screens.first().available;
    if (free.top() > whole.top()) {
        bar_ = QRect(whole.left(), whole.top(), whole.width(), free.top() - whole.top());
    } else if (free.bottom() < whole.bottom()) {
        bar_ =
            QRect(whole.left(), free.bottom() + 1, whole.width(), whole.bottom() - free.bottom());
    }
    before_ = grabBar();
}

QImage BarItemFinder::grabBar() const {
    QScreen* screen = QGuiApplication::primaryScreen();
    if (bar_.isEmpty() || screen == nullptr) {
        return {};
    }
    const QRect local = bar_.translated(-screen->geometry().topLeft());
    return screen->grabWindow(0, local.x(), local.y(), local.width(), local.height()).toImage();
}

std::optional<QPoint> BarItemFinder::look() {
    if (before_.isNull() || (sincePrevious_.isValid() && sincePrevious_.elapsed() < 250)) {
        return std::nullopt;
    }
    sincePrevious_.start();
    const QImage now = grabBar();
    const bool still = now == previous_;
    previous_ = now;
    const QRect box = newItemBox(before_, now);
    // The host has finished drawing the item when its picture stood still between two looks.
    if (box.isEmpty() || !still) {
        return std::nullopt;
    }
    return bar_.topLeft() + box.center();
}

} // namespace quillon::demo
