#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QPoint>
#include <QWindow>

namespace quillon::x11 {

// Whether a compositing manager runs on the first screen (it owns the _NET_WM_CM_S0
// selection), so that transparent pixels show what is beneath. False off X11.
bool compositorRunning();

// Readies the panel's window before it is mapped: above other windows, out of task bars and
// pagers, and, where a shadow margin surrounds the panel, that margin declared as the window's
// own shadow (_GTK_FRAME_EXTENTS), so that window managers leave it out of placement. Does
// nothing off X11.
void preparePanelWindow(QWindow& window, int shadowMargin);

// Sees every press of the left or right button anywhere on the display, without taking or
// delaying it: XInput 2 raw button events selected on the root window, which arrive beside the
// normal delivery of the click.
class ButtonPressMonitor : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit ButtonPressMonitor(QObject* parent = nullptr);
    ~ButtonPressMonitor() override;
    ButtonPressMonitor(const ButtonPressMonitor&) = delete;
    ButtonPressMonitor& operator=(const ButtonPressMonitor&) = delete;

    // Starts or stops listening; false where the display offers no such events.
    bool setActive(bool active);
    bool isActive() const { return active_; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

signals:
    // A press at this point of the screen.
    void pressed(QPoint globalPosition);

private:
    bool select(bool on);

    int opcode_ = -1;
    bool active_ = false;
};

} // namespace quillon::x11
