#include "cli/status_formats.h"

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using Json = nlohmann::json;

// 2026-03-10T14:30:00Z: half way through a five-hour window that resets at 5 PM.
constexpr Instant now{std::chrono::seconds(1'773'153'000)};

UsageData usage(Provider provider, std::int64_t fiveHour) {
    UsageData data;
    data.provider = provider;
    data.plan = "max";
    data.fiveHour = {fiveHour, now + 2h + 30min, "Resets in 2h 30m"};
    data.weekly = {20, std::nullopt, ""};
    return data;
}

StatusFigures figures(std::optional<std::int64_t> claude, std::optional<std::int64_t> codex) {
    StatusFigures result;
    if (claude) {
        result.claude = usage(Provider::claude, *claude);
    }
    if (codex) {
        result.codex = usage(Provider::codex, *codex);
    }
    result.title = " C:60% X:10%";
    result.lastUpdated = now - 12s;
    return result;
}

// Each line as its consumer reads it: parsed back from the text the command prints.
Json parsed(const nlohmann::ordered_json& json) {
    return Json::parse(jsonLine(json));
}

class StatusFormatsTest : public ::testing::Test {
protected:
    void SetUp() override {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale("en_US"), status);
        icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("UTC"));
    }
};

TEST_F(StatusFormatsTest, FormatNames) {
    EXPECT_EQ(parseStatusFormat("waybar"), StatusFormat::waybar);
    EXPECT_EQ(parseStatusFormat("i3bar"), StatusFormat::i3bar);
    EXPECT_EQ(parseStatusFormat("json"), StatusFormat::json);
    EXPECT_EQ(parseStatusFormat("text"), StatusFormat::text);
    EXPECT_FALSE(parseStatusFormat("Waybar"));
}

TEST_F(StatusFormatsTest, ClassFollowsTheHigherFiveHourPercentAgainstTheThresholds) {
    EXPECT_EQ(alertClass(figures(49, 10)), "normal");
    EXPECT_EQ(alertClass(figures(10, 50)), "warning");
    EXPECT_EQ(alertClass(figures(89, 10)), "warning");
    EXPECT_EQ(alertClass(figures(10, 90)), "critical");
    EXPECT_EQ(alertClass(figures(104, std::nullopt)), "critical");
    EXPECT_EQ(alertClass(figures(-3, std::nullopt)), "normal");
    EXPECT_EQ(alertClass(figures(std::nullopt, std::nullopt)), "normal");
    EXPECT_EQ(alertClass(StatusFigures::notRunning()), "stopped");

    auto custom = figures(70, 10);
    custom.alertThresholds = {70};
    EXPECT_EQ(alertClass(custom), "critical");
    custom.alertThresholds = {};
    EXPECT_EQ(alertClass(custom), "normal");
}

TEST_F(StatusFormatsTest, WaybarModuleHasExactlyTheKeysWaybarReads) {
    const Json module = parsed(waybarModule(figures(60, 10), now));
    ASSERT_TRUE(module.is_object());
    EXPECT_EQ(module.size(), 4u);
    EXPECT_EQ(module.at("text"), " C:60% X:10%");
    EXPECT_EQ(module.at("class"), "warning");
    ASSERT_TRUE(module.at("percentage").is_number_integer());
    EXPECT_EQ(module.at("percentage"), 60);
    ASSERT_TRUE(module.at("tooltip").is_string());
    EXPECT_THAT(module.at("tooltip").get<std::string>(),
                HasSubstr("at this pace the limit is reached at 4:10 PM, 50 min before the reset"));
}

TEST_F(StatusFormatsTest, WaybarPercentageStaysWithinItsRange) {
    EXPECT_EQ(parsed(waybarModule(figures(150, 10), now)).at("percentage"), 100);
    EXPECT_EQ(parsed(waybarModule(figures(-5, std::nullopt), now)).at("percentage"), 0);
    EXPECT_EQ(parsed(waybarModule(figures(std::nullopt, std::nullopt), now)).at("percentage"), 0);
}

