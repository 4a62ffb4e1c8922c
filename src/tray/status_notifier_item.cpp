#include "tray/status_notifier_item.h"

#include "tray/symbolic_icon.h"

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <atomic>

namespace quillon {

namespace {

constexpr auto applicationId = "quillon";

SniIconPixmaps toSniIconPixmaps(const QList<QImage>& images) {
    SniIconPixmaps pixmaps;
    for (const QImage& image : images) {
        pixmaps.append(toSniIconPixmap(image));
    }
    return pixmaps;
}

const QStringList allProperties{
    QStringLiteral("Category"),
    QStringLiteral("Id"),
    QStringLiteral("Title"),
    QStringLiteral("Status"),
    QStringLiteral("WindowId"),
    QStringLiteral("IconThemePath"),
    QStringLiteral("Menu"),
    QStringLiteral("ItemIsMenu"),
    QStringLiteral("IconName"),
    QStringLiteral("IconPixmap"),
    QStringLiteral("OverlayIconName"),
    QStringLiteral("OverlayIconPixmap"),
    QStringLiteral("AttentionIconName"),
    QStringLiteral("AttentionIconPixmap"),
    QStringLiteral("AttentionMovieName"),
    QStringLiteral("ToolTip"),
    QStringLiteral("XAyatanaLabel"),
    QStringLiteral("XAyatanaLabelGuide"),
};

QString nextServiceName() {
    static std::atomic<int> instance{0};
    return QStringLiteral("org.kde.StatusNotifierItem-%1-%2")
        .arg(QCoreApplication::applicationPid())
        .arg(++instance);
}

} // namespace

// The org.kde.StatusNotifierItem interface of the item, with the Ayatana label extension. The
// introspection data is written out so that every signature is exactly the protocol's.
class StatusNotifierItemAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"org.kde.StatusNotifierItem\">\n"
                "    <property name=\"Category\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"Id\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"Title\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"Status\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"WindowId\" type=\"i\" access=\"read\"/>\n"
                "    <property name=\"IconThemePath\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"Menu\" type=\"o\" access=\"read\"/>\n"
                "    <property name=\"ItemIsMenu\" type=\"b\" access=\"read\"/>\n"
                "    <property name=\"IconName\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"IconPixmap\" type=\"a(iiay)\" access=\"read\"/>\n"
                "    <property name=\"OverlayIconName\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"OverlayIconPixmap\" type=\"a(iiay)\" access=\"read\"/>\n"
                "    <property name=\"AttentionIconName\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"AttentionIconPixmap\" type=\"a(iiay)\" access=\"read\"/>\n"
                "    <property name=\"AttentionMovieName\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"ToolTip\" type=\"(sa(iiay)ss)\" access=\"read\"/>\n"
                "    <property name=\"XAyatanaLabel\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"XAyatanaLabelGuide\" type=\"s\" access=\"read\"/>\n"
                "    <method name=\"ContextMenu\">\n"
                "      <arg name=\"x\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"y\" type=\"i\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"Activate\">\n"
                "      <arg name=\"x\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"y\" type=\"i\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"SecondaryActivate\">\n"
                "      <arg name=\"x\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"y\" type=\"i\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"Scroll\">\n"
                "      <arg name=\"delta\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"orientation\" type=\"s\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"ProvideXdgActivationToken\">\n"
                "      <arg name=\"token\" type=\"s\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <signal name=\"NewTitle\"/>\n"
                "    <signal name=\"NewIcon\"/>\n"
                "    <signal name=\"NewAttentionIcon\"/>\n"
                "    <signal name=\"NewOverlayIcon\"/>\n"
                "    <signal name=\"NewMenu\"/>\n"
                "    <signal name=\"NewToolTip\"/>\n"
                "    <signal name=\"NewStatus\">\n"
                "      <arg name=\"status\" type=\"s\"/>\n"
                "    </signal>\n"
                "    <signal name=\"NewIconThemePath\">\n"
                "      <arg name=\"icon_theme_path\" type=\"s\"/>\n"
                "    </signal>\n"
                "    <signal name=\"XAyatanaNewLabel\">\n"
                "      <arg name=\"label\" type=\"s\"/>\n"
                "      <arg name=\"guide\" type=\"s\"/>\n"
                "    </signal>\n"
                "  </interface>\n")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconThemePath READ iconThemePath)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(quillon::SniIconPixmaps IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ emptyText)
    Q_PROPERTY(quillon::SniIconPixmaps OverlayIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionIconName READ emptyText)
    Q_PROPERTY(quillon::SniIconPixmaps AttentionIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionMovieName READ emptyText)
    Q_PROPERTY(quillon::SniToolTip ToolTip READ toolTip)
    Q_PROPERTY(QString XAyatanaLabel READ label)
    Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide)

public:
    explicit StatusNotifierItemAdaptor(StatusNotifierItem* item)
        : QDBusAbstractAdaptor(item), item_(item) {
        setAutoRelaySignals(false);
    }

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const { return QString::fromLatin1(applicationId); }
    QString title() const { return QString::fromLatin1(StatusNotifierItem::title); }
    QString status() const {
        return item_->isPassive() ? QStringLiteral("Passive") : QStringLiteral("Active");
    }
    int windowId() const { return 0; }
    QString emptyText() const { return {}; }
    QDBusObjectPath menu() const { return item_->menu(); }
    bool itemIsMenu() const { return false; }
    QString iconName() const { return item_->iconName(); }
    QString iconThemePath() const { return item_->iconThemePath(); }
    SniIconPixmaps iconPixmap() const { return item_->iconPixmaps(); }
    SniIconPixmaps noPixmaps() const { return {}; }
    SniToolTip toolTip() const { return item_->toolTip(); }
    QString label() const { return item_->label(); }
    QString labelGuide() const { return QString::fromLatin1(StatusNotifierItem::labelGuide); }

