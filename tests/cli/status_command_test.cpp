#include "running_app.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using Json = nlohmann::json;
using ::testing::HasSubstr;

using test::deadlineMs;
using test::Outcome;

class StatusCommandTest : public test::RunningAppTest {
protected:
    ~StatusCommandTest() override { stop(watcher); }

    void startWatch(const QString& format) {
        watcher.setProcessEnvironment(environment());
        watcher.start(QStringLiteral(QUILLON_BINARY),
                      {QStringLiteral("status"), QStringLiteral("--watch"),
                       QStringLiteral("--format"), format});
        ASSERT_TRUE(watcher.waitForStarted());
    }

    // `status --watch` piped into a reader that takes one line and goes; the shell reports on
    // standard error how the command ended ("status 0").
    void startWatchReadOnce(QProcess& pipeline) {
        pipeline.setProcessEnvironment(environment());
        pipeline.start(QStringLiteral("bash"),
                       {QStringLiteral("-c"),
                        QStringLiteral("\"$0\" status --watch --format waybar | head -n 1; "
                                       "echo \"status ${PIPESTATUS[0]}\" >&2"),
                        QStringLiteral(QUILLON_BINARY)});
        ASSERT_TRUE(pipeline.waitForStarted());
    }

    // Waits for `count` lines in all from the watcher and returns every line so far.
    std::vector<std::string> watchLines(std::size_t count) {
        test::waitUntil(
            [&] {
                while (watcher.canReadLine()) {
                    lines.push_back(watcher.readLine().trimmed().toStdString());
                }
                return lines.size() >= count;
            },
            deadlineMs);
        return lines;
    }

    QProcess watcher;
    std::vector<std::string> lines;
};

TEST_F(StatusCommandTest, NotRunningSaysSoInOneLineAndExitsThree) {
    const Outcome result = run({"status"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "quillon: Quillon is not running (start it, or use status --once)\n");
    EXPECT_EQ(run({"status", "--format", "waybar"}).exitCode, 3);
}

TEST_F(StatusCommandTest, WrongOptionsPrintTheUsageAndExitTwo) {
    for (const QStringList& args :
         {QStringList{"status", "--format", "xml"}, QStringList{"status", "--watch", "--once"},
          QStringList{"status", "--format"}, QStringList{"status", "now"}}) {
        const Outcome result = run(args);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.err, HasSubstr("Usage: quillon status"));
    }
}

