#include "notifications/desktop_notifications.h"

#include "app/app_icon.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QImage>
#include <QStandardPaths>

namespace quillon {
namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

// Side of the picture sent when no themed icon is installed; servers scale it down.
constexpr int iconSide = 64;

// The picture as the "image-data" hint wants it: (width, height, rowstride, has alpha, bits per
// sample, channels, RGBA bytes).
QDBusArgument imageData(const QImage& picture) {
    const QImage rgba = picture.convertToFormat(QImage::Format_RGBA8888);
    QDBusArgument argument;
    argument.beginStructure();
    argument << rgba.width() << rgba.height() << static_cast<int>(rgba.bytesPerLine()) << true << 8
             << 4
             << QByteArray(reinterpret_cast<const char*>(rgba.constBits()),
                           static_cast<qsizetype>(rgba.sizeInBytes()));
    argument.endStructure();
    return argument;
}

} // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection bus)
    : bus_(std::move(bus)), iconName_(installedIconName()) {}

QString DesktopNotifications::installedIconName() {
    static const char* const candidates[] = {
        "icons/hicolor/scalable/apps/quillon.svg", "icons/hicolor/256x256/apps/quillon.png",
        "icons/hicolor/128x128/apps/quillon.png", "icons/hicolor/64x64/apps/quillon.png",
        "icons/hicolor/48x48/apps/quillon.png"};
    for (const char* candidate : candidates) {
        if (!QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                    QString::fromLatin1(candidate))
                 .isEmpty()) {
            return QStringLiteral("quillon");
        }
    }
    return {};
}

QVariantMap DesktopNotifications::hints() const {
    QVariantMap hints{
        {QStringLiteral("sound-name"), QStringLiteral("message-new-instant")},
        {QStringLiteral("desktop-entry"), QStringLiteral("quillon")},
    };
    if (iconName_.isEmpty()) {
        hints.insert(QStringLiteral("image-data"),
                     QVariant::fromValue(imageData(generatePlaceholderAppIcon(iconSide))));
    }
    return hints;
}

QDBusPendingCall DesktopNotifications::notify(const QString& title, const QString& body,
                                              int timeoutMs) const {
    QDBusMessage message =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Notify"));
    message << QStringLiteral("Quillon") << 0U << iconName_ << title << body << QStringList()
            << hints() << -1;
    return bus_.asyncCall(message, timeoutMs);
}

QDBusPendingCall DesktopNotifications::send(const QString& title, const QString& body) const {
    return notify(title, body, -1);
}

QDBusPendingCall DesktopNotifications::requestPermission() const {
    const QDBusMessage message =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("GetCapabilities"));
    return bus_.asyncCall(message);
}

bool DesktopNotifications::sendAndWait(const QString& title, const QString& body,
                                       int timeoutMs) const {
    QDBusPendingCall call = notify(title, body, timeoutMs);
    call.waitForFinished();
    return !call.isError();
}

} // namespace quillon
