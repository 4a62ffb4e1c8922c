#pragma once

#include "tray/tray_dbus_types.h"
#include "tray/tray_menu.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

#include <optional>
#include <vector>

namespace quillon {

class DBusMenuAdaptor;

// The panel item's menu, exported as com.canonical.dbusmenu so that the panel draws it itself:
// the entries of trayMenuEntries(), whose lines of figures follow the data; every change of the
// entries is a new layout revision, announced with LayoutUpdated. A click on a command is
// reported as `triggered` once the bus call has been answered.
class DBusMenu : public QObject, protected QDBusContext {
    Q_OBJECT
    // Error replies are sent through the menu, which carries the context of the call in flight.
    friend class DBusMenuAdaptor;

public:
    static constexpr auto objectPath = "/MenuBar";
    static constexpr auto interfaceName = "com.canonical.dbusmenu";

    explicit DBusMenu(QDBusConnection bus, QObject* parent = nullptr);
    ~DBusMenu() override;
    DBusMenu(const DBusMenu&) = delete;
    DBusMenu& operator=(const DBusMenu&) = delete;

    bool isPublished() const { return published_; }

    // Replaces the entries; a change is a new revision, announced on the bus.
    void setEntries(std::vector<TrayMenuEntry> entries);
    const std::vector<TrayMenuEntry>& entries() const { return entries_; }
    // 1 for the first layout, one more for every change.
    uint revision() const { return revision_; }

    // The node `id` with its children down to `depth` levels (-1: all), keeping only the
    // properties named in `names` (empty: all). Nothing for an unknown id.
    std::optional<DBusMenuLayoutItem> layout(int id, int depth, const QStringList& names) const;
    // The properties of one item, filtered as above; nothing for an unknown id.
    std::optional<QVariantMap> properties(int id, const QStringList& names = {}) const;
    // Reacts to one event of the panel ("clicked"); false for an unknown id.
    bool handleEvent(int id, const QString& eventId);

signals:
    void triggered(quillon::TrayCommand command);
    // The host is about to show the menu (it asks whether the root needs refreshing).
    void opening();

private:
    const TrayMenuEntry* findEntry(int id) const;

    QDBusConnection bus_;
    DBusMenuAdaptor* adaptor_ = nullptr;
    std::vector<TrayMenuEntry> entries_ = trayMenuEntries(std::nullopt, std::nullopt, Instant{});
    uint revision_ = 1;
    bool published_ = false;
};

} // namespace quillon
