#include "tray/watcher_registration.h"

#include "tray/status_notifier_item.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <algorithm>

namespace quillon {
namespace {

const QString watcherInterface = QString::fromLatin1(StatusNotifierItem::watcherService);
// A registration that stood this long ends a series of drops.
constexpr int settledMs = 10000;

} // namespace

WatcherRegistration::WatcherRegistration(QDBusConnection bus, StatusNotifierItem& item,
                                         QObject* parent)
    : QObject(parent), bus_(std::move(bus)), item_(item) {
    retry_.setSingleShot(true);
    connect(&retry_, &QTimer::timeout, this, &WatcherRegistration::ask);
    connect(&item_, &StatusNotifierItem::registrationFinished, this,
            &WatcherRegistration::onFinished);
}

void WatcherRegistration::start() {
    // Watch first, then ask: a watcher that starts in between is not missed.
    serviceWatcher_ = new QDBusServiceWatcher(watcherInterface, bus_,
                                              QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(serviceWatcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                onOwnerChanged(newOwner);
            });
    const QString path = QString::fromLatin1(StatusNotifierItem::watcherPath);
    bus_.connect(watcherInterface, path, watcherInterface,
                 QStringLiteral("StatusNotifierItemUnregistered"), this,
                 SLOT(onWatcherSignal(QDBusMessage)));
    bus_.connect(watcherInterface, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                 QStringLiteral("PropertiesChanged"), this, SLOT(onWatcherSignal(QDBusMessage)));
    ask();
}

void WatcherRegistration::ask() {
    retry_.stop();
    ++attempts_;
    item_.registerWithWatcher();
}

void WatcherRegistration::onFinished(bool accepted) {
    registered_ = accepted;
    if (!accepted) {
        emit unavailable();
        // A watcher that started while the request was on its way, before the watch on its
        // name was in place, would go unnoticed: ask once more if one runs now.
        if (!recheckedAfterFailure_) {
            recheckedAfterFailure_ = true;
            auto* pending = new QDBusPendingCallWatcher(
                bus_.interface()->asyncCall(QStringLiteral("NameHasOwner"), watcherInterface),
                this);
            connect(pending, &QDBusPendingCallWatcher::finished, this,
                    [this](QDBusPendingCallWatcher* finished) {
                        finished->deleteLater();
                        const QDBusPendingReply<bool> owned = *finished;
                        if (owned.isValid() && owned.value() && !registered_) {
                            ask();
                        }
                    });
        }
        return;
    }
    recheckedAfterFailure_ = false;
    registeredSince_.start();
    // GNOME's extension forgets the item's Id and Menu when it sees the item's name appear,
    // which can happen after it read them, and then fails on the item for good a second later.
    // Sending the properties again in between gives it its copy back.
    for (const int delay : announceDelaysMs) {
        QTimer::singleShot(delay, this, [this] {
            if (registered_) {
                item_.announceAll();
            }
        });
    }
    emit registered();
}

void WatcherRegistration::onOwnerChanged(const QString& newOwner) {
    registered_ = false;
    if (newOwner.isEmpty()) {
        retry_.stop();
        emit unavailable();
        return;
    }
    dropsInARow_ = 0;
    recheckedAfterFailure_ = false;
    ask();
}

void WatcherRegistration::onWatcherSignal(const QDBusMessage& message) {
    if (!registered_) {
        return;
    }
    const QVariantList args = message.arguments();
    if (message.member() == QLatin1String("StatusNotifierItemUnregistered")) {
        if (isThisItem(args.value(0).toString())) {
            retrySoon();
        }
        return;
    }
    if (args.value(0).toString() != watcherInterface) {
        return;
    }
    const auto changed = qdbus_cast<QVariantMap>(args.value(1));
    const auto list = changed.find(QStringLiteral("RegisteredStatusNotifierItems"));
    if (list == changed.end()) {
        return;
    }
    const QStringList items = qdbus_cast<QStringList>(list.value());
    if (std::none_of(items.begin(), items.end(),
                     [this](const QString& entry) { return isThisItem(entry); })) {
        retrySoon();
    }
}

bool WatcherRegistration::isThisItem(const QString& entry) const {
    const QString path = QString::fromLatin1(StatusNotifierItem::objectPath);
    for (const QString& name : {item_.serviceName(), bus_.baseService()}) {
        if (entry == name || entry == name + path || entry == name + QLatin1Char('@') + path) {
            return true;
        }
    }
    return false;
}

void WatcherRegistration::retrySoon() {
    registered_ = false;
    if (registeredSince_.isValid() && registeredSince_.elapsed() > settledMs) {
        dropsInARow_ = 0;
    }
    const int delay = retryMs << std::min(dropsInARow_, 7);
    ++dropsInARow_;
    retry_.start(delay);
}

} // namespace quillon
