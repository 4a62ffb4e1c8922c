#pragma once

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QString>
#include <QVariantMap>

namespace quillon {

// Desktop notifications through the freedesktop notification service on the session bus.
// Every call is asynchronous: the main thread never waits for the service, and a missing service
// or a refused request goes unnoticed (the pending reply carries the error for whoever cares).
class DesktopNotifications {
public:
    explicit DesktopNotifications(QDBusConnection bus = QDBusConnection::sessionBus());

    // Shows one notification: app "Quillon", never replacing an earlier one, no actions, the
    // default message sound, shown until the server decides to expire it.
    QDBusPendingCall send(const QString& title, const QString& body) const;

    // The start-up step that stands in for asking permission: the desktop needs none, so this
    // only asks the service what it can do, and nobody waits for the answer.
    QDBusPendingCall requestPermission() const;

    // For short-lived processes that exit right after: sends and waits for the service's answer
    // for at most `timeoutMs`. True when the service accepted the notification.
    bool sendAndWait(const QString& title, const QString& body, int timeoutMs) const;

    // The installed themed icon name "quillon", or empty when no icon of that name is installed,
    // in which case the picture travels in the "image-data" hint instead.
    static QString installedIconName();

private:
    QDBusPendingCall notify(const QString& title, const QString& body, int timeoutMs) const;
    QVariantMap hints() const;

    QDBusConnection bus_;
    QString iconName_;
};

} // namespace quillon
