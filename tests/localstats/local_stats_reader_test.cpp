#include "localstats/local_stats_fixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

namespace quillon::test {
namespace {

using namespace std::chrono;
namespace fs = std::filesystem;

const Instant now = LocalStatsTest::at(2026y / November / 22, 12h);
const Instant yesterday = LocalStatsTest::at(2026y / November / 21, 12h);

std::string usageLine(std::string_view stamp, std::string_view usage) {
    std::string line = "{";
    if (!stamp.empty()) {
        line += "\"timestamp\":\"" + std::string(stamp) + "\",";
    }
    return line + "\"usage\":" + std::string(usage) + "}\n";
}

std::string contextLine(std::string_view figures) {
    return "2026-11-22T11:00:00.000Z [DEBUG] autocompact: " + std::string(figures) + "\n";
}

TEST_F(LocalStatsTest, NoClaudeDirectoryGivesZeroMessagesTokensZeroAndNoContext) {
    const auto result = readChecked(now);
    EXPECT_EQ(result.today, (TodayUsage{0, "0"}));
    EXPECT_EQ(result.context, std::nullopt);
}

TEST_F(LocalStatsTest, HistoryStampAtTheLastSecondOfAUtcDayCountsOnThatDayInAnyTimeZone) {
    const char* saved = std::getenv("TZ");
    ::setenv("TZ", "America/Los_Angeles", 1);
    ::tzset();
    write("history.jsonl", R"({"display":"hi","timestamp":"2025-01-31T23:59:59.000Z"})"
                           "\n");
    EXPECT_EQ(readChecked(at(2025y / January / 31, 23h + 59min + 59s)).today->messages, 1);
    EXPECT_EQ(readChecked(at(2025y / February / 1, 0s)).today->messages, 0);
    EXPECT_EQ(readChecked(at(2025y / January / 31, 0s)).today->messages, 1);
    saved ? ::setenv("TZ", saved, 1) : ::unsetenv("TZ");
    ::tzset();
}

TEST_F(LocalStatsTest, SessionLineWithUsageButNoTimestampCountsAsTodays) {
    write("projects/-home-dev-app/s1.jsonl", usageLine("", R"({"input_tokens":1500})"));
    EXPECT_EQ(readChecked(now).today->tokens, "1.5K");
}

TEST_F(LocalStatsTest, SessionLineFromYesterdayIsNotCounted) {
    write("projects/-home-dev-app/s1.jsonl",
          usageLine("2026-11-21T23:59:59.999Z", R"({"input_tokens":1500})") +
              usageLine("2026-11-22T00:00:00.000Z", R"({"output_tokens":7})"));
    EXPECT_EQ(readChecked(now).today->tokens, "7");
    EXPECT_EQ(readChecked(yesterday).today->tokens, "1.5K");
}

TEST_F(LocalStatsTest, FractionalUsageAddsNothingWhileTwelvePointZeroAddsTwelve) {
    write("projects/p/s.jsonl", usageLine("", R"({"input_tokens":12.5,"output_tokens":12.0})"));
    EXPECT_EQ(readChecked(now).today->tokens, "12");
}

TEST_F(LocalStatsTest, NumbersCountOnlyAsWholeValuesThatFitSixtyFourBits) {
    write("projects/p/s.jsonl",
          usageLine("", R"({"input_tokens":1e3,"output_tokens":-0.0})") +
              usageLine("", R"({"input_tokens":9223372036854775808,"output_tokens":"5"})") +
              usageLine("", R"({"input_tokens":-4,"cache_read_input_tokens":true})") +
              usageLine("", R"({"cache_creation_input_tokens":1.5e2})"));
    EXPECT_EQ(reader.sumTodayTokens("2026-11-22"), 1000 - 4 + 150);
    EXPECT_EQ(reference.sumTodayTokens("2026-11-22"), 1000 - 4 + 150);
}

TEST_F(LocalStatsTest, UsageNestedInsideTheMessageIsNotCounted) {
    write("projects/p/s.jsonl",
          R"({"timestamp":"2026-11-22T10:00:00.000Z","message":{"usage":{"input_tokens":900}}})"
          "\n" +
              usageLine("2026-11-22T10:00:01.000Z", R"({"input_tokens":3})"));
    EXPECT_EQ(readChecked(now).today->tokens, "3");
}

TEST_F(LocalStatsTest, RepeatedKeysCountTheirLastValue) {
    write(
        "projects/p/s.jsonl",
        R"({"usage":{"input_tokens":900},"usage":{"input_tokens":4,"input_tokens":5}})"
        "\n"
        R"({"timestamp":"2026-11-22T01:00:00.000Z","timestamp":"2026-11-20T00:00:00.000Z","usage":{"input_tokens":77}})"
        "\n");
    EXPECT_EQ(readChecked(now).today->tokens, "5");
}

TEST_F(LocalStatsTest, EscapedUsageKeyAndByteOrderMarkAndCrLfLinesAreRead) {
    write("projects/p/s.jsonl", "\xEF\xBB\xBF{\"us\\u0061ge\":{\"input_tokens\":10}}\r\n\r\n\n" +
                                    usageLine("", R"({"output_tokens":20})"));
    EXPECT_EQ(readChecked(now).today->tokens, "30");
}

TEST_F(LocalStatsTest, ProjectWithoutLogsContributesItsSubFoldersLogsAndAFileBesideThem) {
    write("projects/-home-dev-mono/service-a/s1.jsonl", usageLine("", R"({"input_tokens":40})"));
    write("projects/-home-dev-mono/notes.txt", "not a folder");
    write("projects/-home-dev-mono/stray.jsonl.bak", usageLine("", R"({"input_tokens":1})"));
    const auto folders = reader.walkProjectDirs(claude() / "projects");
    ASSERT_TRUE(folders.has_value());
    EXPECT_EQ(folders, reference.walkProjectDirs(claude() / "projects"));
    EXPECT_EQ(folders->size(), 3u);
    EXPECT_EQ(readChecked(now).today->tokens, "40");
}

TEST_F(LocalStatsTest, ProjectsFolderThatIsAFileGivesNoCandidatesAndZeroTokens) {
    write("projects", "a file");
    EXPECT_EQ(reader.walkProjectDirs(claude() / "projects"), std::nullopt);
    EXPECT_EQ(reader.walkProjectDirs(claude() / "absent"), std::vector<fs::path>{});
    EXPECT_EQ(readChecked(now).today->tokens, "0");
}

TEST_F(LocalStatsTest, DebugLogsWithTheSameModificationTimeTheFirstListedWins) {
    const auto a = write("debug/aaa.txt", contextLine("tokens=10 effectiveWindow=100"));
    const auto b = write("debug/bbb.txt", contextLine("tokens=20 effectiveWindow=100"));
    setModified(a, 100);
    setModified(b, 100);
    struct stat first {};
    ::lstat(a.c_str(), &first);
    timespec times[2] = {{0, UTIME_OMIT}, first.st_mtim};
    ::utimensat(AT_FDCWD, b.c_str(), times, 0);
    const std::string listedFirst = fs::directory_iterator(claude() / "debug")->path().filename();
    const auto context = readChecked(now).context;
    ASSERT_TRUE(context.has_value());
    EXPECT_EQ(context->tokensUsed, listedFirst == "aaa.txt" ? 10 : 20);
}

TEST_F(LocalStatsTest, NewestDebugLogByModificationTimeWins) {
    setModified(write("debug/old.txt", contextLine("tokens=10 effectiveWindow=100")), 500);
    setModified(write("debug/new.txt", contextLine("tokens=20 effectiveWindow=100")), 100);
    EXPECT_EQ(readChecked(now).context->tokensUsed, 20);
}

TEST_F(LocalStatsTest, NewestAutocompactLineGivesUsedWindowRemainingAndPercent) {
    write("debug/s.txt", contextLine("tokens=1 effectiveWindow=2") + "other line\n" +
                             contextLine("tokens=150000 effectiveWindow=200000") + "tail\n");
    EXPECT_EQ(readChecked(now).context,
              (ContextUsage{"current session", 150000, 200000, 50000, 75}));
}

TEST_F(LocalStatsTest, MoreTokensThanTheWindowLeaveNoneAndExceedAHundredPercent) {
    write("debug/s.txt", contextLine("tokens=250000 effectiveWindow=200000"));
    EXPECT_EQ(readChecked(now).context, (ContextUsage{"current session", 250000, 200000, 0, 125}));
}

TEST_F(LocalStatsTest, ZeroEffectiveWindowGivesNoContext) {
    write("debug/s.txt", contextLine("tokens=5 effectiveWindow=0"));
    EXPECT_EQ(readChecked(now).context, std::nullopt);
}

TEST_F(LocalStatsTest, OneOfThreeIsThirtyThreePercentAndOneOfEightRoundsAwayFromZero) {
    write("debug/s.txt", contextLine("tokens=1 effectiveWindow=3"));
    EXPECT_EQ(readChecked(now).context->percentUsed, 33);
    write("debug/s.txt", contextLine("tokens=1 effectiveWindow=8"));
    setModified(claude() / "debug/s.txt", 30);
    EXPECT_EQ(readChecked(now).context->percentUsed, 13);
}

TEST_F(LocalStatsTest, DebugLogOfASessionInNoProjectIsInTheCurrentSession) {
    write("projects/-home-dev-app/other-session.jsonl", "");
    write("debug/abc.txt", contextLine("tokens=1 effectiveWindow=3"));
    EXPECT_EQ(readChecked(now).context->projectName, "current session");
}

TEST_F(LocalStatsTest, ProjectNameIsTheLastDashSeparatedPartOfTheFolderName) {
    write("projects/-home-dev-my-app/abc-123.jsonl", "");
    write("projects/----/zzz.jsonl", "");
    write("debug/abc-123.txt", contextLine("tokens=1 effectiveWindow=3"));
    EXPECT_EQ(readChecked(now).context->projectName, "app");
    EXPECT_EQ(reader.findProjectForSession("zz"), "----");
    EXPECT_EQ(reader.findProjectForSession("nothing"), std::nullopt);
}

TEST_F(LocalStatsTest, TokensInsideALongerNameStillCount) {
    write("debug/s.txt", contextLine("maxtokens=5 tokens=7 effectiveWindow=10"));
    EXPECT_EQ(readChecked(now).context->tokensUsed, 5);
}

TEST_F(LocalStatsTest, FiguresBeyondSixtyFourBitsOrInOtherScriptsGiveNoContext) {
    write("debug/s.txt", contextLine("tokens=99999999999999999999 effectiveWindow=10"));
    EXPECT_EQ(readChecked(now).context, std::nullopt);
    write("debug/s.txt", contextLine("tokens=\xd9\xa3 tokens=5 effectiveWindow=10"));
    setModified(claude() / "debug/s.txt", 30);
    EXPECT_EQ(readChecked(now).context, std::nullopt);
}

TEST_F(LocalStatsTest, MarkedLineWithoutFiguresHidesOlderOnes) {
    write("debug/s.txt", contextLine("tokens=5 effectiveWindow=10") + contextLine("nothing"));
    EXPECT_EQ(readChecked(now).context, std::nullopt);
}

TEST_F(LocalStatsTest, NumericHistoryStampIsSecondsSoMillisecondsNeverMatchToday) {
    const auto seconds = duration_cast<std::chrono::seconds>(now.time_since_epoch()).count();
    write("history.jsonl", "{\"timestamp\":" + std::to_string(seconds) +
                               "}\n{\"timestamp\":" + std::to_string(seconds * 1000) +
                               "}\n{\"timestamp\":" + std::to_string(seconds) +
                               ".75}\n{\"timestamp\":null}\n");
    EXPECT_EQ(readChecked(now).today->messages, 2);
}

TEST_F(LocalStatsTest, FileThatIsNotUtf8IsSkippedWhole) {
    write("projects/p/bad.jsonl", usageLine("", R"({"input_tokens":5})") + "\"\xff\"\n");
    write("projects/p/good.jsonl", usageLine("", R"({"input_tokens":7})"));
    write("history.jsonl", R"({"timestamp":"2026-11-22T01:00:00.000Z"})"
                           "\n\xc0\xaf\n");
    const auto result = readChecked(now);
    EXPECT_EQ(result.today, (TodayUsage{0, "7"}));
}

TEST_F(LocalStatsTest, OddEntriesOnDiskAreSkippedWithoutHanging) {
    write("projects/p/good.jsonl", usageLine("", R"({"input_tokens":7})"));
    fs::create_directories(claude() / "projects/p/folder.jsonl");
    ASSERT_EQ(::mkfifo((claude() / "projects/p/pipe.jsonl").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((claude() / "history.jsonl").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", claude() / "projects/p/zero.jsonl");
    fs::create_symlink(claude() / "projects", claude() / "projects/loop");
    fs::create_symlink("loop2", claude() / "projects/p/loop2");
    fs::create_directories(claude() / "debug/dir.txt");
    EXPECT_EQ(readChecked(now).today, (TodayUsage{0, "7"}));
}

TEST_F(LocalStatsTest, NulBytesAndHugeLinesAreHandled) {
    std::string huge = R"({"timestamp":"2026-11-22T00:00:00.000Z","pad":")" +
                       std::string(9 << 20, 'x') + R"(","usage":{"input_tokens":3}})" + "\n";
    write("projects/p/s.jsonl", huge + std::string("{\"usage\":{\"input_tokens\":1}}\0\n", 30) +
                                    usageLine("", R"({"input_tokens":4})"));
    EXPECT_EQ(readChecked(now).today->tokens, "7");
}

TEST_F(LocalStatsTest, DeepNestingAndBigNumbersElsewhereInALineStillLetItCount) {
    const std::string deep = std::string(3000, '[') + std::string(3000, ']');
    write("projects/p/s.jsonl",
          "{\"x\":" + deep + ",\"usage\":{\"input_tokens\":2}}\n" +
              R"({"big":123456789012345678901234567890,"usage":{"input_tokens":3}})"
              "\n" +
              R"({"huge":1e400,"usage":{"input_tokens":1000}})"
              "\n");
    EXPECT_EQ(readChecked(now).today->tokens, "5");
}

// The date text is a plain prefix of the timestamp, whatever its length: a month, an hour, the
// empty text (everything), a whole stamp.
TEST_F(LocalStatsTest, HistoryCountsTimestampsThatStartWithADateTextOfAnyLength) {
    const auto seconds = duration_cast<std::chrono::seconds>(now.time_since_epoch()).count();
    const auto stamped = [](std::string_view stamp) {
        return R"({"timestamp":")" + std::string(stamp) + "\"}\n";
    };
    // The last line has no line end: it counts as well.
    write("history.jsonl",
          stamped("2026-11-22T10:15:00.000Z") + stamped("2026-11-22T11:00:00.000Z") +
              stamped("2026-11-03T10:00:00.000Z") + stamped("2026") +
              "{\"timestamp\":" + std::to_string(seconds) + "}\n" + "{\"timestamp\":null}\n" +
              R"({"timestamp":"2026-11-22T10:59:59.000Z"})");
    const std::pair<std::string_view, std::int64_t> cases[] = {
        {"2026-11-22", 4},
        {"2026-11", 5},
        {"2026", 6},
        {"", 6},
        {"2026-11-22T10", 2},
        {"2026-11-22T12:00:00.000Z", 1},
        {"2026-11-22T12:00:00.000Z and more", 0},
        {"2025", 0}};
    for (const auto& [prefix, count] : cases) {
        EXPECT_EQ(reader.countTodayMessages(prefix), count) << prefix;
        EXPECT_EQ(reference.countTodayMessages(prefix), count) << prefix;
    }
}

TEST_F(LocalStatsTest, SessionTokensCountTimestampsThatStartWithADateTextOfAnyLength) {
    write("projects/p/s.jsonl",
          usageLine("2026-11-22T10:15:00.000Z", R"({"input_tokens":1})") +
              usageLine("2026-11-03T10:00:00.000Z", R"({"input_tokens":20})") +
              usageLine("2026", R"({"input_tokens":300})") +
              usageLine("", R"({"input_tokens":4000})"));
    write("projects/q/t.jsonl",
          "{\"timestamp\":\"2026-11-22T11:00:00.000Z\",\"usage\":{\"output_tokens\":50000}}");
    const std::pair<std::string_view, std::int64_t> cases[] = {
        {"2026-11-22", 54001}, {"2026-11", 54021},      {"2026", 54321},
        {"", 54321},           {"2026-11-22T10", 4001}, {"2026-11-22T11:00:00.000Z", 54000},
        {"2025", 4000}};
    for (const auto& [prefix, sum] : cases) {
        EXPECT_EQ(reader.sumTodayTokens(prefix), sum) << prefix;
        EXPECT_EQ(reference.sumTodayTokens(prefix), sum) << prefix;
    }
}

using LocalStatsDeathTest = LocalStatsTest;

TEST_F(LocalStatsDeathTest, TokenSumThatOverflowsStopsTheProgram) {
    write("projects/p/a.jsonl", usageLine("", R"({"input_tokens":9223372036854775807})"));
    write("projects/q/b.jsonl", usageLine("", R"({"input_tokens":1})"));
    EXPECT_DEATH(reader.read(now), "overflow");
}

TEST_F(LocalStatsDeathTest, OverflowPartWayStopsTheProgramEvenIfLaterLinesWouldBringItBack) {
    write("projects/p/a.jsonl",
          usageLine("", R"({"input_tokens":9223372036854775807,"output_tokens":1,)"
                        R"("cache_read_input_tokens":-5})"));
    EXPECT_DEATH(reader.read(now), "overflow");
}

TEST_F(LocalStatsTest, NegativeTokensThatKeepTheSumInRangeAreAdded) {
    write("projects/p/a.jsonl",
          usageLine("", R"({"input_tokens":9223372036854775807,"output_tokens":-7})") +
              usageLine("", R"({"input_tokens":7})"));
    EXPECT_EQ(reader.sumTodayTokens("2026-11-22"), 9223372036854775807);
}

} // namespace
} // namespace quillon::test
