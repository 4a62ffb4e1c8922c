#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <QTimer>

#include <memory>

class QQmlEngine;
class QQuickWindow;

namespace quillon {

class AppState;
class AuthStore;

// The floating panel that the tray item opens: a frameless, always-on-top window that hosts the
// dashboard, placed under (or above) the click that opened it and hidden again by any click
// outside it. The QML engine and the window are built on first use, so a program whose panel is
// never opened carries neither.
class PanelWindow : public QObject {
    Q_OBJECT

public:
    // The visible panel, without its shadow.
    static constexpr int panelWidth = 360;
    static constexpr int panelHeight = 500;
    // Space between the panel and the bar (or the click, where no bar is known).
    static constexpr int barGap = 8;
    // Transparent room around the panel in which its shadow is drawn.
    static constexpr int shadowMargin = 24;
    // A toggle this soon after an outside click hid the panel belongs to that same click.
    static constexpr int toggleGraceMs = 300;

    PanelWindow(AppState& appState, AuthStore& authStore, QObject* parent = nullptr);
    ~PanelWindow() override;

    // Shows the panel placed for `anchor` (screen coordinates), or hides it; ignores a toggle
    // within 300 ms after the panel hid by losing activation.
    void toggleAt(QPoint anchor);
    void showAt(QPoint anchor);
    void hide();
    bool isVisible() const;
    // For tests and screenshots; creates the window on first use.
    QQuickWindow* window();

    // Where the visible panel goes for a click at `anchor` on a screen with these geometries:
    // centred on the click and never clamped; with the bar at the top (click in the upper half)
    // its top edge 8 px below the bar, with the bar at the bottom its bottom edge 8 px above it.
    // A screen whose available area is the whole screen has no known bar: the click stands in.
    static QRect placement(QPoint anchor, QRect screenGeometry, QRect availableGeometry);
    // The visible panel on screen (the window without its shadow margin).
    QRect panelGeometry() const;

signals:
    void visibleChanged(bool visible);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void ensureWindow();
    void hideOnOutsideClick();
    void tryGrabPointer();
    void releasePointer();

    AppState& appState_;
    AuthStore& authStore_;
    std::unique_ptr<QQmlEngine> engine_;
    std::unique_ptr<QQuickWindow> window_;
    // Since the last hide caused by a click outside or a loss of activation.
    QElapsedTimer sinceOutsideHide_;
    bool pointerGrabbed_ = false;
    bool wasActive_ = false;
    // The pointer can be grabbed only once the window is mapped; retried briefly after showing.
    QTimer grabRetry_;
    int grabAttempts_ = 0;
};

} // namespace quillon
