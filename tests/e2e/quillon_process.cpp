#include "quillon_process.h"

#include "support/qt_wait.h"

#include <QProcess>

namespace quillon::test {

QProcessEnvironment headlessEnvironment() {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    return env;
}

ProcessOutcome runQuillon(const QStringList& args, const std::string& input,
                          QProcessEnvironment env, int timeoutMs) {
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(QUILLON_BINARY), args);
    if (!process.waitForStarted(10000)) {
        return {};
    }
    process.write(input.data(), static_cast<qint64>(input.size()));
    process.closeWriteChannel();
    if (!waitUntil([&] { return process.state() == QProcess::NotRunning; }, timeoutMs)) {
        process.kill();
        process.waitForFinished(5000);
        return {-1, process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

} // namespace quillon::test