TEST_F(StatusCommandTest, PrintsTheRunningApplicationsFiguresInEachFormat) {
    startApp();
    const Outcome json = run({"status", "--format=json"});
    EXPECT_EQ(json.exitCode, 0);
    const Json doc = Json::parse(json.out);
    EXPECT_EQ(doc.at("title"), " C:42% X:17%");
    EXPECT_EQ(doc.at("claude").at("fiveHour").at("percent"), 42);
    EXPECT_EQ(doc.at("claude").at("plan"), "max");
    EXPECT_EQ(doc.at("codex").at("weekly").at("percent"), 60);
    // Three hours of five gone by at 42 %: 70 % by the reset.
    EXPECT_EQ(doc.at("claude").at("fiveHour").at("pace").at("projectedPercent"), 70);

    const Json module = Json::parse(run({"status", "--format", "waybar"}).out);
    EXPECT_EQ(module.at("text"), " C:42% X:17%");
    EXPECT_EQ(module.at("class"), "normal");
    EXPECT_EQ(module.at("percentage"), 42);

    const Json block = Json::parse(run({"status", "--format", "i3bar"}).out);
    EXPECT_EQ(block.at("full_text"), " C:42% X:17%");

    const Outcome text = run({"status"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_THAT(text.out, HasSubstr("  5-hour   42%  Resets in 1h 59m  (at this pace 70% by the "
                                    "reset)\n"));
}

TEST_F(StatusCommandTest, WindowsTheServicesAddFollowTheNamedOnes) {
    servers.addWindows();
    startApp();
    const auto opusResets = std::chrono::floor<std::chrono::seconds>(servers.started + 50h);
    const Outcome text = run({"status"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_THAT(text.out, HasSubstr("  weekly   7%\n  Seven day opus max 12%  " +
                                    Formatters::displayDate(opusResets) + "\n"));
    EXPECT_THAT(text.out, HasSubstr("  weekly   60%\n  Rate limit tertiary window 4%\n"));

    const Json doc = Json::parse(run({"status", "--format", "json"}).out);
    EXPECT_EQ(doc.at("claude").at("extra"),
              (Json{{"seven_day_opus_max",
                     {{"percent", 12},
                      {"resetsAt", Formatters::formatIso8601(opusResets)},
                      {"resetLabel", Formatters::displayDate(opusResets)}}}}));
    EXPECT_EQ(doc.at("codex").at("extra").at("rate_limit.tertiary_window").at("percent"), 4);
    // The named windows and the title are what they are without the added ones.
    EXPECT_EQ(doc.at("title"), " C:42% X:17%");
    EXPECT_EQ(doc.at("claude").at("weekly").at("percent"), 7);
    EXPECT_TRUE(doc.at("claude").at("sonnet").is_null());
    EXPECT_EQ(Json::parse(run({"status", "--format", "waybar"}).out).at("text"), " C:42% X:17%");
}

TEST_F(StatusCommandTest, WatchPrintsOneLinePerChangeAndResumesAfterARestart) {
    startApp();
    startWatch("waybar");
    ASSERT_EQ(watchLines(1).size(), 1u);
    EXPECT_EQ(Json::parse(lines[0]).at("text"), " C:42% X:17%");

    servers.setFigures(80, 17);
    refreshApp();
    ASSERT_EQ(watchLines(2).size(), 2u);
    EXPECT_EQ(Json::parse(lines[1]).at("text"), " C:80% X:17%");
    EXPECT_EQ(Json::parse(lines[1]).at("class"), "warning");
    test::spin(500);
    EXPECT_EQ(watchLines(2).size(), 2u) << "a line without a change";

    stopApp();
    ASSERT_EQ(watchLines(3).size(), 3u);
    EXPECT_EQ(Json::parse(lines[2]).at("class"), "stopped");
    EXPECT_EQ(Json::parse(lines[2]).at("text"), "");

    // Back again: one line when the name returns, one when its first refresh is published.
    servers.setFigures(95, 20);
    startApp();
    ASSERT_EQ(watchLines(5).size(), 5u);
    EXPECT_EQ(Json::parse(lines[4]).at("text"), " C:95% X:20%");
    EXPECT_EQ(Json::parse(lines[4]).at("class"), "critical");
    test::spin(500);
    EXPECT_EQ(watchLines(5).size(), 5u);

    watcher.terminate();
    ASSERT_TRUE(test::waitUntil([&] { return watcher.state() == QProcess::NotRunning; }));
    EXPECT_EQ(watcher.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watcher.exitCode(), 0);
}

TEST_F(StatusCommandTest, WatchWaitsForTheApplicationToStart) {
    startWatch("json");
    ASSERT_EQ(watchLines(1).size(), 1u);
    EXPECT_EQ(Json::parse(lines[0]).at("running"), false);
    startApp();
    ASSERT_GE(watchLines(2).size(), 2u);
    test::waitUntil([&] { return Json::parse(watchLines(2).back()).at("title") != ""; });
    EXPECT_EQ(Json::parse(lines.back()).at("title"), " C:42% X:17%");
    EXPECT_EQ(Json::parse(lines.back()).at("running"), true);
}

TEST_F(StatusCommandTest, WatchSpeaksTheI3barProtocol) {
    startApp();
    startWatch("i3bar");
    ASSERT_EQ(watchLines(3).size(), 3u);
    EXPECT_EQ(Json::parse(lines[0]).at("version"), 1);
    EXPECT_EQ(lines[1], "[");
    const Json first = Json::parse(lines[2]);
    ASSERT_TRUE(first.is_array());
    EXPECT_EQ(first.at(0).at("full_text"), " C:42% X:17%");

    servers.setFigures(60, 17);
    refreshApp();
    ASSERT_EQ(watchLines(4).size(), 4u);
    ASSERT_EQ(lines[3].front(), ',');
    const Json second = Json::parse(lines[3].substr(1));
    EXPECT_EQ(second.at(0).at("full_text"), " C:60% X:17%");
}

TEST_F(StatusCommandTest, WatchEndsCleanlyWhenItsReaderGoesAway) {
    startApp();
    QProcess pipeline;
    ASSERT_NO_FATAL_FAILURE(startWatchReadOnce(pipeline));
    ASSERT_TRUE(test::waitUntil([&] { return pipeline.canReadLine(); }, deadlineMs));
    servers.setFigures(70, 17);
    refreshApp();
    ASSERT_TRUE(
        test::waitUntil([&] { return pipeline.state() == QProcess::NotRunning; }, deadlineMs));
    EXPECT_EQ(pipeline.readAllStandardError().toStdString(), "status 0\n");
}

// Nothing changes after the reader went: the closed pipe alone ends the command, so that it does
// not outlive a status bar that was stopped.
TEST_F(StatusCommandTest, WatchEndsWhenItsReaderGoesAwayThoughNothingChanges) {
    startApp();
    QProcess pipeline;
    ASSERT_NO_FATAL_FAILURE(startWatchReadOnce(pipeline));
    const bool ended =
        test::waitUntil([&] { return pipeline.state() == QProcess::NotRunning; }, deadlineMs);
    if (!ended) {
        stop(pipeline);
    }
    ASSERT_TRUE(ended) << "the command went on after its reader had gone";
    EXPECT_EQ(pipeline.readAllStandardError().toStdString(), "status 0\n");
}

// The session bus going away (the session ends) ends the command too.
TEST_F(StatusCommandTest, WatchEndsWhenTheSessionBusGoesAway) {
    QProcess bus;
    bus.start(QStringLiteral("dbus-daemon"),
              {QStringLiteral("--session"), QStringLiteral("--nofork"),
               QStringLiteral("--print-address")});
    ASSERT_TRUE(bus.waitForStarted());
    ASSERT_TRUE(test::waitUntil([&] { return bus.canReadLine(); }, deadlineMs));
    QProcessEnvironment env = environment();
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
               QString::fromUtf8(bus.readLine().trimmed()));
    watcher.setProcessEnvironment(env);
    watcher.start(QStringLiteral(QUILLON_BINARY),
                  {QStringLiteral("status"), QStringLiteral("--watch"), QStringLiteral("--format"),
                   QStringLiteral("json")});
    ASSERT_TRUE(watcher.waitForStarted());
    ASSERT_EQ(watchLines(1).size(), 1u); // not running, waiting for it on that bus

    bus.terminate();
    ASSERT_TRUE(bus.waitForFinished(deadlineMs));
    ASSERT_TRUE(
        test::waitUntil([&] { return watcher.state() == QProcess::NotRunning; }, deadlineMs))
        << "the command went on after its bus had gone";
    EXPECT_EQ(watcher.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watcher.exitCode(), 0);
}

TEST_F(StatusCommandTest, WatchEndsCleanlyOnSigterm) {
    startApp();
    startWatch("i3bar");
    ASSERT_EQ(watchLines(3).size(), 3u);
    watcher.terminate();
    ASSERT_TRUE(test::waitUntil([&] { return watcher.state() == QProcess::NotRunning; }));
    EXPECT_EQ(watcher.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watcher.exitCode(), 0);
}

TEST_F(StatusCommandTest, OnceFetchesItselfAndWritesNothing) {
    const Outcome result = run({"status", "--once", "--format", "json"});
    EXPECT_EQ(result.exitCode, 0);
    const Json doc = Json::parse(result.out);
    EXPECT_EQ(doc.at("running"), true);
    EXPECT_EQ(doc.at("claude").at("connected"), false);
    EXPECT_EQ(doc.at("codex").at("connected"), false);
    EXPECT_EQ(doc.at("title"), "");
    EXPECT_FALSE(doc.at("lastUpdated").is_null());
    EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

} // namespace
} // namespace quillon
