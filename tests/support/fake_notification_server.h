#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <vector>

namespace quillon::test {

// A notification service on the test's private bus. It runs on a connection of its own, so the
// program's calls really cross the bus, and it records every call with all its arguments.
class FakeNotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Call {
        QString appName;
        uint replacesId = 0;
        QString appIcon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int expireTimeout = 0;
    };

    FakeNotificationServer()
        : connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                                    QStringLiteral("fake-notification-server"))) {}

    ~FakeNotificationServer() override {
        connection_.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
        connection_.unregisterObject(QStringLiteral("/org/freedesktop/Notifications"));
        QDBusConnection::disconnectFromBus(QStringLiteral("fake-notification-server"));
    }

    // Takes the service name; false when the bus is not reachable or the name is taken.
    bool start() {
        return connection_.isConnected() &&
               connection_.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                                          QDBusConnection::ExportAllSlots) &&
               connection_.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }

    std::vector<Call> calls;
    int capabilityRequests = 0;

public slots:
    uint Notify(const QString& appName, uint replacesId, const QString& appIcon,
                const QString& summary, const QString& body, const QStringList& actions,
                const QVariantMap& hints, int expireTimeout) {
        calls.push_back(
            {appName, replacesId, appIcon, summary, body, actions, hints, expireTimeout});
        return static_cast<uint>(calls.size());
    }

    QStringList GetCapabilities() {
        ++capabilityRequests;
        return {QStringLiteral("body"), QStringLiteral("sound")};
    }

private:
    QDBusConnection connection_;
};

} // namespace quillon::test
