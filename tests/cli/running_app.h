#pragma once

#include "app/bus_names.h"
#include "bus/usage_servers.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QProcess>

#include <gtest/gtest.h>

#include <string>

namespace quillon::test {

constexpr int deadlineMs = 20000;

struct Outcome {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// The real binary against a stand-in for the running application (the real state and bus
// interface in a process of its own, fetching from local servers), on the test's private bus.
class RunningAppTest : public ::testing::Test {
protected:
    ~RunningAppTest() override { stop(app); }

    static void stop(QProcess& process) {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
        }
    }

    QProcessEnvironment environment() const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", QString::fromStdString(home.path().string()));
        env.insert("XDG_CONFIG_HOME", QString::fromStdString((home.path() / "config").string()));
        env.remove("DISPLAY");
        env.remove("WAYLAND_DISPLAY");
        return env;
    }

    bool appIsOnTheBus() const {
        return QDBusConnection::sessionBus()
            .interface()
            ->isServiceRegistered(QString::fromLatin1(busNames::service))
            .value();
    }

    // Starts the stand-in and waits until its first refresh is on the bus.
    void startApp() {
        app.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        app.start(QStringLiteral(QUILLON_BUS_TEST_APP),
                  {QString::fromStdString(servers.claudeApi.baseUrl()),
                   QString::fromStdString(servers.chatgpt.baseUrl()),
                   QString::fromStdString(servers.home.path().string())});
        ASSERT_TRUE(app.waitForStarted());
        ASSERT_TRUE(waitUntil([&] { return appIsOnTheBus(); }, deadlineMs));
        ASSERT_TRUE(waitUntil([&] { return lastUpdated() != 0; }, deadlineMs));
    }

    void stopApp() {
        app.terminate();
        ASSERT_TRUE(waitUntil([&] { return app.state() == QProcess::NotRunning; }));
        EXPECT_EQ(app.exitStatus(), QProcess::NormalExit);
    }

    qlonglong lastUpdated() const {
        auto call = QDBusMessage::createMethodCall(
            QString::fromLatin1(busNames::service), QString::fromLatin1(busNames::objectPath),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        call << QString::fromLatin1(busNames::interface) << QStringLiteral("LastUpdated");
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call);
        return reply.arguments().value(0).value<QDBusVariant>().variant().toLongLong();
    }

    // A refresh as the refresh button starts it, in a later second than the last one: the bus
    // carries whole seconds, so the time of the update is sure to change with it.
    void refreshApp() {
        const auto before = lastUpdated();
        waitUntil(
            [&] {
                return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now())
                           .time_since_epoch()
                           .count() > before;
            },
            2000);
        auto call = QDBusMessage::createMethodCall(
            QString::fromLatin1(busNames::service), QString::fromLatin1(busNames::objectPath),
            QString::fromLatin1(busNames::interface), QStringLiteral("Refresh"));
        QDBusConnection::sessionBus().call(call);
        ASSERT_TRUE(waitUntil([&] { return lastUpdated() != before; }, deadlineMs));
    }

    // The binary with `args`, `input` on its standard input, which is then closed.
    Outcome run(const QStringList& args, const std::string& input = {}) {
        QProcess process;
        process.setProcessEnvironment(environment());
        process.start(QStringLiteral(QUILLON_BINARY), args);
        EXPECT_TRUE(process.waitForStarted());
        process.write(input.data(), static_cast<qint64>(input.size()));
        process.closeWriteChannel();
        EXPECT_TRUE(waitUntil([&] { return process.state() == QProcess::NotRunning; }, deadlineMs));
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }

    UsageServers servers;
    TempDir home;
    QProcess app;
};

} // namespace quillon::test
