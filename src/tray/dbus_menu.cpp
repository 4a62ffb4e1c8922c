#include "tray/dbus_menu.h"

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QTimer>

namespace quillon {

namespace {

QVariantMap filtered(QVariantMap properties, const QStringList& names) {
    if (names.isEmpty()) {
        return properties;
    }
    for (auto it = properties.begin(); it != properties.end();) {
        it = names.contains(it.key()) ? std::next(it) : properties.erase(it);
    }
    return properties;
}

const QString unknownIdError = QStringLiteral("com.canonical.dbusmenu.UnknownId");

} // namespace

// The com.canonical.dbusmenu interface (protocol version 3) of the menu.
// Slot parameter types are spelled out: the bus looks them up by the names written here.
class DBusMenuAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"com.canonical.dbusmenu\">\n"
                "    <property name=\"Version\" type=\"u\" access=\"read\"/>\n"
                "    <property name=\"TextDirection\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"Status\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"IconThemePath\" type=\"as\" access=\"read\"/>\n"
                "    <method name=\"GetLayout\">\n"
                "      <arg name=\"parentId\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"recursionDepth\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"propertyNames\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"revision\" type=\"u\" direction=\"out\"/>\n"
                "      <arg name=\"layout\" type=\"(ia{sv}av)\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"GetGroupProperties\">\n"
                "      <arg name=\"ids\" type=\"ai\" direction=\"in\"/>\n"
                "      <arg name=\"propertyNames\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"properties\" type=\"a(ia{sv})\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"GetProperty\">\n"
                "      <arg name=\"id\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"name\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"value\" type=\"v\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"Event\">\n"
                "      <arg name=\"id\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"eventId\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"data\" type=\"v\" direction=\"in\"/>\n"
                "      <arg name=\"timestamp\" type=\"u\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"EventGroup\">\n"
                "      <arg name=\"events\" type=\"a(isvu)\" direction=\"in\"/>\n"
                "      <arg name=\"idErrors\" type=\"ai\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"AboutToShow\">\n"
                "      <arg name=\"id\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"needUpdate\" type=\"b\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"AboutToShowGroup\">\n"
                "      <arg name=\"ids\" type=\"ai\" direction=\"in\"/>\n"
                "      <arg name=\"updatesNeeded\" type=\"ai\" direction=\"out\"/>\n"
                "      <arg name=\"idErrors\" type=\"ai\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <signal name=\"ItemsPropertiesUpdated\">\n"
                "      <arg name=\"updatedProps\" type=\"a(ia{sv})\"/>\n"
                "      <arg name=\"removedProps\" type=\"a(ias)\"/>\n"
                "    </signal>\n"
                "    <signal name=\"LayoutUpdated\">\n"
                "      <arg name=\"revision\" type=\"u\"/>\n"
                "      <arg name=\"parent\" type=\"i\"/>\n"
                "    </signal>\n"
                "    <signal name=\"ItemActivationRequested\">\n"
                "      <arg name=\"id\" type=\"i\"/>\n"
                "      <arg name=\"timestamp\" type=\"u\"/>\n"
                "    </signal>\n"
                "  </interface>\n")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    explicit DBusMenuAdaptor(DBusMenu* menu) : QDBusAbstractAdaptor(menu), menu_(menu) {
        setAutoRelaySignals(false);
    }

    uint version() const { return 3; }
    QString textDirection() const { return QStringLiteral("ltr"); }
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

