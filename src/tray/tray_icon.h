#pragma once

#include "desktop/item_anchor.h"
#include "model/usage_data.h"
#include "tray/status_notifier_item.h"
#include "tray/tray_icon_image.h"
#include "tray/tray_menu.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>
#include <optional>

class QMenu;
class QSystemTrayIcon;

namespace quillon {

class DBusMenu;
class StatusNotifierItem;
class WatcherRegistration;

// The application's presence in the desktop panel. Our own StatusNotifierItem (with its
// dbusmenu) wherever a StatusNotifierWatcher runs, and a plain QSystemTrayIcon (icon, tooltip,
// context menu) where none does; it follows the watcher as it comes and goes. Both show the same
// icon: the two five-hour figures as bars, or the idle gauge.
class TrayIcon : public QObject {
    Q_OBJECT

public:
    enum class Mode {
        // The watcher has not answered yet.
        undecided,
        statusNotifierItem,
        fallback,
    };

    // How long the item waits for a watcher before it shows the plain icon.
    static constexpr int fallbackDelayMs = 500;

    explicit TrayIcon(TrayActions actions,
                      const QDBusConnection& bus = QDBusConnection::sessionBus(),
                      ItemAnchor anchor = ItemAnchor(ItemAnchor::systemEnvironment(
                          QString::fromLatin1(StatusNotifierItem::title))),
                      QObject* parent = nullptr);
    ~TrayIcon() override;
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    // Sets the text beside the icon (where the panel shows one), the tooltip and the icon's
    // figures.
    void updateMenuBarTitle(const std::optional<UsageData>& claude,
                            const std::optional<UsageData>& codex);
    const QString& title() const { return title_; }
    // Sets the menu's lines of figures and the pace in the tooltip; called on every change of
    // the data, since the reset times change without the title.
    void updateMenu(const std::optional<UsageData>& claude, const std::optional<UsageData>& codex);

    Mode mode() const { return mode_; }
    StatusNotifierItem& statusNotifierItem() { return *item_; }
    DBusMenu& menu() { return *menu_; }
    WatcherRegistration& registration() { return *registration_; }
    ItemAnchor& anchor() { return anchor_; }
    // The fallback icon; none until the fallback was first needed, and none where the platform
    // is not X11.
    QSystemTrayIcon* fallbackIcon() { return fallback_.get(); }
    // The context menu of the fallback icon and of hosts that ask the item for one.
    QMenu& contextMenu();

signals:
    void modeChanged(quillon::TrayIcon::Mode mode);

private:
    void setMode(Mode mode);
    void showFallback();
    void run(TrayCommand command);
    void menuOpening();

    TrayActions actions_;
    ItemAnchor anchor_;
    QString title_;
    TrayFigures figures_;
    Mode mode_ = Mode::undecided;
    std::unique_ptr<DBusMenu> menu_;
    std::unique_ptr<StatusNotifierItem> item_;
    std::unique_ptr<WatcherRegistration> registration_;
    QTimer fallbackDelay_;
    std::unique_ptr<QMenu> contextMenu_;
    std::unique_ptr<QSystemTrayIcon> fallback_;
};

} // namespace quillon
