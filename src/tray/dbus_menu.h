#pragma once

#include "tray/tray_dbus_types.h"
#include "tray/tray_menu.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

#include <optional>

namespace quillon {

class DBusMenuAdaptor;

// The panel item's menu, exported as com.canonical.dbusmenu so that the panel draws it itself:
// the entries of trayMenuEntries(), a fixed layout (revision 1). A click on an entry is reported
// as `triggered` once the bus call has been answered.
class DBusMenu : public QObject, protected QDBusContext {
    Q_OBJECT
    // Error replies are sent through the menu, which carries the context of the call in flight.
    friend class DBusMenuAdaptor;

public:
    static constexpr auto objectPath = "/MenuBar";
    static constexpr auto interfaceName = "com.canonical.dbusmenu";
    static constexpr uint revision = 1;

    explicit DBusMenu(QDBusConnection bus, QObject* parent = nullptr);
    ~DBusMenu() override;
    DBusMenu(const DBusMenu&) = delete;
    DBusMenu& operator=(const DBusMenu&) = delete;

    bool isPublished() const { return published_; }

    // The node `id` with its children down to `depth` levels (-1: all), keeping only the
    // properties named in `names` (empty: all). Nothing for an unknown id.
    std::optional<DBusMenuLayoutItem> layout(int id, int depth, const QStringList& names) const;
    // The properties of one item, filtered as above; nothing for an unknown id.
    std::optional<QVariantMap> properties(int id, const QStringList& names = {}) const;
    // Reacts to one event of the panel ("clicked"); false for an unknown id.
    bool handleEvent(int id, const QString& eventId);

signals:
    void triggered(quillon::TrayCommand command);

private:
    QDBusConnection bus_;
    bool published_ = false;
};

} // namespace quillon
