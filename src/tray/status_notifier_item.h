#pragma once

#include "tray/tray_dbus_types.h"
#include "tray/tray_icon_image.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QPoint>
#include <QString>

namespace quillon {

class StatusNotifierItemAdaptor;

// The application's item in the desktop panel, published on the session bus as an
// org.kde.StatusNotifierItem: the icon (the two five-hour figures as bars, or the idle symbolic
// gauge), the short usage text as its label (shown next to the icon where the panel supports
// labels) and in its tooltip, and a menu exported separately. Panels find it through the
// StatusNotifierWatcher, with which it registers on request. Every property holds a
// well-formed value from the start: hosts read them all while the item registers.
class StatusNotifierItem : public QObject {
    Q_OBJECT

public:
    static constexpr auto objectPath = "/StatusNotifierItem";
    static constexpr auto interfaceName = "org.kde.StatusNotifierItem";
    static constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
    static constexpr auto watcherPath = "/StatusNotifierWatcher";
    // The item's title, which hosts may also give the item's button as its accessible name.
    static constexpr auto title = "Quillon";
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

    // The text beside the icon, exactly as given, and in the tooltip without its leading
    // blank; a change is announced on the bus.
    void setLabel(const QString& label);
    const QString& label() const { return label_; }
    // The figures drawn as the icon; none: the idle gauge, named so that hosts can tint it.
    void setFigures(const TrayFigures& figures);
    const TrayFigures& figures() const { return figures_; }
    // Both at once, announced together.
    void show(const QString& label, const TrayFigures& figures);
    // Further lines of the tooltip under the label's text (the pace of each window); a change is
    // announced on the bus.
    void setToolTipDetails(const QString& details);
    // A passive item ("Passive" status) is one that hosts may leave out of the bar: for while
    // the desktop shows Quillon's figures by other means. A change is announced on the bus.
    void setPassive(bool passive);
    bool isPassive() const { return passive_; }
    // Sends every property in one PropertiesChanged, for a host that lost its copy.
    void announceAll();

    // Asks the watcher (if any) to show the item; the answer arrives as registrationFinished.
    // Only the answer to the latest request is reported.
    void registerWithWatcher();

    // The bus-visible state, read by the adaptor.
    // "quillon-symbolic" while idle; while figures are shown, the name under which their
    // picture is written to the icon theme path (for the hosts that draw named icons only, as
    // the Ayatana indicators do), or empty where it could not be written: IconPixmap carries
    // the same picture.
    QString iconName() const;
    // Where the idle icon and the figures' picture can be found by name, even uninstalled.
    QString iconThemePath() const { return iconThemePath_; }
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
    void drawFigures(const TrayFigures& figures);

    QDBusConnection bus_;
    QString serviceName_;
    QDBusObjectPath menuPath_;
    QString label_;
    QString toolTipDetails_;
    QString iconThemePath_;
    TrayFigures figures_;
    QString figuresIconName_;
    SniIconPixmaps iconPixmaps_;
    StatusNotifierItemAdaptor* adaptor_ = nullptr;
    bool published_ = false;
    bool passive_ = false;
    quint64 registrationRequest_ = 0;
};

} // namespace quillon
