#include "app/single_instance.h"
#include "support/qt_wait.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace quillon {
namespace {

namespace fs = std::filesystem;

using test::ScopedEnv;

TEST(SingleInstance, TheSecondHolderOfTheSameLockIsNotFirst) {
    const test::TempDir dir;
    const auto lock = dir.path() / "quillon.lock";
    const SingleInstance first(lock);
    EXPECT_TRUE(first.isFirst());
    const SingleInstance second(lock);
    EXPECT_FALSE(second.isFirst());
}

TEST(SingleInstance, TheLockIsFreeAgainOnceItsHolderIsGone) {
    const test::TempDir dir;
    const auto lock = dir.path() / "quillon.lock";
    { const SingleInstance first(lock); }
    const SingleInstance again(lock);
    EXPECT_TRUE(again.isFirst());
    EXPECT_EQ(fs::status(lock).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
}

TEST(SingleInstance, ALockFileThatCannotBeOpenedDoesNotKeepTheApplicationFromStarting) {
    const test::TempDir dir;
    const SingleInstance instance(dir.path() / "missing-folder" / "quillon.lock");
    EXPECT_TRUE(instance.isFirst());
}

TEST(SingleInstance, ASymbolicLinkInPlaceOfTheLockIsNotFollowed) {
    const test::TempDir dir;
    const auto target = dir.path() / "elsewhere";
    fs::create_symlink(target, dir.path() / "quillon.lock");
    const SingleInstance instance(dir.path() / "quillon.lock");
    EXPECT_TRUE(instance.isFirst());
    EXPECT_FALSE(fs::exists(target));
}

TEST(SingleInstance, TheDefaultLockLivesInThePrivateRuntimeFolder) {
    const test::TempDir dir;
    fs::permissions(dir.path(), fs::perms::owner_all);
    const ScopedEnv runtime("XDG_RUNTIME_DIR", dir.path().string());
    EXPECT_EQ(SingleInstance::defaultLockFile(), dir.path() / "quillon.lock");
}

// The real program, started twice for the same user.
class SecondStartTest : public ::testing::Test {
protected:
    void start(QProcess& process, const QStringList& args = {}) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), path(runtime));
        env.insert(QStringLiteral("HOME"), path(home));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), path(home) + QStringLiteral("/.config"));
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(QUILLON_BINARY), args);
        ASSERT_TRUE(process.waitForStarted());
    }

    // The panel item is on the bus once start-up is through.
    bool waitUntilRunning(QProcess& process) {
        const QString service =
            QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(process.processId());
        return test::waitUntil(
            [&] { return QDBusConnection::sessionBus().interface()->isServiceRegistered(service); },
            20000);
    }

    static QString path(const test::TempDir& dir) {
        return QString::fromStdString(dir.path().string());
    }

    void TearDown() override {
        for (QProcess* process : {&first, &second}) {
            if (process->state() != QProcess::NotRunning) {
                process->kill();
                process->waitForFinished();
            }
        }
    }

    test::TempDir runtime;
    test::TempDir home;
    QProcess first;
    QProcess second;
};

TEST_F(SecondStartTest, TheSecondStartSaysSoAndLeavesTheFirstRunning) {
    fs::permissions(runtime.path(), fs::perms::owner_all);
    start(first);
    ASSERT_TRUE(waitUntilRunning(first));

    start(second);
    ASSERT_TRUE(second.waitForFinished(20000));
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_EQ(second.readAllStandardError(), "Quillon is already running.\n");
    EXPECT_EQ(second.readAllStandardOutput(), "");

    test::spin(200);
    EXPECT_EQ(first.state(), QProcess::Running);
    EXPECT_TRUE(waitUntilRunning(first));
    first.terminate();
    ASSERT_TRUE(first.waitForFinished(20000));
    EXPECT_EQ(first.exitCode(), 0);
    // The running application logs nothing.
    EXPECT_EQ(first.readAllStandardError(), "");
    EXPECT_EQ(first.readAllStandardOutput(), "");
}

TEST_F(SecondStartTest, SubcommandsRunWhileTheApplicationRuns) {
    fs::permissions(runtime.path(), fs::perms::owner_all);
    start(first);
    ASSERT_TRUE(waitUntilRunning(first));
    start(second, {QStringLiteral("--version")});
    ASSERT_TRUE(second.waitForFinished(20000));
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_TRUE(second.readAllStandardOutput().contains(QUILLON_VERSION));
    EXPECT_EQ(first.state(), QProcess::Running);
}

TEST_F(SecondStartTest, AKilledInstanceLeavesNoStaleLock) {
    fs::permissions(runtime.path(), fs::perms::owner_all);
    start(first);
    ASSERT_TRUE(waitUntilRunning(first));
    first.kill();
    ASSERT_TRUE(first.waitForFinished(20000));

    start(second);
    EXPECT_TRUE(waitUntilRunning(second));
    EXPECT_EQ(second.state(), QProcess::Running);
}

} // namespace
} // namespace quillon