public slots:
    void ContextMenu(int x, int y) { emit item_->contextMenuRequested(QPoint(x, y)); }
    void Activate(int x, int y) { emit item_->activated(QPoint(x, y)); }
    // A middle click has no meaning of its own here.
    void SecondaryActivate(int, int) {}
    void Scroll(int, const QString&) {}
    // The panel window runs on X11 (also under XWayland), where showing it needs no token.
    void ProvideXdgActivationToken(const QString&) {}

signals:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewOverlayIcon();
    void NewMenu();
    void NewToolTip();
    void NewStatus(const QString& status);
    void NewIconThemePath(const QString& iconThemePath);
    void XAyatanaNewLabel(const QString& label, const QString& guide);

private:
    StatusNotifierItem* item_;
};

StatusNotifierItem::StatusNotifierItem(QDBusConnection bus, const QString& menuPath,
                                       QObject* parent)
    : QObject(parent), bus_(std::move(bus)), serviceName_(nextServiceName()), menuPath_(menuPath) {
    registerTrayDBusTypes();
    iconThemePath_ = symbolicIconThemePath();
    drawFigures(figures_);
    adaptor_ = new StatusNotifierItemAdaptor(this);
    published_ = bus_.registerObject(QString::fromLatin1(objectPath), this) &&
                 bus_.registerService(serviceName_);
}

StatusNotifierItem::~StatusNotifierItem() {
    bus_.unregisterObject(QString::fromLatin1(objectPath));
    bus_.unregisterService(serviceName_);
}

QString StatusNotifierItem::iconName() const {
    return figures_.any() ? figuresIconName_ : QString::fromLatin1(symbolicIconName);
}

void StatusNotifierItem::drawFigures(const TrayFigures& figures) {
    figures_ = figures;
    const QList<QImage> images = trayIconImages(figures_);
    iconPixmaps_ = toSniIconPixmaps(images);
    figuresIconName_.clear();
    if (figures_.any()) {
        // One name for each picture: hosts keep what they once loaded under a name. No dashes:
        // GTK hosts also try every shorter name cut at a dash, with "-symbolic" added, and
        // "quillon" would end in the idle icon before they looked for the new picture at all.
        const auto figure = [](const std::optional<std::int64_t>& percent) {
            return percent ? QString::number(*percent) : QStringLiteral("none");
        };
        const QString name = QStringLiteral("quillon_figures_%1_%2")
                                 .arg(figure(figures_.claude), figure(figures_.codex));
        if (writeNamedIcon(name, images)) {
            figuresIconName_ = name;
        }
    }
}

SniToolTip StatusNotifierItem::toolTip() const {
    // The blank that keeps the label apart from the icon has no place in a tooltip.
    QString text = label_.startsWith(QLatin1Char(' ')) ? label_.mid(1) : label_;
    if (!toolTipDetails_.isEmpty()) {
        text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + toolTipDetails_;
    }
    return SniToolTip{iconName(), iconPixmaps_, QString::fromLatin1(StatusNotifierItem::title),
                      text};
}

void StatusNotifierItem::setToolTipDetails(const QString& details) {
    if (details == toolTipDetails_) {
        return;
    }
    toolTipDetails_ = details;
    emit adaptor_->NewToolTip();
    announceChanged({QStringLiteral("ToolTip")});
}

void StatusNotifierItem::setLabel(const QString& label) {
    show(label, figures_);
}

void StatusNotifierItem::setFigures(const TrayFigures& figures) {
    show(label_, figures);
}

void StatusNotifierItem::show(const QString& label, const TrayFigures& figures) {
    const bool newLabel = label != label_;
    const bool newIcon = figures != figures_;
    if (!newLabel && !newIcon) {
        return;
    }
    QStringList changed;
    if (newLabel) {
        label_ = label;
        emit adaptor_->XAyatanaNewLabel(label_, QString::fromLatin1(labelGuide));
        changed << QStringLiteral("XAyatanaLabel");
    }
    if (newIcon) {
        drawFigures(figures);
        emit adaptor_->NewIcon();
        changed << QStringLiteral("IconName") << QStringLiteral("IconPixmap");
    }
    emit adaptor_->NewToolTip();
    changed << QStringLiteral("ToolTip");
    announceChanged(changed);
}

void StatusNotifierItem::setPassive(bool passive) {
    if (passive == passive_) {
        return;
    }
    passive_ = passive;
    emit adaptor_->NewStatus(adaptor_->status());
    announceChanged({QStringLiteral("Status")});
}

void StatusNotifierItem::announceAll() {
    announceChanged(allProperties);
}

void StatusNotifierItem::announceChanged(const QStringList& properties) {
    QVariantMap changed;
    for (const auto& name : properties) {
        changed.insert(name, adaptor_->property(name.toLatin1().constData()));
    }
    auto signal = QDBusMessage::createSignal(QString::fromLatin1(objectPath),
                                             QStringLiteral("org.freedesktop.DBus.Properties"),
                                             QStringLiteral("PropertiesChanged"));
    signal << QString::fromLatin1(interfaceName) << changed << QStringList();
    bus_.send(signal);
}

void StatusNotifierItem::registerWithWatcher() {
    const quint64 request = ++registrationRequest_;
    auto call = QDBusMessage::createMethodCall(
        QString::fromLatin1(watcherService), QString::fromLatin1(watcherPath),
        QString::fromLatin1(watcherService), QStringLiteral("RegisterStatusNotifierItem"));
    call << serviceName_;
    auto* pending = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [this, request](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (request == registrationRequest_) {
                    emit registrationFinished(published_ && !finished->isError());
                }
            });
}

} // namespace quillon

#include "status_notifier_item.moc"
