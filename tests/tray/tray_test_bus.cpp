#include "tray/tray_test_bus.h"

#include "support/qt_wait.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCall>

namespace quillon::test {

bool FakeStatusNotifierWatcher::start(bool replace) {
    // The object first: a call that arrives as soon as the name is taken finds it.
    if (!bus_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                                 QDBusConnection::ExportAllProperties)) {
        return false;
    }
    const auto reply =
        bus_.interface()->registerService(QStringLiteral("org.kde.StatusNotifierWatcher"),
                                          replace ? QDBusConnectionInterface::ReplaceExistingService
                                                  : QDBusConnectionInterface::DontQueueService,
                                          QDBusConnectionInterface::AllowReplacement);
    started_ = reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
    if (!started_) {
        bus_.unregisterObject(QStringLiteral("/StatusNotifierWatcher"));
    }
    return started_;
}

void FakeStatusNotifierWatcher::stop() {
    if (started_) {
        bus_.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher"));
        bus_.unregisterObject(QStringLiteral("/StatusNotifierWatcher"));
        started_ = false;
    }
}

void FakeStatusNotifierWatcher::drop(const QString& service) {
    registered_.removeAll(service);
    emit StatusNotifierItemUnregistered(service);
}

void FakeStatusNotifierWatcher::RegisterStatusNotifierItem(const QString& service) {
    callers_.append(message().service());
    registered_.append(service);
    emit StatusNotifierItemRegistered(service);
}

QDBusConnection otherBusConnection(const QString& name) {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

QDBusMessage callAndWait(const QDBusConnection& bus, const QDBusMessage& call) {
    QDBusPendingCall pending = bus.asyncCall(call, 10000);
    waitUntil([&] { return pending.isFinished(); }, 15000);
    return pending.reply();
}

QDBusMessage getProperty(const QDBusConnection& bus, const QString& service, const QString& path,
                         const QString& interface, const QString& name) {
    auto call = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << interface << name;
    return callAndWait(bus, call);
}

} // namespace quillon::test