TEST_F(StatusFormatsTest, WaybarTooltipKeepsFiguresOutOfMarkup) {
    auto withProject = figures(60, 10);
    withProject.claude->contextUsage = ContextUsage{"a<b>&c", 10, 100, 90, 10};
    const std::string tooltip = parsed(waybarModule(withProject, now)).at("tooltip");
    EXPECT_THAT(tooltip, HasSubstr("a&lt;b&gt;&amp;c"));
}

TEST_F(StatusFormatsTest, WaybarWhenNotRunningHidesTheText) {
    const Json module = parsed(waybarModule(StatusFigures::notRunning(), now));
    EXPECT_EQ(module.at("text"), "");
    EXPECT_EQ(module.at("class"), "stopped");
    EXPECT_EQ(module.at("tooltip"), "Quillon is not running");
}

TEST_F(StatusFormatsTest, I3barBlockFollowsTheProtocol) {
    const Json normal = parsed(i3barBlock(figures(10, 10)));
    EXPECT_EQ(normal.at("full_text"), " C:60% X:10%");
    EXPECT_EQ(normal.at("name"), "quillon");
    EXPECT_TRUE(normal.at("short_text").is_string());
    EXPECT_FALSE(normal.contains("color"));
    EXPECT_FALSE(normal.contains("urgent"));

    const Json warning = parsed(i3barBlock(figures(60, 10)));
    EXPECT_THAT(warning.at("color").get<std::string>(), ::testing::MatchesRegex("#[0-9A-F]{6}"));
    EXPECT_FALSE(warning.contains("urgent"));

    const Json critical = parsed(i3barBlock(figures(95, 10)));
    EXPECT_THAT(critical.at("color").get<std::string>(), ::testing::MatchesRegex("#[0-9A-F]{6}"));
    EXPECT_EQ(critical.at("urgent"), true);

    const Json header = Json::parse(i3barHeader());
    EXPECT_EQ(header.at("version"), 1);
}

TEST_F(StatusFormatsTest, DocumentCarriesEveryFigureWithItsPace) {
    auto all = figures(60, std::nullopt);
    all.claude->sonnet = UsageWindow{5, std::nullopt, ""};
    all.claude->today = TodayUsage{3, "900"};
    const Json doc = parsed(statusDocument(all, now));
    EXPECT_EQ(doc.at("running"), true);
    EXPECT_EQ(doc.at("title"), " C:60% X:10%");
    EXPECT_EQ(doc.at("class"), "warning");
    EXPECT_EQ(doc.at("lastUpdated"), "2026-03-10T14:29:48.000Z");
    EXPECT_EQ(doc.at("alertThresholds"), Json::array({50, 75, 90}));

    const Json& claude = doc.at("claude");
    EXPECT_EQ(claude.at("connected"), true);
    EXPECT_EQ(claude.at("plan"), "max");
    const Json& fiveHour = claude.at("fiveHour");
    EXPECT_EQ(fiveHour.at("percent"), 60);
    EXPECT_EQ(fiveHour.at("resetsAt"), "2026-03-10T17:00:00.000Z");
    EXPECT_EQ(fiveHour.at("resetLabel"), "Resets in 2h 30m");
    const Json& pace = fiveHour.at("pace");
    EXPECT_DOUBLE_EQ(pace.at("elapsed").get<double>(), 0.5);
    EXPECT_EQ(pace.at("projectedPercent"), 120);
    EXPECT_EQ(pace.at("limitReached"), false);
    EXPECT_EQ(pace.at("limitAt"), "2026-03-10T16:10:00.000Z");
    EXPECT_EQ(pace.at("limitBeforeResetSeconds"), 3000);
    EXPECT_EQ(pace.at("phrase"),
              "at this pace the limit is reached at 4:10 PM, 50 min before the reset");
    // No reset time: no pace, and null rather than a missing key.
    EXPECT_TRUE(claude.at("weekly").at("pace").is_null());
    EXPECT_TRUE(claude.at("weekly").at("resetsAt").is_null());
    EXPECT_EQ(claude.at("sonnet").at("percent"), 5);
    EXPECT_EQ(claude.at("today").at("messages"), 3);
    EXPECT_TRUE(claude.at("context").is_null());

    const Json& codex = doc.at("codex");
    EXPECT_EQ(codex.at("connected"), false);
    for (const char* key : {"plan", "fiveHour", "weekly", "sonnet", "context", "today"}) {
        EXPECT_TRUE(codex.at(key).is_null()) << key;
    }
}