public slots:
    uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                   quillon::DBusMenuLayoutItem& layout) {
        if (auto found = menu_->layout(parentId, recursionDepth, propertyNames)) {
            layout = *found;
        } else {
            menu_->sendErrorReply(unknownIdError, QStringLiteral("No menu item %1").arg(parentId));
        }
        return menu_->revision();
    }

    QList<quillon::DBusMenuItemProperties> GetGroupProperties(const QList<int>& ids,
                                                              const QStringList& propertyNames) {
        QList<int> wanted = ids;
        if (wanted.isEmpty()) {
            wanted.append(0);
            for (const auto& entry : menu_->entries()) {
                wanted.append(entry.id);
            }
        }
        DBusMenuItemPropertiesList result;
        for (const int id : wanted) {
            if (auto properties = menu_->properties(id, propertyNames)) {
                result.append({id, *properties});
            }
        }
        return result;
    }

    QDBusVariant GetProperty(int id, const QString& name) {
        const auto properties = menu_->properties(id);
        if (!properties) {
            menu_->sendErrorReply(unknownIdError, QStringLiteral("No menu item %1").arg(id));
            return QDBusVariant(QString());
        }
        if (!properties->contains(name)) {
            menu_->sendErrorReply(QStringLiteral("com.canonical.dbusmenu.UnknownProperty"), name);
            return QDBusVariant(QString());
        }
        return QDBusVariant(properties->value(name));
    }

    void Event(int id, const QString& eventId, const QDBusVariant&, uint) {
        if (!menu_->handleEvent(id, eventId)) {
            menu_->sendErrorReply(unknownIdError, QStringLiteral("No menu item %1").arg(id));
        }
    }

    QList<int> EventGroup(const QList<quillon::DBusMenuEvent>& events) {
        QList<int> idErrors;
        for (const auto& event : events) {
            if (!menu_->handleEvent(event.id, event.eventId)) {
                idErrors.append(event.id);
            }
        }
        if (!events.isEmpty() && idErrors.size() == events.size()) {
            menu_->sendErrorReply(unknownIdError, QStringLiteral("No menu item for any event"));
        }
        return idErrors;
    }

    // Every change is announced as it happens, so nothing needs refreshing before it opens.
    bool AboutToShow(int id) {
        if (id == 0) {
            emit menu_->opening();
        }
        return false;
    }

    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) {
        if (ids.contains(0)) {
            emit menu_->opening();
        }
        for (const int id : ids) {
            if (!menu_->properties(id)) {
                idErrors.append(id);
            }
        }
        return {};
    }

signals:
    void ItemsPropertiesUpdated(const QList<quillon::DBusMenuItemProperties>& updatedProps,
                                const QList<quillon::DBusMenuItemPropertyNames>& removedProps);
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint timestamp);

private:
    DBusMenu* menu_;
};

DBusMenu::DBusMenu(QDBusConnection bus, QObject* parent) : QObject(parent), bus_(std::move(bus)) {
    registerTrayDBusTypes();
    adaptor_ = new DBusMenuAdaptor(this);
    published_ = bus_.registerObject(QString::fromLatin1(objectPath), this);
}

DBusMenu::~DBusMenu() {
    bus_.unregisterObject(QString::fromLatin1(objectPath));
}

const TrayMenuEntry* DBusMenu::findEntry(int id) const {
    for (const auto& entry : entries_) {
        if (entry.id == id) {
            return &entry;
        }
    }
    return nullptr;
}

void DBusMenu::setEntries(std::vector<TrayMenuEntry> entries) {
    if (entries == entries_) {
        return;
    }
    entries_ = std::move(entries);
    ++revision_;
    emit adaptor_->LayoutUpdated(revision_, 0);
}

std::optional<QVariantMap> DBusMenu::properties(int id, const QStringList& names) const {
    if (id == 0) {
        return filtered({{QStringLiteral("children-display"), QStringLiteral("submenu")}}, names);
    }
    const auto* entry = findEntry(id);
    if (!entry) {
        return std::nullopt;
    }
    if (entry->isSeparator()) {
        return filtered({{QStringLiteral("type"), QStringLiteral("separator")}}, names);
    }
    // A line of figures is shown but cannot be chosen.
    return filtered({{QStringLiteral("label"), entry->label},
                     {QStringLiteral("enabled"), entry->command.has_value()},
                     {QStringLiteral("visible"), true}},
                    names);
}

std::optional<DBusMenuLayoutItem> DBusMenu::layout(int id, int depth,
                                                   const QStringList& names) const {
    auto properties = this->properties(id, names);
    if (!properties) {
        return std::nullopt;
    }
    DBusMenuLayoutItem item{id, *properties, {}};
    // Only the menu itself has children; depth 0 asks for the node alone.
    if (id == 0 && depth != 0) {
        for (const auto& entry : entries_) {
            item.children.append(*layout(entry.id, depth < 0 ? depth : depth - 1, names));
        }
    }
    return item;
}

bool DBusMenu::handleEvent(int id, const QString& eventId) {
    const auto* entry = id == 0 ? nullptr : findEntry(id);
    if (id != 0 && !entry) {
        return false;
    }
    if (entry && entry->command && eventId == QLatin1String("clicked")) {
        // After the reply has gone out: "Quit" must not end the process mid-call.
        const TrayCommand command = *entry->command;
        QTimer::singleShot(0, this, [this, command] { emit triggered(command); });
    }
    return true;
}

} // namespace quillon

#include "dbus_menu.moc"
