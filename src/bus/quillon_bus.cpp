#include "bus/quillon_bus.h"

#include "app/app_state.h"
#include "app/bus_figures.h"
#include "app/bus_names.h"

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>

#include <algorithm>
#include <utility>

namespace quillon {

// The org.quillon.Quillon1 interface. The introspection data is written out so that every
// property's signature is exactly the documented one.
class QuillonBusAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.quillon.Quillon1")
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"org.quillon.Quillon1\">\n"
                "    <property name=\"Title\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"LastUpdated\" type=\"x\" access=\"read\"/>\n"
                "    <property name=\"Claude\" type=\"a{sv}\" access=\"read\"/>\n"
                "    <property name=\"Codex\" type=\"a{sv}\" access=\"read\"/>\n"
                "    <property name=\"AlertThresholds\" type=\"ax\" access=\"read\"/>\n"
                "    <property name=\"MenuRows\" type=\"as\" access=\"read\"/>\n"
                "    <property name=\"PanelVisible\" type=\"b\" access=\"read\"/>\n"
                "    <method name=\"Refresh\"/>\n"
                "    <method name=\"RefreshAndWait\"/>\n"
                "    <method name=\"ShowPanel\"/>\n"
                "    <method name=\"ShowPanelAt\">\n"
                "      <arg name=\"x\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"y\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"width\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"height\" type=\"i\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"TogglePanelAt\">\n"
                "      <arg name=\"x\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"y\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"width\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"height\" type=\"i\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"HidePanel\"/>\n"
                "    <method name=\"PressedAt\">\n"
                "      <arg name=\"x\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"y\" type=\"i\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"Quit\"/>\n"
                "    <signal name=\"PanelWanted\"/>\n"
                "  </interface>\n")
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(qlonglong LastUpdated READ lastUpdated)
    Q_PROPERTY(QVariantMap Claude READ claude)
    Q_PROPERTY(QVariantMap Codex READ codex)
    Q_PROPERTY(QList<qlonglong> AlertThresholds READ alertThresholds)
    Q_PROPERTY(QStringList MenuRows READ menuRows)
    Q_PROPERTY(bool PanelVisible READ panelVisible)

public:
    explicit QuillonBusAdaptor(QuillonBus* bus) : QDBusAbstractAdaptor(bus), bus_(bus) {
        setAutoRelaySignals(false);
    }

    QString title() const { return value("Title").toString(); }
    qlonglong lastUpdated() const { return value("LastUpdated").toLongLong(); }
    QVariantMap claude() const { return value("Claude").toMap(); }
    QVariantMap codex() const { return value("Codex").toMap(); }
    QList<qlonglong> alertThresholds() const {
        return value("AlertThresholds").value<QList<qlonglong>>();
    }
    QStringList menuRows() const { return value("MenuRows").toStringList(); }
    bool panelVisible() const { return value("PanelVisible").toBool(); }

public slots:
    void Refresh() { bus_->refresh(); }
    void ShowPanel() { run(bus_->actions().showPanel); }
    void ShowPanelAt(int x, int y, int width, int height) {
        run(bus_->actions().showPanelUnder, rectangle(x, y, width, height));
    }
    void TogglePanelAt(int x, int y, int width, int height) {
        run(bus_->actions().togglePanelUnder, rectangle(x, y, width, height));
    }
    void HidePanel() { run(bus_->actions().hidePanel); }
    void PressedAt(int x, int y) { run(bus_->actions().pressedAt, QPoint(x, y)); }
    void Quit() { run(bus_->actions().quit); }
    void RefreshAndWait(const QDBusMessage& message) { bus_->refreshAndWait(message); }

private:
    template <typename Action, typename... Args>
    static void run(const Action& action, Args&&... args) {
        if (action) {
            action(std::forward<Args>(args)...);
        }
    }

    // A rectangle as a client sends it; one of no size stands for its corner.
    static QRect rectangle(int x, int y, int width, int height) {
        return {x, y, std::max(width, 1), std::max(height, 1)};
    }

    QVariant value(const char* name) const {
        return bus_->properties().value(QString::fromLatin1(name));
    }

    QuillonBus* bus_;
};

