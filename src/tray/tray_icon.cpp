#include "tray/tray_icon.h"

#include "app/bus_names.h"
#include "model/menu_bar_title.h"
#include "tray/dbus_menu.h"
#include "tray/status_notifier_item.h"
#include "tray/watcher_registration.h"

#include <QCursor>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QMenu>
#include <QSystemTrayIcon>

namespace quillon {

TrayIcon::TrayIcon(TrayActions actions, const QDBusConnection& bus, ItemAnchor anchor,
                   QObject* parent)
    : QObject(parent), actions_(std::move(actions)), anchor_(std::move(anchor)),
      menu_(std::make_unique<DBusMenu>(bus)),
      item_(std::make_unique<StatusNotifierItem>(bus, QString::fromLatin1(DBusMenu::objectPath))),
      registration_(std::make_unique<WatcherRegistration>(bus, *item_)) {
    connect(menu_.get(), &DBusMenu::triggered, this, &TrayIcon::run);
    connect(menu_.get(), &DBusMenu::opening, this, &TrayIcon::menuOpening);
    connect(item_.get(), &StatusNotifierItem::activated, this, [this](QPoint point) {
        if (actions_.togglePanel) {
            actions_.togglePanel(anchor_.forClick(point));
        }
    });
    connect(item_.get(), &StatusNotifierItem::contextMenuRequested, this, [this](QPoint point) {
        const QPoint at = anchor_.forClick(point);
        contextMenu().popup(at);
    });
    connect(registration_.get(), &WatcherRegistration::registered, this, [this] {
        fallbackDelay_.stop();
        setMode(Mode::statusNotifierItem);
    });
    // A host that restarts (GNOME switches its extension off and on at every screen lock) is
    // back within moments; the plain icon waits that long, so it does not flash up meanwhile.
    // It also keeps Qt's tray code from looking for a watcher while one is just returning:
    // it would then publish a second item of its own.
    fallbackDelay_.setSingleShot(true);
    fallbackDelay_.setInterval(fallbackDelayMs);
    connect(&fallbackDelay_, &QTimer::timeout, this, [this] {
        if (!registration_->isRegistered()) {
            showFallback();
        }
    });
    connect(registration_.get(), &WatcherRegistration::unavailable, this,
            [this] { fallbackDelay_.start(); });

    const QString shellButton = QString::fromLatin1(busNames::shellButton);
    shellButton_ = std::make_unique<QDBusServiceWatcher>(shellButton, bus,
                                                         QDBusServiceWatcher::WatchForOwnerChange);
    connect(shellButton_.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                setShownByShell(!owner.isEmpty());
            });
    if (bus.interface() != nullptr) {
        auto* pending = new QDBusPendingCallWatcher(
            bus.interface()->asyncCall(QStringLiteral("NameHasOwner"), shellButton), this);
        connect(pending, &QDBusPendingCallWatcher::finished, this,
                [this](QDBusPendingCallWatcher* finished) {
                    finished->deleteLater();
                    const QDBusPendingReply<bool> reply = *finished;
                    if (reply.isValid() && reply.value()) {
                        setShownByShell(true);
                    }
                });
    }
    registration_->start();
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::updateMenuBarTitle(const std::optional<UsageData>& claude,
                                  const std::optional<UsageData>& codex) {
    title_ = QString::fromStdString(menuBarTitle(claude, codex));
    figures_ = trayFigures(claude, codex);
    item_->show(title_, figures_);
    if (fallback_) {
        fallback_->setToolTip(item_->toolTip().text);
        fallback_->setIcon(trayIcon(figures_));
    }
}

void TrayIcon::updateMenu(const std::optional<UsageData>& claude,
                          const std::optional<UsageData>& codex) {
    const Instant now = std::chrono::system_clock::now();
    item_->setToolTipDetails(paceLines(claude, codex, now));
    if (fallback_) {
        fallback_->setToolTip(item_->toolTip().text);
    }
    auto entries = trayMenuEntries(claude, codex, now);
    if (entries == menu_->entries()) {
        return;
    }
    menu_->setEntries(entries);
    if (contextMenu_) {
        fillTrayContextMenu(*contextMenu_, menu_->entries(),
                            [this](TrayCommand command) { run(command); });
    }
}

void TrayIcon::menuOpening() {
    anchor_.noteMenuOpened();
    if (actions_.hidePanel) {
        actions_.hidePanel();
    }
}

void TrayIcon::run(TrayCommand command) {
    if (command != TrayCommand::openPanel) {
        runTrayCommand(actions_, command, QPoint());
        return;
    }
    // Where the item is may still be being looked up; the answer comes within moments.
    anchor_.forMenu(
        [this](QPoint anchor) { runTrayCommand(actions_, TrayCommand::openPanel, anchor); });
}

void TrayIcon::setShownByShell(bool shown) {
    if (shown == shownByShell_) {
        return;
    }
    shownByShell_ = shown;
    item_->setPassive(shown);
    if (shown && fallback_) {
        fallback_->hide();
    } else if (!shown && mode_ == Mode::fallback) {
        // Says so itself when nothing else shows Quillon.
        showFallback();
    }
}

void TrayIcon::checkSeen() {
    if (mode_ == Mode::fallback && !shownByShell_ &&
        !(fallback_ && QSystemTrayIcon::isSystemTrayAvailable())) {
        emit unseen();
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
        checkSeen();
        return;
    }
    if (!fallback_) {
        fallback_ = std::make_unique<QSystemTrayIcon>(trayIcon(figures_));
        fallback_->setContextMenu(&contextMenu());
        connect(fallback_.get(), &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason reason) {
                    if (reason == QSystemTrayIcon::Trigger && actions_.togglePanel) {
                        // An XEmbed tray reports no point; the pointer is on the icon.
                        actions_.togglePanel(anchor_.forClick(QCursor::pos()));
                    }
                });
    }
    fallback_->setToolTip(item_->toolTip().text);
    if (!shownByShell_) {
        fallback_->show();
    }
    setMode(Mode::fallback);
    checkSeen();
}

QMenu& TrayIcon::contextMenu() {
    if (!contextMenu_) {
        contextMenu_ = std::make_unique<QMenu>();
        connect(contextMenu_.get(), &QMenu::aboutToShow, this, &TrayIcon::menuOpening);
        fillTrayContextMenu(*contextMenu_, menu_->entries(),
                            [this](TrayCommand command) { run(command); });
    }
    return *contextMenu_;
}

} // namespace quillon
