#include "app/display_check.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace quillon {
namespace {

using test::ScopedEnv;

TEST(DisplayCheck, TheDisplayOfTheSessionIsNoProblem) {
    // The suite runs on a virtual display of its own.
    ASSERT_NE(std::getenv("DISPLAY"), nullptr);
    const ScopedEnv platform("QT_QPA_PLATFORM", std::nullopt);
    EXPECT_EQ(displayProblem(), std::nullopt);
}

TEST(DisplayCheck, WithoutAnyDisplayItSaysSoAndWhatToDo) {
    const ScopedEnv display("DISPLAY", std::nullopt);
    const ScopedEnv wayland("WAYLAND_DISPLAY", std::nullopt);
    const ScopedEnv platform("QT_QPA_PLATFORM", std::nullopt);
    const auto problem = displayProblem();
    ASSERT_TRUE(problem.has_value());
    EXPECT_NE(problem->find("DISPLAY is set"), std::string::npos) << *problem;
    EXPECT_NE(problem->find("start Quillon from your desktop session"), std::string::npos);
    EXPECT_EQ(problem->find('\n'), std::string::npos);
}

TEST(DisplayCheck, AWaylandSessionWithoutXWaylandIsNamed) {
    const ScopedEnv display("DISPLAY", std::nullopt);
    const ScopedEnv wayland("WAYLAND_DISPLAY", "wayland-0");
    const ScopedEnv platform("QT_QPA_PLATFORM", "xcb");
    const auto problem = displayProblem();
    ASSERT_TRUE(problem.has_value());
    EXPECT_NE(problem->find("XWayland"), std::string::npos) << *problem;
}

TEST(DisplayCheck, ADisplayNobodyAnswersIsNamed) {
    const test::TempDir dir;
    // A display number whose socket does not exist: the connection fails at once.
    const ScopedEnv display("DISPLAY", "unix:" + (dir.path() / "no-x-server").string() + ":0");
    const ScopedEnv platform("QT_QPA_PLATFORM", std::nullopt);
    const auto problem = displayProblem();
    ASSERT_TRUE(problem.has_value());
    EXPECT_NE(problem->find("cannot open the X display"), std::string::npos) << *problem;
}

TEST(DisplayCheck, APlatformTheUserChoseIsLeftToQt) {
    const ScopedEnv display("DISPLAY", std::nullopt);
    const ScopedEnv wayland("WAYLAND_DISPLAY", std::nullopt);
    const ScopedEnv platform("QT_QPA_PLATFORM", "offscreen");
    EXPECT_EQ(displayProblem(), std::nullopt);
}

// The real program, started as `make run` starts it on a machine without a display.
TEST(DisplayCheck, TheProgramWithoutADisplayPrintsOneLineAndFails) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_SESSION_TYPE"}) {
        env.remove(QString::fromLatin1(name));
    }
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(QUILLON_BINARY), {});
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    const QByteArray error = process.readAllStandardError();
    EXPECT_EQ(error.count('\n'), 1) << error.toStdString();
    EXPECT_TRUE(error.startsWith("quillon: no display")) << error.toStdString();
    EXPECT_EQ(process.readAllStandardOutput(), "");
}

} // namespace
} // namespace quillon
