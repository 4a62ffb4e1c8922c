#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <QRegion>

#include <memory>

class QQmlEngine;
class QQuickWindow;

namespace quillon {
namespace x11 {
class InputMonitor;
}
namespace sway {
class FocusWatch;
}

class AppState;
class AuthStore;

// The floating panel that the tray item opens: a frameless, always-on-top window that hosts the
// dashboard, placed under (or above) the item that opened it and hidden again by any click
// outside it, a click that still reaches whatever it was meant for: the panel never grabs the
// pointer. It notices such clicks by losing activation, and, on X11, by watching the display's
// button presses. Under a window manager that would centre it whatever it asks, the panel
// bypasses the window manager; it then never holds the focus itself, and notices Escape and
// the compositor focusing something else by watching the display too. The window is the 360 x 500
// panel itself where no compositor runs; only where one does is a transparent margin for the shadow
// added around it, and that margin takes no input: clicks on it reach what lies under it. The QML
// engine and the window are built on first use, so a program whose panel is never opened carries
// neither.
class PanelWindow : public QObject {
    Q_OBJECT

public:
    // The visible panel, without its shadow.
    static constexpr int panelWidth = 360;
    static constexpr int panelHeight = 500;
    // Transparent room around the panel in which its shadow is drawn, where a compositor runs.
    static constexpr int shadowMargin = 24;
    // A toggle this soon after an outside click hid the panel belongs to that same click.
    static constexpr int toggleGraceMs = 300;

    PanelWindow(AppState& appState, AuthStore& authStore, QObject* parent = nullptr);
    ~PanelWindow() override;

    // Shows the panel placed for `anchor` (screen coordinates), or hides it; ignores a toggle
    // within 300 ms after the panel hid by a toggle, a click outside or losing activation.
    void toggleAt(QPoint anchor);
    void showAt(QPoint anchor);
    void hide();
    bool isVisible() const;
    // For tests and screenshots; creates the window on first use.
    QQuickWindow* window();

    // The visible panel on screen (the window without its shadow margin).
    QRect panelGeometry() const;
    // The transparent margin of the window as last shown: shadowMargin or 0.
    int currentMargin() const { return margin_; }

signals:
    void visibleChanged(bool visible);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void ensureWindow();
    void hideOnOutsideClick();
    void applyMargin(int margin);
    // Bypasses the window manager or leaves the window to it.
    void applyManagement(bool unmanaged);

    AppState& appState_;
    AuthStore& authStore_;
    std::unique_ptr<QQmlEngine> engine_;
    std::unique_ptr<QQuickWindow> window_;
    std::unique_ptr<x11::InputMonitor> input_;
    std::unique_ptr<sway::FocusWatch> swayFocus_;
    // The window bypasses the window manager (see x11::windowManagerIgnoresPositions).
    bool unmanaged_ = false;
    bool managementChosen_ = false;
    // Since the last hide caused by a click, on the item or outside, or a loss of activation.
    QElapsedTimer sinceClickHide_;
    bool wasActive_ = false;
    int margin_ = -1;
    // The visible panel with its rounded corners, in window coordinates.
    QRegion visibleRegion_;
};

} // namespace quillon
