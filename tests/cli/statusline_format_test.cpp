#include "cli/statusline_format.h"

#include "support/usage_builders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using ::testing::EndsWith;
using ::testing::StartsWith;

const Instant now = Instant(std::chrono::seconds(1'800'000'000));

// The line as a terminal shows its characters, without the colours.
std::string plain(const std::string& line) {
    return std::regex_replace(line, std::regex("\x1b\\[[0-9;]*m"), "");
}

UsageWindow window(std::int64_t percent, std::chrono::seconds resetsIn) {
    return UsageWindow{percent, now + resetsIn, "label"};
}

StatusFigures figures(std::int64_t claude, std::int64_t codex) {
    StatusFigures result;
    UsageData claudeUsage;
    claudeUsage.fiveHour = window(claude, 2h + 5min);
    claudeUsage.weekly = window(63, 24h * 2);
    UsageData codexUsage;
    codexUsage.provider = Provider::codex;
    codexUsage.fiveHour = window(codex, 1h + 10min);
    codexUsage.weekly = window(71, 24h * 5);
    result.claude = claudeUsage;
    result.codex = codexUsage;
    return result;
}

TEST(StatusLineTest, ShowsEachProvidersWindowsAndTheCountdown) {
    EXPECT_EQ(plain(statusLine(figures(42, 17), std::nullopt, now)),
              "C 42% \xE2\x86\xBB"
              "2h05m \xC2\xB7 wk 63% \xC2\xB7 X 17% \xE2\x86\xBB"
              "1h10m");
}

TEST(StatusLineTest, AddsTheSessionsContextUse) {
    EXPECT_THAT(plain(statusLine(figures(42, 17), 31, now)), EndsWith("1h10m \xC2\xB7 ctx 31%"));
}

TEST(StatusLineTest, WindowsAServiceAddedComeLastByTheirKeys) {
    auto all = figures(42, 17);
    all.claudeExtra = {{"seven_day_opus", window(12, 24h)}};
    all.codexExtra = {{"rate_limit.tertiary_window", window(95, 24h)}};
    const std::string line = statusLine(all, 31, now);
    EXPECT_THAT(plain(line), EndsWith("ctx 31% \xC2\xB7 C seven_day_opus 12% \xC2\xB7 "
                                      "X rate_limit.tertiary\xE2\x80\xA6 95%"));
    EXPECT_NE(line.find("\x1b[38;2;255;85;74m95%"), std::string::npos); // red, as any figure
}

TEST(StatusLineTest, OnlyAFewAddedWindowsTakeRoomOnTheLine) {
    auto all = figures(42, 17);
    for (const char* key : {"a", "b", "c", "d", "e"}) {
        all.claudeExtra.push_back({key, window(1, 24h)});
    }
    EXPECT_THAT(plain(statusLine(all, std::nullopt, now)),
                EndsWith("1h10m \xC2\xB7 C a 1% \xC2\xB7 C b 1% \xC2\xB7 C c 1% \xC2\xB7 +2"));
}

TEST(StatusLineTest, ColoursEachPercentByThePanelsLevels) {
    const std::string line = statusLine(figures(42, 95), 80, now);
    EXPECT_NE(line.find("\x1b[38;2;58;209;99m42%"), std::string::npos);  // green
    EXPECT_NE(line.find("\x1b[38;2;255;212;38m63%"), std::string::npos); // yellow
    EXPECT_NE(line.find("\x1b[38;2;255;85;74m95%"), std::string::npos);  // red
    EXPECT_NE(line.find("\x1b[38;2;255;161;26m80%"), std::string::npos); // orange
}

TEST(StatusLineTest, WarnsWhenThePaceReachesTheLimitBeforeTheReset) {
    // Three of five hours gone at 80 %: 100 % comes 45 minutes from now, 75 before the reset.
    StatusFigures high = figures(80, 17);
    high.claude->fiveHour = window(80, 2h);
    EXPECT_THAT(plain(statusLine(high, std::nullopt, now)),
                StartsWith("C 80% \xE2\x86\xBB"
                           "2h00m \xE2\x9A\xA0 100% in 45m \xC2\xB7 wk"));
    EXPECT_EQ(plain(statusLine(figures(42, 17), std::nullopt, now)).find("\xE2\x9A\xA0"),
              std::string::npos);
}

TEST(StatusLineTest, SaysWhichProviderIsNotConnected) {
    StatusFigures some = figures(42, 17);
    some.codex.reset();
    EXPECT_THAT(plain(statusLine(some, std::nullopt, now)),
                EndsWith("63% \xC2\xB7 X not connected"));
    EXPECT_EQ(statusLine(StatusFigures::notRunning(), std::nullopt, now), "Quillon not running");
}

TEST(StatusLineTest, FromTheSnapshotWithItsAge) {
    SharedUsageData snapshot;
    snapshot.claudePercent = 42;
    snapshot.codexPercent = 17;
    snapshot.lastUpdated = now - 3min;
    EXPECT_EQ(plain(snapshotStatusLine(snapshot, 8, now)),
              "C 42% \xC2\xB7 X 17% \xC2\xB7 ctx 8% \xC2\xB7 saved 3 min ago, Quillon not running");
    snapshot.codexPercent.reset();
    EXPECT_EQ(plain(snapshotStatusLine(snapshot, std::nullopt, now)),
              "C 42% \xC2\xB7 X not connected \xC2\xB7 saved 3 min ago, Quillon not running");
    EXPECT_EQ(snapshotStatusLine(std::nullopt, std::nullopt, now), "Quillon not running");
}

TEST(SessionContextTest, ReadsThePercentClaudeCodeGives) {
    EXPECT_EQ(sessionContextPercent(R"({"context_window":{"used_percentage":31.4}})"), 31);
    EXPECT_EQ(sessionContextPercent(R"({"context_window":{"used_percentage":0}})"), 0);
}

TEST(SessionContextTest, OrWorksItOutFromTheCurrentUsage) {
    // 8500 + 5000 + 2000 of 200000 tokens.
    EXPECT_EQ(sessionContextPercent(R"({"context_window":{"context_window_size":200000,
        "current_usage":{"input_tokens":8500,"output_tokens":1200,
        "cache_creation_input_tokens":5000,"cache_read_input_tokens":2000}}})"),
              8);
}

TEST(SessionContextTest, NothingFromInputWithoutIt) {
    for (const char* input :
         {"", "not json", "[]", "{}", R"({"context_window":5})",
          R"({"context_window":{"used_percentage":"31"}})",
          R"({"context_window":{"used_percentage":-3}})",
          R"({"context_window":{"context_window_size":0,"current_usage":{"input_tokens":5}}})",
          R"({"context_window":{"context_window_size":1000,"current_usage":null}})",
          R"({"model":{"display_name":"Opus"}})"}) {
        EXPECT_EQ(sessionContextPercent(input), std::nullopt) << input;
    }
}

TEST(CompactDurationTest, WritesDaysHoursAndMinutes) {
    EXPECT_EQ(compactDuration(2h + 5min + 59s), "2h05m");
    EXPECT_EQ(compactDuration(48min), "48m");
    EXPECT_EQ(compactDuration(0s), "0m");
    EXPECT_EQ(compactDuration(-5min), "0m");
    EXPECT_EQ(compactDuration(24h * 3 + 4h), "3d04h");
}

} // namespace
} // namespace quillon
