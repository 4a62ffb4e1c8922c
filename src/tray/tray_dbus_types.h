#pragma once

#include <QDBusArgument>
#include <QImage>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace quillon {

// One icon picture as the panel protocols carry it: width, height and the pixels as ARGB32 in
// network byte order (D-Bus "(iiay)").
struct SniIconPixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes;
};
using SniIconPixmaps = QList<SniIconPixmap>;

// The tooltip of a panel item: themed icon name, pictures, title and text ("(sa(iiay)ss)").
struct SniToolTip {
    QString iconName;
    SniIconPixmaps pixmaps;
    QString title;
    QString text;
};

// One node of a menu layout: id, properties and children, each child a variant holding another
// node ("(ia{sv}av)").
struct DBusMenuLayoutItem {
    int id = 0;
    QVariantMap properties;
    QList<DBusMenuLayoutItem> children;
};

// The properties of one menu item ("(ia{sv})").
struct DBusMenuItemProperties {
    int id = 0;
    QVariantMap properties;
};
using DBusMenuItemPropertiesList = QList<DBusMenuItemProperties>;

// The names of properties removed from one menu item ("(ias)").
struct DBusMenuItemPropertyNames {
    int id = 0;
    QStringList names;
};
using DBusMenuItemPropertyNamesList = QList<DBusMenuItemPropertyNames>;

// One event of a batch sent to the menu ("(isvu)").
struct DBusMenuEvent {
    int id = 0;
    QString eventId;
    // Never empty: an empty variant cannot be put on the bus, not even to learn the signature.
    QDBusVariant data = QDBusVariant(QVariant(0));
    uint timestamp = 0;
};
using DBusMenuEventList = QList<DBusMenuEvent>;

// The picture converted for the bus.
SniIconPixmap toSniIconPixmap(const QImage& image);

// Makes the types above known to Qt's D-Bus marshalling; safe to call more than once.
void registerTrayDBusTypes();

QDBusArgument& operator<<(QDBusArgument& argument, const SniIconPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, SniIconPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const SniToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, SniToolTip& toolTip);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuLayoutItem& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuLayoutItem& item);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuItemProperties& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuItemProperties& item);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuItemPropertyNames& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuItemPropertyNames& item);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuEvent& event);

} // namespace quillon

Q_DECLARE_METATYPE(quillon::SniIconPixmap)
Q_DECLARE_METATYPE(quillon::SniToolTip)
Q_DECLARE_METATYPE(quillon::DBusMenuLayoutItem)
Q_DECLARE_METATYPE(quillon::DBusMenuItemProperties)
Q_DECLARE_METATYPE(quillon::DBusMenuItemPropertyNames)
Q_DECLARE_METATYPE(quillon::DBusMenuEvent)
