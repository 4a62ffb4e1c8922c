#include "desktop/item_anchor.h"

#include "desktop/accessible_item_finder.h"

#include <QCursor>
#include <QGuiApplication>

#include <cstdlib>
#include <utility>

namespace quillon {
namespace {

bool inBar(QPoint point, const QList<ScreenArea>& screens) {
    const ScreenArea* screen = screenAreaAt(point, screens);
    if (screen == nullptr || screen->available == screen->geometry) {
        return false;
    }
    const QRect free = screen->available
                           .adjusted(ItemAnchor::barSlack, ItemAnchor::barSlack,
                                     -ItemAnchor::barSlack, -ItemAnchor::barSlack)
                           .intersected(screen->geometry);
    return !free.contains(point);
}

// No item is centred on a screen's outermost row or column; (0, y) is a placeholder.
bool onOuterEdge(QPoint point, const ScreenArea& screen) {
    const QRect& area = screen.geometry;
    return point.x() == area.left() || point.x() == area.right() || point.y() == area.top() ||
           point.y() == area.bottom();
}

QPoint barEdgeOf(const QList<ScreenArea>& screens) {
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

} // namespace

struct ItemAnchor::State : std::enable_shared_from_this<State> {
    explicit State(Environment environment) : environment(std::move(environment)) {}

    std::optional<QPoint> trustedPointer(const QList<ScreenArea>& screens) const {
        if (!environment.pointer) {
            return std::nullopt;
        }
        const QPoint pointer = environment.pointer();
        if (screenAreaAt(pointer, screens) == nullptr) {
            return std::nullopt;
        }
        if (environment.pointerFollowsClicks || inBar(pointer, screens)) {
            return pointer;
        }
        return std::nullopt;
    }

    QPoint forMenu() const {
        const QList<ScreenArea> screens = environment.screens();
        if (last) {
            return *last;
        }
        if (const auto pointer = trustedPointer(screens)) {
            return *pointer;
        }
        return barEdgeOf(screens);
    }

    // Starts a lookup of the item unless one is under way or none is possible.
    void locate() {
        if (!environment.locate || locating) {
            return;
        }
        locating = true;
        std::weak_ptr<State> weak = weak_from_this();
        environment.locate([weak](std::optional<QRect> item) {
            if (const auto alive = weak.lock()) {
                alive->located(item);
            }
        });
    }

    void located(std::optional<QRect> item) {
        locating = false;
        if (item && item->isValid()) {
            const QList<ScreenArea> screens = environment.screens();
            const QPoint centre = item->center();
            const ScreenArea* screen = screenAreaAt(centre, screens);
            if (screen != nullptr && !onOuterEdge(centre, *screen) && inBar(centre, screens)) {
                last = centre;
            }
        }
        const QPoint anchor = forMenu();
        // A callback may ask for the anchor again; it then finds the list empty.
        auto done = std::exchange(waiting, {});
        for (const auto& callback : done) {
            callback(anchor);
        }
    }

    Environment environment;
    std::optional<QPoint> last;
    bool locating = false;
    std::vector<std::function<void(QPoint)>> waiting;
};

ItemAnchor::Environment ItemAnchor::systemEnvironment(const QString& itemTitle) {
    const DesktopHost& host = sessionHost();
    Environment environment;
    environment.activatePoint = host.activatePoint;
    environment.screens = [] { return screenAreas(); };
    environment.pointer = [] { return QCursor::pos(); };
    environment.pointerFollowsClicks = QGuiApplication::platformName() == QLatin1String("xcb") &&
                                       qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (!environment.pointerFollowsClicks && host.findItemInShell) {
        // The shell's accessibility tree names the item's button after the item's title.
        auto finder = std::make_shared<AccessibleItemFinder>(itemTitle);
        environment.locate = [finder](const Environment::LocateCallback& done) {
            finder->find(done);
        };
    }
    return environment;
}

ItemAnchor::ItemAnchor(Environment environment)
    : state_(std::make_shared<State>(std::move(environment))) {}

ItemAnchor::~ItemAnchor() = default;
ItemAnchor::ItemAnchor(ItemAnchor&&) noexcept = default;
ItemAnchor& ItemAnchor::operator=(ItemAnchor&&) noexcept = default;

QPoint ItemAnchor::barEdge() const {
    return barEdgeOf(state_->environment.screens());
}

QPoint ItemAnchor::forClick(QPoint reported) {
    State& state = *state_;
    const QList<ScreenArea> screens = state.environment.screens();
    const std::optional<QPoint> pointer = state.trustedPointer(screens);
    if (const ScreenArea* screen = screenAreaAt(reported, screens)) {
        const bool nearPointer = pointer && std::abs(reported.x() - pointer->x()) <= pointerSlack &&
                                 std::abs(reported.y() - pointer->y()) <= pointerSlack;
        const bool screenPoint = state.environment.activatePoint == ActivatePoint::screen;
        if (!onOuterEdge(reported, *screen) &&
            (screenPoint || inBar(reported, screens) || nearPointer)) {
            state.last = reported;
            return reported;
        }
    }
    if (pointer) {
        state.last = pointer;
        return *pointer;
    }
    return state.last ? *state.last : barEdgeOf(screens);
}

void ItemAnchor::noteMenuOpened() {
    State& state = *state_;
    // The click that opened the menu was on the item; under XWayland the pointer counts only
    // within a bar.
    if (const auto pointer = state.trustedPointer(state.environment.screens())) {
        state.last = pointer;
        return;
    }
    state.locate();
}

QPoint ItemAnchor::forMenu() {
    return state_->forMenu();
}

void ItemAnchor::forMenu(std::function<void(QPoint)> done) {
    State& state = *state_;
    // A host that did not say the menu was opening: nothing is known yet, so look now.
    if (!state.last && !state.trustedPointer(state.environment.screens())) {
        state.locate();
    }
    if (state.locating) {
        state.waiting.push_back(std::move(done));
        return;
    }
    done(state.forMenu());
}

bool ItemAnchor::locating() const {
    return state_->locating;
}

std::optional<QPoint> ItemAnchor::lastItemPosition() const {
    return state_->last;
}

} // namespace quillon
