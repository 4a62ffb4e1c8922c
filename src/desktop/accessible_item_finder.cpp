#include "desktop/accessible_item_finder.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QPointer>
#include <QThreadPool>

#include <algorithm>
#include <atomic>
#include <climits>

namespace quillon {
namespace {

const QString rootPath = QStringLiteral("/org/a11y/atspi/accessible/root");
const QString accessibleInterface = QStringLiteral("org.a11y.atspi.Accessible");

// An object on the accessibility bus: the connection that serves it and its path there.
struct Reference {
    QString service;
    QString path;
};

// The time left of one lookup, shared by all its calls.
class Budget {
public:
    explicit Budget(int ms) : limit_(ms) { clock_.start(); }
    int left() const { return std::max(0, limit_ - static_cast<int>(clock_.elapsed())); }

private:
    QElapsedTimer clock_;
    int limit_;
};

std::optional<QList<QVariant>> call(const QDBusConnection& bus, const QString& service,
                                    const QString& path, const QString& interface,
                                    const QString& method, const QList<QVariant>& arguments,
                                    const Budget& budget) {
    if (budget.left() == 0) {
        return std::nullopt;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    // Nothing is started for this: an accessibility bus that is not running stays so.
    message.setAutoStartService(false);
    const QDBusMessage reply = bus.call(message, QDBus::Block, budget.left());
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return std::nullopt;
    }
    return reply.arguments();
}

QList<Reference> references(const QVariant& value) {
    QList<Reference> result;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("a(so)")) {
        return result;
    }
    argument.beginArray();
    while (!argument.atEnd()) {
        QString service;
        QDBusObjectPath path;
        argument.beginStructure();
        argument >> service >> path;
        argument.endStructure();
        result.append({service, path.path()});
    }
    argument.endArray();
    return result;
}

std::optional<QString> nameOf(const QDBusConnection& bus, const Reference& object,
                              const Budget& budget) {
    const auto reply =
        call(bus, object.service, object.path, QStringLiteral("org.freedesktop.DBus.Properties"),
             QStringLiteral("Get"), {accessibleInterface, QStringLiteral("Name")}, budget);
    if (!reply) {
        return std::nullopt;
    }
    return reply->first().value<QDBusVariant>().variant().toString();
}

std::optional<QRect> extentsOf(const QDBusConnection& bus, const Reference& object,
                               const Budget& budget) {
    // Coordinates relative to the screen (ATSPI_COORD_TYPE_SCREEN).
    const auto reply =
        call(bus, object.service, object.path, QStringLiteral("org.a11y.atspi.Component"),
             QStringLiteral("GetExtents"), {QVariant::fromValue(quint32{0})}, budget);
    if (!reply) {
        return std::nullopt;
    }
    const auto argument = reply->first().value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("(iiii)")) {
        return std::nullopt;
    }
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    argument.beginStructure();
    argument >> x >> y >> width >> height;
    argument.endStructure();
    // An object that is not shown has INT_MIN for all four.
    if (x == INT_MIN || width <= 0 || height <= 0) {
        return std::nullopt;
    }
    return QRect(x, y, width, height);
}

// The objects with the menu role in the tree under `root`, in the tree's order: the
// Collection interface's match rule (states, attributes, roles, interfaces, each with how to
// match, and whether to invert), where an empty set matched with "all" matches anything.
QList<Reference> menusUnder(const QDBusConnection& bus, const Reference& root,
                            const Budget& budget) {
    constexpr int matchAll = 1;
    constexpr int matchAny = 2;
    constexpr int sortCanonical = 1;
    QList<int> roles(AccessibleItemFinder::menuRole / 32 + 1, 0);
    roles.last() = 1 << (AccessibleItemFinder::menuRole % 32);
    QDBusArgument rule;
    rule.beginStructure();
    rule << QList<int>() << matchAll;
    rule.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QString>());
    rule.endMap();
    rule << matchAll << roles << matchAny << QStringList() << matchAll << false;
    rule.endStructure();
    const auto reply =
        call(bus, root.service, root.path, QStringLiteral("org.a11y.atspi.Collection"),
             QStringLiteral("GetMatches"),
             {QVariant::fromValue(rule), QVariant::fromValue(quint32{sortCanonical}),
              QVariant::fromValue(qint32{0}), QVariant::fromValue(true)},
             budget);
    return reply ? references(reply->first()) : QList<Reference>();
}

std::optional<QRect> searchBus(const QDBusConnection& a11y, const QString& name,
                               const QString& application, const Budget& budget) {
    const auto applications = call(a11y, QStringLiteral("org.a11y.atspi.Registry"), rootPath,
                                   accessibleInterface, QStringLiteral("GetChildren"), {}, budget);
    if (!applications) {
        return std::nullopt;
    }
    for (const Reference& app : references(applications->first())) {
        if (nameOf(a11y, app, budget) != application) {
            continue;
        }
        for (const Reference& menu : menusUnder(a11y, app, budget)) {
            if (nameOf(a11y, menu, budget) == name) {
                return extentsOf(a11y, menu, budget);
            }
        }
    }
    return std::nullopt;
}

} // namespace

AccessibleItemFinder::AccessibleItemFinder(QString name, QDBusConnection bus, QObject* parent)
    : QObject(parent), name_(std::move(name)), bus_(std::move(bus)) {
    deadline_.setSingleShot(true);
    connect(&deadline_, &QTimer::timeout, this, [this] { finish(lookup_, std::nullopt); });
}

AccessibleItemFinder::~AccessibleItemFinder() = default;

std::optional<QRect> AccessibleItemFinder::lookUp(const QDBusConnection& bus, const QString& name,
                                                  const QString& application, int timeoutMs) {
    const Budget budget(timeoutMs);
    const auto address =
        call(bus, QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
             QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress"), {}, budget);
    if (!address || address->first().toString().isEmpty()) {
        return std::nullopt;
    }
    // A connection of this lookup's own: one that outlived its deadline may still be in use.
    static std::atomic<quint64> connections{0};
    const QString connectionName =
        QStringLiteral("quillon-accessibility-%1").arg(connections.fetch_add(1));
    std::optional<QRect> item;
    {
        const QDBusConnection a11y =
            QDBusConnection::connectToBus(address->first().toString(), connectionName);
        if (a11y.isConnected()) {
            item = searchBus(a11y, name, application, budget);
        }
    }
    QDBusConnection::disconnectFromBus(connectionName);
    return item;
}

void AccessibleItemFinder::find(Callback done) {
    waiting_.push_back(std::move(done));
    if (waiting_.size() > 1) {
        return;
    }
    const quint64 lookup = ++lookup_;
    deadline_.start(timeoutMs);
    QPointer<AccessibleItemFinder> self(this);
    QThreadPool::globalInstance()->start([self, lookup, bus = bus_, name = name_] {
        const auto item = lookUp(bus, name, QString::fromLatin1(shellApplication), timeoutMs);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, lookup, item] {
                if (self) {
                    self->finish(lookup, item);
                }
            },
            Qt::QueuedConnection);
    });
}

void AccessibleItemFinder::finish(quint64 lookup, std::optional<QRect> item) {
    // An answer after the deadline, or to an earlier lookup, is too late.
    if (lookup != lookup_ || waiting_.empty()) {
        return;
    }
    deadline_.stop();
    auto done = std::exchange(waiting_, {});
    for (const Callback& callback : done) {
        callback(item);
    }
}

} // namespace quillon
