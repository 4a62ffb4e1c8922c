#include "panel/panel_window.h"

#include "app/app_state.h"
#include "app/auth_store.h"
#include "desktop/desktop_hosts.h"
#include "desktop/panel_placement.h"
#include "desktop/screen_areas.h"
#include "desktop/sway_ipc.h"
#include "desktop/x11_panel_support.h"
#include "model/fatal.h"
#include "panel/appearance.h"
#include "panel/panel_images.h"
#include "panel/qml_disk_cache.h"
#include "panel/view_helpers.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainterPath>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QSurfaceFormat>

#include <algorithm>

namespace quillon {
namespace {

const QUrl frameUrl(QStringLiteral("qrc:/views/PanelFrame.qml"));
constexpr int cornerRadius = 10;
// Qt's X11 window type for a utility window: kept above, out of the task bar, and, unlike a
// Qt::Tool window, with no WM_TRANSIENT_FOR pointing at a window that is never shown, which
// window managers reject.
constexpr int x11UtilityWindowType = 0x20;

} // namespace

PanelWindow::PanelWindow(AppState& appState, AuthStore& authStore, QObject* parent)
    : QObject(parent), appState_(appState), authStore_(authStore) {}

PanelWindow::~PanelWindow() {
    // The window's items refer to the engine's context; they go first.
    window_.reset();
    engine_.reset();
}

QRect PanelWindow::placementUnder(QRect item, QRect screenGeometry) {
    // The middle of the item's columns: QRect::center() rounds a width's half pixel down.
    const int left = item.x() + item.width() / 2 - panelWidth / 2;
    if (item.y() + item.height() / 2 < screenGeometry.center().y()) {
        return {left, item.bottom() + 1 + panelBarGap, panelWidth, panelHeight};
    }
    return {left, item.top() - panelBarGap - panelHeight, panelWidth, panelHeight};
}

QRect PanelWindow::panelGeometry() const {
    if (!window_) {
        return {};
    }
    const int margin = std::max(margin_, 0);
    return window_->geometry().adjusted(margin, margin, -margin, -margin);
}

QQuickWindow* PanelWindow::window() {
    ensureWindow();
    return window_.get();
}

void PanelWindow::ensureWindow() {
    if (window_) {
        return;
    }
    // A small panel needs no GPU context; the software back end also keeps memory down.
    // The choice is made once per process, before its first Qt Quick window.
    static const bool softwareChosen = [] {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        return true;
    }();
    (void)softwareChosen;

    keepQmlCacheInMemory();
    engine_ = std::make_unique<QQmlEngine>();
    engine_->addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
    engine_->addImageProvider(QStringLiteral("shadow"), new ShadowImageProvider);
    auto* context = engine_->rootContext();
    context->setContextProperty(QStringLiteral("appState"), &appState_);
    context->setContextProperty(QStringLiteral("authStore"), &authStore_);
    context->setContextProperty(QStringLiteral("views"),
                                new ViewHelpers(systemClock(), engine_.get()));
    context->setContextProperty(QStringLiteral("appearance"), new Appearance(engine_.get()));

    QQmlComponent component(engine_.get(), frameUrl);
    std::unique_ptr<QObject> root(component.create());
    auto* window = qobject_cast<QQuickWindow*>(root.get());
    if (window == nullptr) {
        // The views are compiled into the program, so this is a broken build, not bad input.
        fatal(component.errorString().toStdString());
    }
    (void)root.release(); // the window below now owns the root item
    window_.reset(window);

    QSurfaceFormat format = window_->format();
    format.setAlphaBufferSize(8);
    window_->setFormat(format);
    window_->setColor(Qt::transparent);
    applyManagement(x11::windowManagerIgnoresPositions());
    window_->installEventFilter(this);

    input_ = std::make_unique<x11::InputMonitor>();
    connect(input_.get(), &x11::InputMonitor::pressed, this, [this](QPoint at) {
        if (isVisible() && !panelGeometry().contains(at)) {
            hideOnOutsideClick();
        }
    });
    connect(input_.get(), &x11::InputMonitor::escapePressed, this, &PanelWindow::hide);
    swayFocus_ = std::make_unique<sway::FocusWatch>();
    connect(swayFocus_.get(), &sway::FocusWatch::focusMoved, this, [this] {
        if (isVisible()) {
            hideOnOutsideClick();
        }
    });
    connect(input_.get(), &x11::InputMonitor::focusMoved, this, [this] {
        if (isVisible()) {
            hideOnOutsideClick();
        }
    });

    connect(window_.get(), &QWindow::activeChanged, this, [this] {
        if (window_->isActive()) {
            wasActive_ = true;
        } else if (wasActive_ && window_->isVisible()) {
            // Another window took the focus: the same as a click outside.
            hideOnOutsideClick();
        }
    });
    connect(window_.get(), &QWindow::visibleChanged, this, &PanelWindow::visibleChanged);
}

void PanelWindow::toggleAt(QPoint anchor) {
    toggle([this, anchor] { showAt(anchor); });
}

void PanelWindow::toggleUnder(QRect item) {
    toggle([this, item] { showUnder(item); });
}

void PanelWindow::toggle(const std::function<void()>& show) {
    if (isVisible()) {
        sinceClickHide_.start();
        hide();
        return;
    }
    if (sinceClickHide_.isValid() && sinceClickHide_.elapsed() < toggleGraceMs) {
        // The click that hid the panel was on the tray item: it closes, it does not reopen,
        // whether the panel saw it first as a click outside or a host reports it twice (waybar
        // sends a second Activate for a click that GTK counts as the second of a double click).
        return;
    }
    show();
}

void PanelWindow::showAt(QPoint anchor) {
    showPlaced(panelPlacement(anchor, screenForAnchor(anchor, screenAreas()),
                              QSize(panelWidth, panelHeight), sessionHost().barDrawnInside));
}

void PanelWindow::showUnder(QRect item) {
    showPlaced(placementUnder(item, screenForAnchor(item.center(), screenAreas()).geometry));
}

void PanelWindow::pressedAt(QPoint point) {
    if (isVisible() && !panelGeometry().contains(point)) {
        hideOnOutsideClick();
    }
}

void PanelWindow::showPlaced(QRect panel) {
    ensureWindow();
    // Without a compositor transparent pixels show black: the window is then the panel alone,
    // its corners cut by a shape. A compositor may start or stop at any time, so ask each time.
    // Where the margin would take clicks meant for what lies under it, there is none either.
    const int margin =
        x11::compositorRunning() && sessionHost().shadowPassesClicks ? shadowMargin : 0;
    applyMargin(margin);
    // The display's window manager too may change (XWayland's starts with the display).
    applyManagement(x11::windowManagerIgnoresPositions());
    window_->setGeometry(panel.adjusted(-margin, -margin, margin, margin));
    x11::preparePanelWindow(*window_, margin);
    // The shadow is drawn but takes no click: a click there reaches whatever lies under it.
    x11::setInputRegion(*window_, margin > 0 ? visibleRegion_ : QRegion());
    wasActive_ = false;
    window_->show();
    window_->raise();
    if (unmanaged_) {
        // The window manager would hand the focus straight back to the window that holds it.
        input_->setActive(true, x11::InputMonitor::Scope::buttonsKeysAndFocus);
        // A click on one of sway's own Wayland windows reaches neither X11 event: sway says it
        // focused that window.
        swayFocus_->start();
        return;
    }
    window_->requestActivate();
    input_->setActive(true);
}

void PanelWindow::applyManagement(bool unmanaged) {
    if (managementChosen_ && unmanaged == unmanaged_) {
        return;
    }
    managementChosen_ = true;
    unmanaged_ = unmanaged;
    if (unmanaged_) {
        // Placed where asked, above the windows the manager stacks. Of the normal type: the
        // compositor gives the keyboard to such a window when it appears, never to a utility one.
        window_->setProperty("_q_xcb_wm_window_type", QVariant());
        window_->setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
    } else {
        // Above other windows through _NET_WM_STATE_ABOVE (x11::preparePanelWindow): Qt's
        // stay-on-top flag would add a second, KDE-only state that other window managers warn
        // about.
        window_->setProperty("_q_xcb_wm_window_type", x11UtilityWindowType);
        window_->setFlags(Qt::Window | Qt::FramelessWindowHint);
    }
}

void PanelWindow::applyMargin(int margin) {
    if (margin == margin_) {
        return;
    }
    margin_ = margin;
    window_->setProperty("shadowMargin", margin);
    QPainterPath rounded;
    rounded.addRoundedRect(QRectF(margin, margin, panelWidth, panelHeight), cornerRadius,
                           cornerRadius);
    visibleRegion_ = QRegion(rounded.toFillPolygon().toPolygon());
    // Without a margin the window is cut to the panel; with one, the shadow is drawn around it.
    window_->setMask(margin > 0 ? QRegion() : visibleRegion_);
}

void PanelWindow::hide() {
    if (!window_) {
        return;
    }
    input_->setActive(false);
    swayFocus_->stop();
    wasActive_ = false;
    window_->hide();
}

bool PanelWindow::isVisible() const {
    return window_ && window_->isVisible();
}

void PanelWindow::hideOnOutsideClick() {
    sinceClickHide_.start();
    hide();
}

bool PanelWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched != window_.get()) {
        return false;
    }
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        // A press on the shadow, which is part of the window, is a press beside the panel.
        const auto* press = static_cast<QMouseEvent*>(event);
        const int margin = std::max(margin_, 0);
        const QRect inside(margin, margin, panelWidth, panelHeight);
        if (!inside.contains(press->position().toPoint())) {
            hideOnOutsideClick();
            return true;
        }
        break;
    }
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            hide();
            return true;
        }
        break;
    default:
        break;
    }
    return false;
}

} // namespace quillon
