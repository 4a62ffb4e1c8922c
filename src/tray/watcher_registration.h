#pragma once

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QDBusMessage;
class QDBusServiceWatcher;

namespace quillon {

class StatusNotifierItem;

// Keeps the item registered with whichever StatusNotifierWatcher runs: it asks at start, again
// whenever the watcher's name changes hands (a panel restarts, GNOME's extension is switched off
// and on at every screen lock) and whenever the watcher stops listing the item. After each
// registration it sends all of the item's properties once more, for hosts that dropped their
// copy while they set up the item.
class WatcherRegistration : public QObject {
    Q_OBJECT

public:
    // Delay of a registration after the watcher dropped the item; doubled for each drop in a
    // row, so that a watcher that keeps refusing the item is not flooded.
    static constexpr int retryMs = 250;
    static constexpr int announceDelaysMs[] = {300, 700};

    WatcherRegistration(QDBusConnection bus, StatusNotifierItem& item, QObject* parent = nullptr);

    // Starts watching, then asks.
    void start();
    bool isRegistered() const { return registered_; }
    // Registrations asked for so far.
    int attempts() const { return attempts_; }

signals:
    // The watcher listed the item.
    void registered();
    // There is no watcher, or it refused the item.
    void unavailable();

private slots:
    void onWatcherSignal(const QDBusMessage& message);

private:
    void ask();
    void onFinished(bool accepted);
    void onOwnerChanged(const QString& newOwner);
    // Whether an entry of the watcher's list (a service name, "name/path" or "name@path") is
    // this item.
    bool isThisItem(const QString& entry) const;
    void retrySoon();

    QDBusConnection bus_;
    StatusNotifierItem& item_;
    QDBusServiceWatcher* serviceWatcher_ = nullptr;
    QTimer retry_;
    QElapsedTimer registeredSince_;
    bool registered_ = false;
    // Whether a failed request was already followed by a look for a watcher.
    bool recheckedAfterFailure_ = false;
    int dropsInARow_ = 0;
    int attempts_ = 0;
};

} // namespace quillon
