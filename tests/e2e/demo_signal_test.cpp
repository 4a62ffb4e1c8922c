#include <QHostAddress>
#include <QProcess>
#include <QTcpServer>

#include <gtest/gtest.h>

#include <csignal>

namespace quillon {
namespace {

// A termination signal that arrives while the demo is still starting ends it cleanly. Its
// start-up spins the event loop itself while the first refresh runs, before the application's
// loop exists; a quit asked for there must not be lost.
TEST(DemoSignalTest, ATerminationDuringStartUpEndsTheDemo) {
    // A service that takes the connection and never answers: the first refresh waits on it.
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    QProcess demo;
    demo.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    demo.start(QStringLiteral(QUILLON_DEMO_BINARY),
               {QStringLiteral("--service"),
                QStringLiteral("https://127.0.0.1:%1").arg(silent.serverPort())});
    ASSERT_TRUE(demo.waitForStarted(10000));
    ASSERT_TRUE(silent.waitForNewConnection(30000)) << "the demo never asked the service";

    ASSERT_EQ(::kill(static_cast<pid_t>(demo.processId()), SIGTERM), 0);

    // Left to itself the demo would give up on the refresh, open its panel and run until stopped.
    const bool ended = demo.waitForFinished(60000);
    if (!ended) {
        demo.kill();
        demo.waitForFinished(5000);
    }
    ASSERT_TRUE(ended) << "the demo went on running after SIGTERM";
    EXPECT_EQ(demo.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(demo.exitCode(), 0);
}

} // namespace
} // namespace quillon
