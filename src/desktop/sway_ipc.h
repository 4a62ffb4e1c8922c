#pragma once

#include <QList>
#include <QObject>
#include <QRect>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillon::sway {

// Asks sway over its IPC socket ($SWAYSOCK): the bars there are Wayland surfaces that X11 clients
// cannot see, but sway lays out each visible workspace in what they leave free. Every call is
// bounded (a socket that does not answer in `timeoutMs` counts as no answer) and answers nothing
// where there is no sway.
constexpr int timeoutMs = 250;

// The socket of the session's sway, or empty.
QString socketPath();

// sway's version as major * 100 + minor (1.10 gives 110).
std::optional<int> version(const QString& socket = socketPath());

// The areas of the visible workspaces, one per output, in the layout's coordinates (those of
// the X11 root window under XWayland): each output less the bars that reserve room on it.
QList<QRect> workAreas(const QString& socket = socketPath());

// What each seat has focused: the ids of sway's nodes (a window, or a workspace after a click on
// its empty area), seat by seat; nothing where sway does not answer.
std::optional<std::vector<std::int64_t>> seatFocus(const QString& socket = socketPath());

// Tells when sway gives the keyboard focus to another window, its own Wayland windows included,
// which an X11 client never hears of: a click on such a window focuses it. Listens on a socket
// of its own (sway's window events) while started. A click on the desktop moves sway's focus to
// the workspace without any event, so while started it also asks sway what each seat has focused,
// every focusPollMs, and tells when that changed.
class FocusWatch : public QObject {
    Q_OBJECT

public:
    explicit FocusWatch(QObject* parent = nullptr);
    ~FocusWatch() override;
    FocusWatch(const FocusWatch&) = delete;
    FocusWatch& operator=(const FocusWatch&) = delete;

    // Starts listening; false where there is no sway to listen to.
    bool start(const QString& socket = socketPath());
    void stop();
    bool isListening() const;

signals:
    void focusMoved();

private:
    static constexpr int focusPollMs = 100;

    void readEvents();
    void giveUp();
    void pollFocus();

    struct Connection;
    std::unique_ptr<Connection> connection_;
    std::string pending_;
    QString socket_;
    QTimer* poll_ = nullptr;
    std::optional<std::vector<std::int64_t>> focusAtStart_;
};

} // namespace quillon::sway
