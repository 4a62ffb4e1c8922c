#include "tray/item_anchor.h"

#include <QCursor>
#include <QGuiApplication>

#include <cstdlib>

namespace quillon {

ItemAnchor::Environment ItemAnchor::systemEnvironment() {
    Environment environment;
    environment.screens = [] { return screenAreas(); };
    environment.pointer = [] { return QCursor::pos(); };
    environment.pointerFollowsClicks = QGuiApplication::platformName() == QLatin1String("xcb") &&
                                       qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    return environment;
}

ItemAnchor::ItemAnchor(Environment environment) : environment_(std::move(environment)) {}

bool ItemAnchor::inBar(QPoint point, const QList<ScreenArea>& screens) const {
    const ScreenArea* screen = screenAreaAt(point, screens);
    if (screen == nullptr || screen->available == screen->geometry) {
        return false;
    }
    const QRect free = screen->available.adjusted(barSlack, barSlack, -barSlack, -barSlack)
                           .intersected(screen->geometry);
    return !free.contains(point);
}

std::optional<QPoint> ItemAnchor::trustedPointer(const QList<ScreenArea>& screens) const {
    if (!environment_.pointer) {
        return std::nullopt;
    }
    const QPoint pointer = environment_.pointer();
    if (screenAreaAt(pointer, screens) == nullptr) {
        return std::nullopt;
    }
    if (environment_.pointerFollowsClicks || inBar(pointer, screens)) {
        return pointer;
    }
    return std::nullopt;
}

QPoint ItemAnchor::barEdge() const {
    return barEdge(environment_.screens());
}

QPoint ItemAnchor::barEdge(const QList<ScreenArea>& screens) {
    if (screens.isEmpty()) {
        return {};
    }
    const ScreenArea& screen = screens.first();
    const int x = screen.geometry.left() + screen.geometry.width() / 2;
    if (screen.available.bottom() < screen.geometry.bottom() &&
        screen.available.top() == screen.geometry.top()) {
        return {x, screen.available.bottom()};
    }
    return {x, screen.available.top()};
}

QPoint ItemAnchor::forClick(QPoint reported) {
    const QList<ScreenArea> screens = environment_.screens();
    const std::optional<QPoint> pointer = trustedPointer(screens);
    if (const ScreenArea* screen = screenAreaAt(reported, screens)) {
        const QRect& area = screen->geometry;
        const bool onOuterEdge = reported.x() == area.left() || reported.x() == area.right() ||
                                 reported.y() == area.top() || reported.y() == area.bottom();
        const bool nearPointer = pointer && std::abs(reported.x() - pointer->x()) <= pointerSlack &&
                                 std::abs(reported.y() - pointer->y()) <= pointerSlack;
        if (!onOuterEdge && (inBar(reported, screens) || nearPointer)) {
            last_ = reported;
            return reported;
        }
    }
    if (pointer) {
        last_ = pointer;
        return *pointer;
    }
    return last_ ? *last_ : barEdge(screens);
}

void ItemAnchor::noteMenuOpened() {
    const QList<ScreenArea> screens = environment_.screens();
    // The click that opened the menu was on the item; under XWayland the pointer counts only
    // within a bar.
    if (const auto pointer = trustedPointer(screens)) {
        last_ = pointer;
    }
}

QPoint ItemAnchor::forMenu() {
    const QList<ScreenArea> screens = environment_.screens();
    if (last_) {
        return *last_;
    }
    if (const auto pointer = trustedPointer(screens)) {
        return *pointer;
    }
    return barEdge(screens);
}

} // namespace quillon
