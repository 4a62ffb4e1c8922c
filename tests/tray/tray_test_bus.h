#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

#include <vector>

namespace quillon::test {

// A StatusNotifierWatcher as the desktop panels run it, on a bus connection of its own so that
// every call between it and the application really crosses the bus.
class FakeStatusNotifierWatcher : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registeredItems)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

public:
    explicit FakeStatusNotifierWatcher(QDBusConnection bus) : bus_(std::move(bus)) {}
    ~FakeStatusNotifierWatcher() override { stop(); }

    // Takes the watcher's name and object; false if that failed. A watcher started with
    // `replace` takes the name from another one that runs, as a restarted panel does: the name
    // changes hands without ever being free.
    bool start(bool replace = false);
    void stop();
    // Forgets an item, as a host does that gave up on it, and says so on the bus.
    void drop(const QString& service);

    QStringList registeredItems() const { return registered_; }
    bool isHostRegistered() const { return true; }
    int protocolVersion() const { return 0; }
    // The unique bus names of the callers, in the order of their calls.
    const QStringList& callers() const { return callers_; }

public slots:
    void RegisterStatusNotifierItem(const QString& service);

signals:
    void StatusNotifierItemRegistered(const QString& service);
    void StatusNotifierItemUnregistered(const QString& service);
    void StatusNotifierHostRegistered();

private:
    QDBusConnection bus_;
    QStringList registered_;
    QStringList callers_;
    bool started_ = false;
};

// Collects the bus signals it is connected to.
class SignalRecorder : public QObject {
    Q_OBJECT

public:
    std::vector<QDBusMessage> messages;

public slots:
    void record(const QDBusMessage& message) { messages.push_back(message); }
};

// A second connection to the session bus (a "client" of the application under test).
QDBusConnection otherBusConnection(const QString& name);

// Sends `call` on `bus` and spins the event loop until the answer is there.
QDBusMessage callAndWait(const QDBusConnection& bus, const QDBusMessage& call);

// org.freedesktop.DBus.Properties.Get of one property, waited for; the answer's value.
QDBusMessage getProperty(const QDBusConnection& bus, const QString& service, const QString& path,
                         const QString& interface, const QString& name);

} // namespace quillon::test
