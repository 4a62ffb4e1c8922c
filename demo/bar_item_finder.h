#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QPoint>
#include <QRect>

#include <optional>

namespace quillon::demo {

// What is new in the bar's picture `after` against `before` (both of the same size): of the
// pictures drawn on the bar (runs of columns that differ from the bar's own colour), those that
// changed and appear nowhere in `before` (items that only moved aside do). The box is in the
// pictures' coordinates; empty when nothing new shows.
QRect newItemBox(const QImage& before, const QImage& after);

// Finds the demo's own item in the bar, so that its first panel opens where a click on the item
// would open it: the bar is pictured before the item is registered, and later again until a new
// picture in it stands still. Hosts tell a program nothing about where they draw its item, so
// the bar's picture is all there is; where the bar cannot be pictured (no bar known on the primary
// screen, or a compositor whose own surfaces the X server cannot read) nothing is found.
class BarItemFinder {
public:
    // Pictures the bar of the primary screen now, if it has one.
    BarItemFinder();

    // Looks at the bar again (at most every quarter second): the centre of the new item, in
    // screen coordinates, once its picture has stood still since the previous look.
    std::optional<QPoint> look();

private:
    QImage grabBar() const;

    QRect bar_;
    QImage before_;
    QImage previous_;
    QElapsedTimer sincePrevious_;
};

} // namespace quillon::demo
