#include "app/settings_file.h"
#include "intents/shared_usage_data.h"
#include "running_app.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

namespace quillon {
namespace {

using test::Outcome;
using ::testing::MatchesRegex;

std::string plain(const std::string& line) {
    return std::regex_replace(line, std::regex("\x1b\\[[0-9;]*m"), "");
}

// The JSON that Claude Code's documentation shows a status-line command receiving.
std::string documentedInput() {
    std::ifstream file(QUILLON_TEST_DATA "/claude_status_input.json");
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

class StatusLineCommandTest : public test::RunningAppTest {
protected:
    void saveSnapshot(std::int64_t claude, std::int64_t codex, std::chrono::seconds age) {
        SettingsFile file(QString::fromStdString((home.path() / "config/quillon/quillon.conf")));
        SharedUsageData snapshot;
        snapshot.claudePercent = claude;
        snapshot.codexPercent = codex;
        snapshot.lastUpdated = std::chrono::system_clock::now() - age;
        snapshot.save(file);
    }
};

TEST_F(StatusLineCommandTest, SaysQuillonIsNotRunningWithoutItOrASnapshot) {
    const Outcome result = run({"statusline"}, documentedInput());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(plain(result.out), "Quillon not running \xC2\xB7 ctx 8%\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(StatusLineCommandTest, ShowsTheRunningQuillonsFiguresAndTheSessionsContext) {
    startApp();
    const Outcome result = run({"statusline"}, documentedInput());
    EXPECT_EQ(result.exitCode, 0);
    // Resets two hours after the servers were set up; the weekly window is 7 %.
    EXPECT_THAT(plain(result.out), MatchesRegex("C 42% \xE2\x86\xBB"
                                                "1h5[0-9]m \xC2\xB7 wk 7% \xC2\xB7 X 17% "
                                                "\xE2\x86\xBB"
                                                "1h5[0-9]m \xC2\xB7 ctx 8%\n"));
    EXPECT_NE(result.out.find("\x1b[38;2;58;209;99m42%"), std::string::npos);
}

TEST_F(StatusLineCommandTest, WindowsTheServicesAddComeLast) {
    servers.addWindows();
    startApp();
    const Outcome result = run({"statusline"}, documentedInput());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(plain(result.out),
                MatchesRegex("C 42% \xE2\x86\xBB"
                             "1h5[0-9]m \xC2\xB7 wk 7% \xC2\xB7 X 17% \xE2\x86\xBB"
                             "1h5[0-9]m \xC2\xB7 ctx 8% \xC2\xB7 C seven_day_opus_max 12% "
                             "\xC2\xB7 X rate_limit.tertiary\xE2\x80\xA6 4%\n"));
}

TEST_F(StatusLineCommandTest, WarnsWhenThePaceReachesTheLimitBeforeTheReset) {
    // At 80 % with three of five hours gone, 100 % comes some 45 minutes from now.
    servers.setFigures(80, 17);
    startApp();
    EXPECT_THAT(plain(run({"statusline"}).out),
                MatchesRegex("C 80% \xE2\x86\xBB"
                             "1h5[0-9]m \xE2\x9A\xA0 100% in 4[0-9]m .*"));
}

TEST_F(StatusLineCommandTest, FallsBackOnTheSnapshotWithItsAgeOnceQuillonStops) {
    saveSnapshot(42, 17, std::chrono::minutes(3));
    startApp();
    EXPECT_EQ(plain(run({"statusline"}).out).substr(0, 5), "C 42%");
    stopApp();
    EXPECT_EQ(plain(run({"statusline"}).out),
              "C 42% \xC2\xB7 X 17% \xC2\xB7 saved 3 min ago, Quillon not running\n");
}

TEST_F(StatusLineCommandTest, MalformedOrEmptyInputStillGivesTheLine) {
    saveSnapshot(42, 17, std::chrono::minutes(3));
    for (const std::string& input :
         {std::string(), std::string("not json"), std::string("{\"context_window\":"),
          std::string(3 << 20, '['), std::string("\0\xff\xfe", 3)}) {
        const Outcome result = run({"statusline"}, input);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(plain(result.out),
                  "C 42% \xC2\xB7 X 17% \xC2\xB7 saved 3 min ago, Quillon not running\n");
    }
}

TEST_F(StatusLineCommandTest, TakesNoArguments) {
    const Outcome result = run({"statusline", "--now"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, ::testing::HasSubstr("Usage: quillon statusline"));
}

} // namespace
} // namespace quillon
