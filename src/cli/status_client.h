#pragma once

#include "cli/status_formats.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <functional>

class QDBusServiceWatcher;

namespace quillon {

// Reads the running application's figures from its session-bus interface, and follows them.
class StatusClient : public QObject {
    Q_OBJECT

public:
    using OnChange = std::function<void(const StatusFigures&)>;

    // A running application answers at once; one that takes longer than `timeoutMs` is taken
    // for not running.
    explicit StatusClient(QDBusConnection bus, int timeoutMs = defaultTimeoutMs,
                          QObject* parent = nullptr);

    static constexpr int defaultTimeoutMs = 5000;

    // The figures as the application offers them now; not running when its name has no owner
    // or the owner does not answer.
    StatusFigures read();

    // From now on calls `onChange` with the figures on every change the application announces,
    // with "not running" when its name goes away, and with the figures again when it comes back.
    void follow(OnChange onChange);

    // The figures in properties read with plainValue().
    static StatusFigures figuresFrom(const QVariantMap& properties);
    // A value as the bus delivered it, as a plain one: every dictionary a QVariantMap, every
    // array of integers a QList<qlonglong>; what cannot be one of ours reads as invalid.
    static QVariant plainValue(const QVariant& value);

private slots:
    void propertiesChanged(const QDBusMessage& message);

private:
    bool readAll();

    QDBusConnection bus_;
    int timeoutMs_;
    QVariantMap properties_;
    bool running_ = false;
    OnChange onChange_;
    QDBusServiceWatcher* watcher_ = nullptr;
};

} // namespace quillon