QuillonBus::QuillonBus(AppState& state, BusActions actions, QDBusConnection bus, QObject* parent)
    : QObject(parent), state_(state), actions_(std::move(actions)), bus_(std::move(bus)) {
    adaptor_ = new QuillonBusAdaptor(this);
    announced_ = properties();
    // One state change often comes as several signals in a row (both providers, then the time of
    // the update): they are compared once the whole step has run, and announced together.
    announce_.setSingleShot(true);
    announce_.setInterval(0);
    connect(&announce_, &QTimer::timeout, this, &QuillonBus::announceChanges);
    for (const auto signal : {&AppState::claudeUsageChanged, &AppState::codexUsageChanged,
                              &AppState::lastUpdatedChanged, &AppState::settingsChanged}) {
        connect(&state_, signal, &announce_, qOverload<>(&QTimer::start));
    }
    connect(&state_, &AppState::isRefreshingChanged, this, [this] {
        if (!state_.isRefreshing()) {
            answerWaiting();
        }
    });
    objectRegistered_ = bus_.registerObject(QString::fromLatin1(busNames::objectPath), this);
    published_ = objectRegistered_ && bus_.registerService(QString::fromLatin1(busNames::service));
}

QuillonBus::~QuillonBus() {
    // Only what this object took is given back: the name and the object may be another's.
    if (published_) {
        bus_.unregisterService(QString::fromLatin1(busNames::service));
    }
    if (objectRegistered_) {
        bus_.unregisterObject(QString::fromLatin1(busNames::objectPath));
    }
}

QVariantMap QuillonBus::properties() const {
    QVariantMap all = busProperties(state_.claudeUsage(), state_.codexUsage(), state_.lastUpdated(),
                                    state_.settings().notifications, state_.claudeExtraWindows(),
                                    state_.codexExtraWindows());
    all.insert(QStringLiteral("MenuRows"), actions_.menuRows ? actions_.menuRows() : QStringList());
    all.insert(QStringLiteral("PanelVisible"), actions_.panelVisible && actions_.panelVisible());
    return all;
}

void QuillonBus::refresh() {
    state_.refreshAll();
}

void QuillonBus::announce() {
    announce_.start();
}

void QuillonBus::askShellForPanel() {
    bus_.send(QDBusMessage::createSignal(QString::fromLatin1(busNames::objectPath),
                                         QString::fromLatin1(busNames::interface),
                                         QStringLiteral("PanelWanted")));
}

void QuillonBus::refreshAndWait(const QDBusMessage& message) {
    message.setDelayedReply(true);
    waiting_.append(message);
    // A refresh already under way is the one waited for; a new one starts otherwise.
    state_.refreshAll();
    if (!state_.isRefreshing()) {
        answerWaiting();
    }
}

void QuillonBus::answerWaiting() {
    for (const QDBusMessage& message : std::exchange(waiting_, {})) {
        bus_.send(message.createReply());
    }
}

void QuillonBus::announceChanges() {
    const QVariantMap current = properties();
    QVariantMap changed;
    for (auto it = current.begin(); it != current.end(); ++it) {
        if (announced_.value(it.key()) != it.value()) {
            changed.insert(it.key(), it.value());
        }
    }
    announced_ = current;
    if (changed.isEmpty()) {
        return;
    }
    auto signal = QDBusMessage::createSignal(QString::fromLatin1(busNames::objectPath),
                                             QStringLiteral("org.freedesktop.DBus.Properties"),
                                             QStringLiteral("PropertiesChanged"));
    signal << QString::fromLatin1(busNames::interface) << changed << QStringList();
    bus_.send(signal);
}

} // namespace quillon

#include "quillon_bus.moc"
