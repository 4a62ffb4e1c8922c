// Between two reads the reader may rely on the kernel's report of what changed. Whatever is done
// to the files, and however quickly, its answer must stay that of reading every file afresh, and
// so must that of a reader that looks at every file each time.
#include "localstats/local_stats_fixture.h"

#include <unistd.h>

#include <fstream>
#include <random>

namespace quillon::test {
namespace {

using namespace std::chrono;
namespace fs = std::filesystem;

const Instant now = LocalStatsTest::at(2026y / November / 22, 12h);
const Instant tomorrow = LocalStatsTest::at(2026y / November / 23, 1h);

std::string usage(int tokens) {
    return R"({"timestamp":"2026-11-22T08:00:00.000Z","usage":{"input_tokens":)" +
           std::to_string(tokens) + "}}\n";
}

std::string context(int tokens) {
    return "2026 autocompact: tokens=" + std::to_string(tokens) + " effectiveWindow=1000\n";
}

class LocalStatsWatchTest : public LocalStatsTest {
protected:
    // Both readers' answers, each checked against the plain reading.
    LocalStatsResult readBoth(Instant when) {
        const auto result = readChecked(when);
        EXPECT_EQ(unwatched.read(when), reference.read(when));
        return result;
    }

    LocalStatsReader unwatched{home.path(), false};
};

TEST_F(LocalStatsWatchTest, AppendsAndSameSizeRewritesFasterThanTheClockTicksAreSeen) {
    write("projects/-home-dev-app/s1.jsonl", usage(1000));
    write("history.jsonl", R"({"timestamp":"2026-11-22T01:00:00.000Z"})"
                           "\n");
    EXPECT_EQ(readBoth(now).today, (TodayUsage{1, "1.0K"}));
    for (int round = 2; round <= 9; ++round) {
        write("projects/-home-dev-app/s1.jsonl", usage(round * 1000));
        EXPECT_EQ(readBoth(now).today->tokens, std::to_string(round) + ".0K");
    }
    append("history.jsonl", R"({"timestamp":"2026-11-22T02:00:00.000Z"})"
                            "\n");
    EXPECT_EQ(readBoth(now).today->messages, 2);
    EXPECT_EQ(readBoth(tomorrow).today, (TodayUsage{0, "0"}));
    EXPECT_EQ(readBoth(now).today, (TodayUsage{2, "9.0K"}));
}

TEST_F(LocalStatsWatchTest, RenamedLogsFoldersAndAFolderReplacedByAFileAreFollowed) {
    write("projects/-home-dev-app/s1.jsonl", usage(100));
    write("projects/-home-dev-mono/part/s2.jsonl", usage(20));
    write("debug/s2.txt", context(500));
    EXPECT_EQ(readBoth(now).context->projectName, "part");
    fs::rename(claude() / "projects/-home-dev-app/s1.jsonl",
               claude() / "projects/-home-dev-app/s1.jsonl.old");
    EXPECT_EQ(readBoth(now).today->tokens, "20");
    fs::rename(claude() / "projects/-home-dev-mono", claude() / "projects/-home-dev-other");
    EXPECT_EQ(readBoth(now).today->tokens, "20");
    fs::remove_all(claude() / "projects/-home-dev-other/part");
    write("projects/-home-dev-other/part", "a file now");
    EXPECT_EQ(readBoth(now).today->tokens, "0");
    EXPECT_EQ(readBoth(now).context->projectName, "current session");
    fs::rename(claude() / "projects", claude() / "gone");
    write("projects/-home-dev-new/s2.jsonl", usage(7));
    EXPECT_EQ(readBoth(now).context->projectName, "new");
    fs::rename(claude(), home.path() / "old-claude");
    EXPECT_EQ(readBoth(now).today, (TodayUsage{0, "0"}));
    fs::rename(home.path() / "old-claude", claude());
    EXPECT_EQ(readBoth(now).today->tokens, "7");
}

TEST_F(LocalStatsWatchTest, OlderDebugLogTouchedBecomesTheNewest) {
    const auto a = write("debug/a.txt", context(100));
    const auto b = write("debug/b.txt", context(200));
    setModified(a, 60);
    setModified(b, 30);
    EXPECT_EQ(readBoth(now).context->tokensUsed, 200);
    setModified(a, 10);
    EXPECT_EQ(readBoth(now).context->tokensUsed, 100);
    append("debug/a.txt", context(300));
    EXPECT_EQ(readBoth(now).context->tokensUsed, 300);
}

// A file changed through a name outside the folders read makes no report in them.
TEST_F(LocalStatsWatchTest, LogsChangedThroughAnotherNameAreSeen) {
    const auto outside = home.write("elsewhere/shared.jsonl", usage(10));
    const auto target = home.write("elsewhere/target.jsonl", usage(20));
    fs::create_directories(claude() / "projects/-home-dev-app");
    fs::create_hard_link(outside, claude() / "projects/-home-dev-app/linked.jsonl");
    fs::create_symlink(target, claude() / "projects/-home-dev-app/pointed.jsonl");
    EXPECT_EQ(readBoth(now).today->tokens, "30");
    for (int round = 1; round <= 3; ++round) {
        std::ofstream(outside, std::ios::app) << usage(1000);
        std::ofstream(target, std::ios::app) << usage(100);
        readBoth(now);
    }
    EXPECT_EQ(readBoth(now).today->tokens, "3.3K");
    fs::remove(claude() / "projects/-home-dev-app/pointed.jsonl");
    fs::remove(claude() / "projects/-home-dev-app/linked.jsonl");
    write("projects/-home-dev-app/own.jsonl", usage(5));
    EXPECT_EQ(readBoth(now).today->tokens, "5");
    std::ofstream(outside, std::ios::app) << usage(1000);
    append("projects/-home-dev-app/own.jsonl", usage(5));
    EXPECT_EQ(readBoth(now).today->tokens, "10");
}

TEST_F(LocalStatsWatchTest, LogChangedThroughAHardLinkElsewhereIsSeen) {
    const auto outside = home.write("elsewhere/shared.jsonl", usage(10));
    fs::create_directories(claude() / "projects/-home-dev-app");
    fs::create_hard_link(outside, claude() / "projects/-home-dev-app/linked.jsonl");
    EXPECT_EQ(readBoth(now).today->tokens, "10");
    for (int round = 1; round <= 3; ++round) {
        std::ofstream(outside, std::ios::app) << usage(1000);
        EXPECT_EQ(readBoth(now).today->tokens, std::to_string(round) + ".0K");
    }
}

// More changes than the kernel queues between two reads: the ones it dropped still count.
TEST_F(LocalStatsWatchTest, ChangesBeyondAFullReportQueueAreSeen) {
    write("projects/-home-dev-app/busy.jsonl", usage(1));
    write("projects/-home-dev-app/quiet.jsonl", usage(1));
    EXPECT_EQ(readBoth(now).today->tokens, "2");
    std::ifstream limit("/proc/sys/fs/inotify/max_queued_events");
    int queued = 16384;
    limit >> queued;
    const auto busy = claude() / "projects/-home-dev-app/busy.jsonl";
    for (int i = 0; i <= queued / 2; ++i) {
        std::ofstream(busy, std::ios::app) << "\n";
    }
    append("projects/-home-dev-app/quiet.jsonl", usage(1000));
    EXPECT_EQ(readBoth(now).today->tokens, "1.0K");
}

TEST_F(LocalStatsWatchTest, RandomChangesRenamesAndReplacementsGiveThePlainAnswer) {
    const std::string files[] = {"projects/a/x.jsonl",     "projects/a/y.jsonl",
                                 "projects/b/sub/z.jsonl", "history.jsonl",
                                 "debug/d1.txt",           "debug/d2.txt"};
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        std::mt19937 random(seed);
        const auto pick = [&](int below) {
            return std::uniform_int_distribution<int>(0, below - 1)(random);
        };
        for (int step = 0; step < 60; ++step) {
            const std::string& file = files[pick(6)];
            const std::string other = files[pick(6)];
            const std::string line =
                file.starts_with("debug") ? context(pick(900)) : usage(pick(5000));
            std::error_code ignored;
            if (fs::is_regular_file(claude() / fs::path(file).parent_path())) {
                fs::remove(claude() / fs::path(file).parent_path()); // a folder again
            }
            switch (pick(8)) {
            case 0:
                write(file, line);
                break;
            case 1:
                fs::rename(claude() / file, claude() / other, ignored);
                break;
            case 2:
                fs::remove_all(claude() / "projects" / (pick(2) ? "a" : "b"), ignored);
                break;
            case 3:
                fs::remove_all(claude() / "projects/b/sub", ignored);
                write("projects/b/sub", line);
                break;
            case 4:
                setModified(claude() / file, pick(100));
                break;
            default:
                append(file, line);
                break;
            }
            SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
            readBoth(pick(4) == 0 ? tomorrow : now);
        }
        std::error_code ignored;
        fs::remove_all(claude(), ignored);
    }
}

} // namespace
} // namespace quillon::test
