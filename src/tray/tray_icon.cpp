#include "tray/tray_icon.h"

#include "app/app_icon.h"
#include "model/menu_bar_title.h"
#include "tray/dbus_menu.h"
#include "tray/status_notifier_item.h"

#include <QCursor>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QMenu>
#include <QSystemTrayIcon>

namespace quillon {

TrayIcon::TrayIcon(TrayActions actions, const QDBusConnection& bus, QObject* parent)
    : QObject(parent), actions_(std::move(actions)), menu_(std::make_unique<DBusMenu>(bus)),
      item_(std::make_unique<StatusNotifierItem>(bus, QString::fromLatin1(DBusMenu::objectPath))) {
    connect(menu_.get(), &DBusMenu::triggered, this,
            [this](TrayCommand command) { runTrayCommand(actions_, command); });
    connect(item_.get(), &StatusNotifierItem::activated, this, [this](QPoint point) {
        // Some panels send no position; the pointer is where the click happened.
        if (actions_.togglePanel) {
            actions_.togglePanel(point.isNull() ? QCursor::pos() : point);
        }
    });
    connect(item_.get(), &StatusNotifierItem::contextMenuRequested, this,
            [this](QPoint point) { contextMenu().popup(point.isNull() ? QCursor::pos() : point); });
    connect(item_.get(), &StatusNotifierItem::registrationFinished, this, [this](bool registered) {
        if (registered) {
            setMode(Mode::statusNotifierItem);
        } else {
            showFallback();
        }
    });

    // Watch first, then ask: a watcher that starts in between is not missed.
    watcher_ = new QDBusServiceWatcher(QString::fromLatin1(StatusNotifierItem::watcherService), bus,
                                       QDBusServiceWatcher::WatchForRegistration |
                                           QDBusServiceWatcher::WatchForUnregistration,
                                       this);
    connect(watcher_, &QDBusServiceWatcher::serviceRegistered, this,
            [this] { item_->registerWithWatcher(); });
    connect(watcher_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { showFallback(); });
    item_->registerWithWatcher();
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::updateMenuBarTitle(const std::optional<UsageData>& claude,
                                  const std::optional<UsageData>& codex) {
    title_ = QString::fromStdString(menuBarTitle(claude, codex));
    item_->setLabel(title_);
    if (fallback_) {
        fallback_->setToolTip(title_);
    }
}

void TrayIcon::setMode(Mode mode) {
    if (mode == Mode::statusNotifierItem && fallback_) {
        fallback_->hide();
    }
    if (mode_ != mode) {
        mode_ = mode;
        emit modeChanged(mode_);
    }
}

void TrayIcon::showFallback() {
    // Only X11 has a tray for plain icons; elsewhere (a headless platform) there is nothing to
    // show, and Qt's tray code would complain about the missing X11 interface.
    if (!fallback_ && QGuiApplication::platformName() != QLatin1String("xcb")) {
        setMode(Mode::fallback);
        return;
    }
    if (!fallback_) {
        fallback_ = std::make_unique<QSystemTrayIcon>(appIcon());
        fallback_->setContextMenu(&contextMenu());
        connect(fallback_.get(), &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason reason) {
                    if (reason == QSystemTrayIcon::Trigger && actions_.togglePanel) {
                        actions_.togglePanel(QCursor::pos());
                    }
                });
    }
    fallback_->setToolTip(title_);
    fallback_->show();
    setMode(Mode::fallback);
}

QMenu& TrayIcon::contextMenu() {
    if (!contextMenu_) {
        contextMenu_ = buildTrayContextMenu(actions_);
    }
    return *contextMenu_;
}

} // namespace quillon