TEST_F(StatusFormatsTest, DocumentStaysValidJsonWhateverTheTextsHold) {
    auto odd = figures(60, 10);
    odd.claude->contextUsage = ContextUsage{"caf\xe9\xff\"\n", 1, 2, 1, 50};
    odd.title = "\x80";
    const std::string line = jsonLine(statusDocument(odd, now));
    EXPECT_EQ(line.find('\n'), std::string::npos);
    const Json doc = Json::parse(line);
    EXPECT_EQ(doc.at("claude").at("context").at("percentUsed"), 50);
}

TEST_F(StatusFormatsTest, PastTheResetTheDocumentHasNoPace) {
    const Json doc = parsed(statusDocument(figures(60, 10), now + 3h));
    EXPECT_TRUE(doc.at("claude").at("fiveHour").at("pace").is_null());
    EXPECT_EQ(doc.at("claude").at("fiveHour").at("resetLabel"), "Resetting...");
}

TEST_F(StatusFormatsTest, TextNamesEachWindowWithItsResetAndPace) {
    auto all = figures(30, std::nullopt);
    all.claude->today = TodayUsage{3, "900"};
    const std::string text = statusText(all, now);
    EXPECT_EQ(text, "Claude Code (max)\n"
                    "  5-hour   30%  Resets in 2h 30m  (at this pace 60% by the reset)\n"
                    "  weekly   20%\n"
                    "  today    3 messages, 900 tokens\n"
                    "Codex: Not connected\n"
                    "Updated 12 sec ago\n");
    EXPECT_EQ(statusText(StatusFigures::notRunning(), now), "Quillon is not running\n");
}

TEST_F(StatusFormatsTest, WindowsAServiceAddedFollowTheNamedOnesByTheirKeys) {
    auto all = figures(30, 10);
    all.claude->sonnet = UsageWindow{5, std::nullopt, ""};
    const Instant resets = now + 48h;
    all.claudeExtra = {{"seven_day_opus_max", {12, resets, "Thu 2:30 PM"}},
                       {"weekly", {3, std::nullopt, ""}}};
    all.codexExtra = {{"rate_limit.tertiary_window", {4, std::nullopt, ""}}};
    const std::string text = statusText(all, now);
    EXPECT_THAT(text, HasSubstr("  Sonnet   5%\n"
                                "  Seven day opus max 12%  Thu 2:30 PM\n"
                                "  Weekly   3%\n"));
    EXPECT_THAT(text, HasSubstr("  weekly   20%\n"
                                "  Rate limit tertiary window 4%\n"
                                "Updated"));

    const Json doc = parsed(statusDocument(all, now));
    EXPECT_EQ(doc.at("claude").at("extra"),
              (Json{{"seven_day_opus_max",
                     {{"percent", 12},
                      {"resetsAt", "2026-03-12T14:30:00.000Z"},
                      {"resetLabel", "Thu 2:30 PM"}}},
                    {"weekly", {{"percent", 3}, {"resetsAt", nullptr}, {"resetLabel", ""}}}}));
    EXPECT_EQ(doc.at("codex").at("extra").at("rate_limit.tertiary_window").at("percent"), 4);
    // The named windows are as they were.
    EXPECT_EQ(doc.at("claude").at("weekly").at("percent"), 20);
    EXPECT_EQ(doc.at("claude").at("sonnet").at("percent"), 5);
    EXPECT_EQ(doc.at("title"), " C:60% X:10%");
}

TEST_F(StatusFormatsTest, WithoutAddedWindowsThereIsNoExtraKey) {
    const Json doc = parsed(statusDocument(figures(30, 10), now));
    EXPECT_FALSE(doc.at("claude").contains("extra"));
    EXPECT_FALSE(doc.at("codex").contains("extra"));
}

TEST_F(StatusFormatsTest, TextWithoutAnUpdateSaysNever) {
    auto none = figures(std::nullopt, std::nullopt);
    none.lastUpdated.reset();
    EXPECT_THAT(statusText(none, now), HasSubstr("Updated Never\n"));
}

} // namespace
} // namespace quillon
