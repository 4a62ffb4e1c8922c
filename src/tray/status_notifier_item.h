#pragma once

#include "tray/tray_dbus_types.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QPoint>
#include <QString>

namespace quillon {

class StatusNotifierItemAdaptor;

// The application's item in the desktop panel, published on the session bus as an
// org.kde.StatusNotifierItem: the gauge icon, the short usage text as its label (shown next to
// the icon where the panel supports labels) and as its tooltip, and a menu exported separately.
// Panels find it through the StatusNotifierWatcher, with which it registers on request.
class StatusNotifierItem : public QObject {
    Q_OBJECT

public:
    static constexpr auto objectPath = "/StatusNotifierItem";
    static constexpr auto interfaceName = "org.kde.StatusNotifierItem";
    static constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
    static constexpr auto watcherPath = "/StatusNotifierWatcher";
    // The widest label, so that panels can reserve its room.
    static constexpr auto labelGuide = " C:100% X:100%";

    // Publishes the item on `bus` under its own service name; `menuPath` is the object path of
    // the item's com.canonical.dbusmenu menu on the same connection.
    StatusNotifierItem(QDBusConnection bus, const QString& menuPath, QObject* parent = nullptr);
    ~StatusNotifierItem() override;
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;

    // "org.kde.StatusNotifierItem-<pid>-<n>".
    const QString& serviceName() const { return serviceName_; }
    // Whether the service name and the object could be published.
    bool isPublished() const { return published_; }

    // The text beside the icon and in the tooltip; a change is announced on the bus.
    void setLabel(const QString& label);
    const QString& label() const { return label_; }

    // Asks the watcher (if any) to show the item; the answer arrives as registrationFinished.
    // Only the answer to the latest request is reported.
    void registerWithWatcher();

    // The bus-visible state, read by the adaptor.
    QString iconName() const { return iconName_; }
    const SniIconPixmaps& iconPixmaps() const { return iconPixmaps_; }
    SniToolTip toolTip() const;
    QDBusObjectPath menu() const { return menuPath_; }

signals:
    // A primary click on the item at this point (screen coordinates).
    void activated(QPoint point);
    // The panel asks the application to show its own context menu at this point.
    void contextMenuRequested(QPoint point);
    void registrationFinished(bool registered);

private:
    void announceChanged(const QStringList& properties);

    QDBusConnection bus_;
    QString serviceName_;
    QDBusObjectPath menuPath_;
    QString label_;
    QString iconName_;
    SniIconPixmaps iconPixmaps_;
    StatusNotifierItemAdaptor* adaptor_ = nullptr;
    bool published_ = false;
    quint64 registrationRequest_ = 0;
};

} // namespace quillon
