#include "app/unseen_notice.h"

#include <QStringList>

namespace quillon {

UnseenNotice::UnseenNotice(bool gnome, std::function<void(const QString&)> print,
                           std::function<void(const QString&, const QString&)> notify)
    : gnome_(gnome), print_(std::move(print)), notify_(std::move(notify)) {}

void UnseenNotice::operator()() {
    if (said_) {
        return;
    }
    said_ = true;
    if (print_) {
        print_(line(gnome_));
    }
    if (gnome_ && notify_) {
        notify_(notificationTitle(), notificationBody());
    }
}

bool UnseenNotice::isGnome(const QString& currentDesktop) {
    const QStringList desktops = currentDesktop.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    return desktops.contains(QStringLiteral("GNOME"), Qt::CaseInsensitive);
}

QString UnseenNotice::line(bool gnome) {
    const QString cause = QStringLiteral(
        "Quillon: nothing on this desktop can show its icon (no StatusNotifierWatcher and no "
        "system tray).");
    if (gnome) {
        return cause + QStringLiteral(" Turn on Quillon's GNOME Shell extension: gnome-extensions "
                                      "enable %1 (on Wayland, log out and in first after "
                                      "installing it).")
                           .arg(QString::fromLatin1(gnomeExtensionUuid));
    }
    return cause + QStringLiteral(" Add a tray or status notifier area to your panel; "
                                  "`quillon status` prints the figures meanwhile.");
}

QString UnseenNotice::notificationTitle() {
    return QStringLiteral("Quillon is running but not shown");
}

QString UnseenNotice::notificationBody() {
    return QStringLiteral("Turn on Quillon's GNOME Shell extension: gnome-extensions enable %1, "
                          "or switch it on in the Extensions app. On Wayland, log out and in "
                          "first after installing it.")
        .arg(QString::fromLatin1(gnomeExtensionUuid));
}

} // namespace quillon
