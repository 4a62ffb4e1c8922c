#pragma once

#include "model/usage_data.h"
#include "tray/tray_menu.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class QDBusServiceWatcher;
class QMenu;
class QSystemTrayIcon;

namespace quillon {

class DBusMenu;
class StatusNotifierItem;

// The application's presence in the desktop panel. Our own StatusNotifierItem (with its
// dbusmenu) wherever a StatusNotifierWatcher runs, and a plain QSystemTrayIcon (icon, tooltip,
// context menu) where none does; it follows the watcher as it comes and goes.
class TrayIcon : public QObject {
    Q_OBJECT

public:
    enum class Mode {
        // The watcher has not answered yet.
        undecided,
        statusNotifierItem,
        fallback,
    };

    explicit TrayIcon(TrayActions actions,
                      const QDBusConnection& bus = QDBusConnection::sessionBus(),
                      QObject* parent = nullptr);
    ~TrayIcon() override;
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    // Sets the text beside the icon (where the panel shows one) and in the tooltip.
    void updateMenuBarTitle(const std::optional<UsageData>& claude,
                            const std::optional<UsageData>& codex);
    const QString& title() const { return title_; }

    Mode mode() const { return mode_; }
    StatusNotifierItem& statusNotifierItem() { return *item_; }
    // The fallback icon; none until the fallback was first needed, and none where the platform
    // is not X11.
    QSystemTrayIcon* fallbackIcon() { return fallback_.get(); }

signals:
    void modeChanged(quillon::TrayIcon::Mode mode);

private:
    void setMode(Mode mode);
    void showFallback();
    QMenu& contextMenu();

    TrayActions actions_;
    QString title_;
    Mode mode_ = Mode::undecided;
    std::unique_ptr<DBusMenu> menu_;
    std::unique_ptr<StatusNotifierItem> item_;
    QDBusServiceWatcher* watcher_ = nullptr;
    std::unique_ptr<QMenu> contextMenu_;
    std::unique_ptr<QSystemTrayIcon> fallback_;
};

} // namespace quillon
