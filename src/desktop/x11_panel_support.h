#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QPoint>
#include <QRegion>
#include <QWindow>

#include <cstdint>

namespace quillon::x11 {

// Whether a compositing manager runs on the first screen (it owns the _NET_WM_CM_S0
// selection), so that transparent pixels show what is beneath. False off X11.
bool compositorRunning();

// Readies the panel's window before it is mapped: above other windows, out of task bars and
// pagers, and, where a shadow margin surrounds the panel, that margin declared as the window's
// own shadow (_GTK_FRAME_EXTENTS), so that window managers leave it out of placement. Does
// nothing off X11.
void preparePanelWindow(QWindow& window, int shadowMargin);

// Lets the window take pointer input only within `region` (window coordinates), so that a click
// on its transparent shadow margin reaches whatever lies under it; an empty region gives the
// whole window back its input. Uses the X server's shape extension (its input shape, which
// leaves the drawn shape alone); does nothing off X11 or where the server lacks the extension.
void setInputRegion(QWindow& window, const QRegion& region);

// Whether the window manager is the one that wlroots' Wayland compositors (sway and its kin)
// run for their XWayland. It centres every managed floating window on the screen whatever
// position the window asks for, and it hands the keyboard to windows only as the compositor
// decides; a window that bypasses it (override-redirect) appears exactly where it asks.
bool windowManagerIgnoresPositions();

// Sees, without taking or delaying any of it, what happens on the display while the panel is
// open: every press of the left or right button (XInput 2 raw button events selected on the root
// window, which arrive beside the normal delivery of the click), and, for a panel that bypasses
// the window manager and so never holds the input focus itself, every press of Escape (raw key
// events: the compositor sends the keys to such a panel, but the window manager keeps the focus
// on another window) and every move of the input focus (the compositor focusing something else).
class InputMonitor : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit InputMonitor(QObject* parent = nullptr);
    ~InputMonitor() override;
    InputMonitor(const InputMonitor&) = delete;
    InputMonitor& operator=(const InputMonitor&) = delete;

    // What to watch besides the buttons.
    enum class Scope {
        buttons,
        buttonsKeysAndFocus,
    };

    // Starts or stops listening; false where the display offers no such events.
    bool setActive(bool active, Scope scope = Scope::buttons);
    bool isActive() const { return active_; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

signals:
    // A press at this point of the screen.
    void pressed(QPoint globalPosition);
    // Escape went down, wherever the keyboard's events went.
    void escapePressed();
    // The input focus moved away from the window that held it when listening started.
    void focusMoved();

private:
    bool select(bool on, Scope scope);
    void watchFocus(bool on);
    bool isEscape(uint32_t keycode) const;

    int opcode_ = -1;
    bool active_ = false;
    Scope scope_ = Scope::buttons;
    uint32_t focusAtStart_ = 0;
    uint32_t rootMaskBefore_ = 0;
};

} // namespace quillon::x11
