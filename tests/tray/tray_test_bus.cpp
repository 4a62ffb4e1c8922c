#include "tray/tray_test_bus.h"

#include "support/qt_wait.h"

#include <QDBusPendingCall>

namespace quillon::test {

bool FakeStatusNotifierWatcher::start() {
    started_ =
        bus_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                                QDBusConnection::ExportAllProperties) &&
        bus_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    return started_;
}

void FakeStatusNotifierWatcher::stop() {
    if (started_) {
        bus_.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher"));
        bus_.unregisterObject(QStringLiteral("/StatusNotifierWatcher"));
        started_ = false;
    }
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
