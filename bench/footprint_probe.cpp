// Measures the footprint of a Quillon process as a panel sees it. It plays the panel's
// StatusNotifierWatcher on the session bus, starts the program, and reports as JSON:
//   startup_ms         process start -> RegisterStatusNotifierItem received
//   rss_idle_kb        resident memory once started, panel never opened
//   rss_panel_kb       resident memory after opening and closing the panel (Activate twice)
//   idle_cpu_s         CPU time (user + system) used over --idle-seconds while idle
// Usage: footprint_probe [--idle-seconds N] PROGRAM [ARGS...]
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTimer>

#include <unistd.h>

namespace {

class Watcher : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)

public:
    QString service;
    qint64 registeredAtMs = -1;
    QElapsedTimer* clock = nullptr;

    bool hostRegistered() const { return true; }
    int protocolVersion() const { return 0; }
    QStringList items() const { return service.isEmpty() ? QStringList() : QStringList{service}; }

public slots:
    void RegisterStatusNotifierItem(const QString& name, const QDBusMessage& message) {
        if (registeredAtMs < 0) {
            registeredAtMs = clock->elapsed();
        }
        service = name.startsWith('/') ? message.service() : name;
    }
    void RegisterStatusNotifierHost(const QString&) {}
};

qint64 residentKb(qint64 pid) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').first().toLongLong();
        }
    }
    return -1;
}

double cpuSeconds(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QByteArray text = stat.readAll();
    // Fields after the command name, which may itself hold spaces, start after the last ')'.
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    const double ticks =
        static_cast<double>(fields.at(11).toLongLong() + fields.at(12).toLongLong());
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

void wait(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    int idleSeconds = 10;
    if (args.size() >= 2 && args.first() == QStringLiteral("--idle-seconds")) {
        idleSeconds = args.at(1).toInt();
        args = args.mid(2);
    }
    if (args.isEmpty()) {
        qFatal("usage: footprint_probe [--idle-seconds N] PROGRAM [ARGS...]");
    }

    QElapsedTimer clock;
    Watcher watcher;
    watcher.clock = &clock;
    auto bus = QDBusConnection::sessionBus();
    bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), &watcher,
                       QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
    if (!bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"))) {
        qFatal("another StatusNotifierWatcher owns the bus name");
    }

    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    clock.start();
    program.start(args.first(), args.mid(1));
    if (!program.waitForStarted(5000)) {
        qFatal("cannot start the program");
    }
    const qint64 pid = program.processId();

    while (watcher.registeredAtMs < 0 && clock.elapsed() < 10000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
    wait(3000); // let the first refresh settle
    const qint64 idleRss = residentKb(pid);

    const double cpuBefore = cpuSeconds(pid);
    wait(idleSeconds * 1000);
    const double idleCpu = cpuSeconds(pid) - cpuBefore;

    QDBusInterface item(watcher.service, QStringLiteral("/StatusNotifierItem"),
                        QStringLiteral("org.kde.StatusNotifierItem"), bus);
    item.call(QStringLiteral("Activate"), 400, 30);
    wait(1500);
    item.call(QStringLiteral("Activate"), 400, 30);
    wait(1500);
    const qint64 panelRss = residentKb(pid);

    program.terminate();
    program.waitForFinished(5000);

    const QJsonObject result{
        {QStringLiteral("startup_ms"), watcher.registeredAtMs},
        {QStringLiteral("rss_idle_kb"), idleRss},
        {QStringLiteral("rss_panel_kb"), panelRss},
        {QStringLiteral("idle_seconds"), idleSeconds},
        {QStringLiteral("idle_cpu_s"), idleCpu},
    };
    std::fputs(QJsonDocument(result).toJson(QJsonDocument::Compact).constData(), stdout);
    std::fputs("\n", stdout);
    return watcher.registeredAtMs < 0 ? 1 : 0;
}

#include "footprint_probe.moc"
