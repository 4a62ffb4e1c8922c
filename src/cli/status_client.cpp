#include "cli/status_client.h"

#include "app/bus_figures.h"
#include "app/bus_names.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusServiceWatcher>

namespace quillon {
namespace {

constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";

QString name(const char* text) {
    return QString::fromLatin1(text);
}

} // namespace

// What the bus delivers inside variants is left marshalled: dictionaries and arrays come as
// QDBusArgument. They are read out here, recursively.
QVariant StatusClient::plainValue(const QVariant& value) {
    if (value.metaType() != QMetaType::fromType<QDBusArgument>()) {
        return value;
    }
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() == QLatin1String("ax")) {
        return QVariant::fromValue(qdbus_cast<QList<qlonglong>>(argument));
    }
    if (argument.currentType() == QDBusArgument::MapType &&
        argument.currentSignature() == QLatin1String("a{sv}")) {
        QVariantMap map = qdbus_cast<QVariantMap>(argument);
        for (auto it = map.begin(); it != map.end(); ++it) {
            it.value() = plainValue(it.value());
        }
        return map;
    }
    return {};
}

namespace {

QVariantMap plainMap(const QVariant& value) {
    return StatusClient::plainValue(value).toMap();
}

} // namespace

StatusClient::StatusClient(QDBusConnection bus, int timeoutMs, QObject* parent)
    : QObject(parent), bus_(std::move(bus)), timeoutMs_(timeoutMs) {}

StatusFigures StatusClient::figuresFrom(const QVariantMap& properties) {
    StatusFigures figures;
    figures.title = properties.value(QStringLiteral("Title")).toString().toStdString();
    figures.lastUpdated =
        instantFromBus(properties.value(QStringLiteral("LastUpdated")).toLongLong());
    const QVariantMap claude = properties.value(QStringLiteral("Claude")).toMap();
    const QVariantMap codex = properties.value(QStringLiteral("Codex")).toMap();
    figures.claude = usageFromBus(Provider::claude, claude);
    figures.codex = usageFromBus(Provider::codex, codex);
    if (figures.claude) {
        figures.claudeExtra = extraWindowsFromBus(claude);
    }
    if (figures.codex) {
        figures.codexExtra = extraWindowsFromBus(codex);
    }
    figures.alertThresholds.clear();
    const QVariant thresholds = properties.value(QStringLiteral("AlertThresholds"));
    if (thresholds.metaType() == QMetaType::fromType<QList<qlonglong>>()) {
        for (const qlonglong threshold : thresholds.value<QList<qlonglong>>()) {
            figures.alertThresholds.insert(threshold);
        }
    }
    return figures;
}

bool StatusClient::readAll() {
    if (!bus_.isConnected()) {
        return false;
    }
    auto call = QDBusMessage::createMethodCall(name(busNames::service), name(busNames::objectPath),
                                               name(propertiesInterface), QStringLiteral("GetAll"));
    call << name(busNames::interface);
    const QDBusMessage reply = bus_.call(call, QDBus::Block, timeoutMs_);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return false;
    }
    properties_ = plainMap(reply.arguments().constFirst());
    return true;
}

StatusFigures StatusClient::read() {
    running_ = readAll();
    if (!running_) {
        return StatusFigures::notRunning();
    }
    return figuresFrom(properties_);
}

void StatusClient::follow(OnChange onChange) {
    onChange_ = std::move(onChange);
    // The match follows the name to whichever process owns it, across restarts.
    bus_.connect(name(busNames::service), name(busNames::objectPath), name(propertiesInterface),
                 QStringLiteral("PropertiesChanged"), this, SLOT(propertiesChanged(QDBusMessage)));
    watcher_ = new QDBusServiceWatcher(name(busNames::service), bus_,
                                       QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                onChange_(newOwner.isEmpty() ? StatusFigures::notRunning() : read());
            });
}

void StatusClient::propertiesChanged(const QDBusMessage& message) {
    const QList<QVariant> arguments = message.arguments();
    if (arguments.size() < 2 || arguments[0].toString() != name(busNames::interface)) {
        return;
    }
    const QVariantMap changed = plainMap(arguments[1]);
    for (auto it = changed.begin(); it != changed.end(); ++it) {
        properties_.insert(it.key(), it.value());
    }
    running_ = true;
    onChange_(figuresFrom(properties_));
}

} // namespace quillon
