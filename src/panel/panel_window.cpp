#include "panel/panel_window.h"

#include "app/app_state.h"
#include "app/auth_store.h"
#include "model/fatal.h"
#include "panel/appearance.h"
#include "panel/panel_images.h"
#include "panel/view_helpers.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>
#include <QSurfaceFormat>

namespace quillon {
namespace {

const QUrl frameUrl(QStringLiteral("qrc:/views/PanelFrame.qml"));

QScreen* screenFor(QPoint anchor) {
    if (QScreen* screen = QGuiApplication::screenAt(anchor)) {
        return screen;
    }
    return QGuiApplication::primaryScreen();
}

} // namespace

PanelWindow::PanelWindow(AppState& appState, AuthStore& authStore, QObject* parent)
    : QObject(parent), appState_(appState), authStore_(authStore) {
    grabRetry_.setInterval(20);
    connect(&grabRetry_, &QTimer::timeout, this, &PanelWindow::tryGrabPointer);
}

PanelWindow::~PanelWindow() {
    // The window's items refer to the engine's context; they go first.
    window_.reset();
    engine_.reset();
}

QRect PanelWindow::placement(QPoint anchor, QRect screenGeometry, QRect availableGeometry) {
    const int left = anchor.x() - panelWidth / 2;
    const bool barKnown = availableGeometry != screenGeometry;
    const bool barAtTop = anchor.y() < screenGeometry.center().y();
    int top = 0;
    if (barAtTop) {
        top = (barKnown ? availableGeometry.top() : anchor.y()) + barGap;
    } else {
        const int bottom = barKnown ? availableGeometry.bottom() + 1 : anchor.y();
        top = bottom - barGap - panelHeight;
    }
    return {left, top, panelWidth, panelHeight};
}

QRect PanelWindow::panelGeometry() const {
    if (!window_) {
        return {};
    }
    return window_->geometry().adjusted(shadowMargin, shadowMargin, -shadowMargin, -shadowMargin);
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
    window_->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    window_->resize(panelWidth + 2 * shadowMargin, panelHeight + 2 * shadowMargin);
    window_->installEventFilter(this);

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
    if (isVisible()) {
        hide();
        return;
    }
    if (sinceOutsideHide_.isValid() && sinceOutsideHide_.elapsed() < toggleGraceMs) {
        // The click that hid the panel was on the tray item: it closes, it does not reopen.
        return;
    }
    showAt(anchor);
}

void PanelWindow::showAt(QPoint anchor) {
    ensureWindow();
    const QScreen* screen = screenFor(anchor);
    const QRect panel = placement(anchor, screen->geometry(), screen->availableGeometry());
    const QRect frame = panel.adjusted(-shadowMargin, -shadowMargin, shadowMargin, shadowMargin);
    window_->setGeometry(frame);
    wasActive_ = false;
    window_->show();
    window_->raise();
    window_->requestActivate();
    grabAttempts_ = 0;
    tryGrabPointer();
}

void PanelWindow::hide() {
    if (!window_) {
        return;
    }
    releasePointer();
    wasActive_ = false;
    window_->hide();
}

bool PanelWindow::isVisible() const {
    return window_ && window_->isVisible();
}

void PanelWindow::hideOnOutsideClick() {
    sinceOutsideHide_.start();
    hide();
}

void PanelWindow::tryGrabPointer() {
    // Without a window manager nothing takes the focus away on a click elsewhere, so the panel
    // holds the pointer as a popup menu does and sees that click itself. Where the grab is
    // refused (another program holds it), losing the focus still hides the panel.
    if (!isVisible() || pointerGrabbed_) {
        grabRetry_.stop();
        return;
    }
    if (window_->isExposed() && window_->setMouseGrabEnabled(true)) {
        pointerGrabbed_ = true;
        grabRetry_.stop();
        return;
    }
    if (++grabAttempts_ > 50) {
        grabRetry_.stop();
        return;
    }
    grabRetry_.start();
}

void PanelWindow::releasePointer() {
    grabRetry_.stop();
    if (pointerGrabbed_ && window_) {
        window_->setMouseGrabEnabled(false);
    }
    pointerGrabbed_ = false;
}

bool PanelWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched != window_.get()) {
        return false;
    }
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        const auto* press = static_cast<QMouseEvent*>(event);
        const QRect inside(shadowMargin, shadowMargin, panelWidth, panelHeight);
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
    case QEvent::Expose:
        if (!pointerGrabbed_ && isVisible()) {
            grabRetry_.start(0);
        }
        break;
    default:
        break;
    }
    return false;
}

} // namespace quillon
