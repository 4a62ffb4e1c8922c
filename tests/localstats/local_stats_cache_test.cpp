// The reader remembers what it read; whatever happens to the files between two reads, it must
// answer as a reading of every file afresh would.
#include "localstats/local_stats_fixture.h"

#include <random>

namespace quillon::test {
namespace {

using namespace std::chrono;
namespace fs = std::filesystem;

const Instant now = LocalStatsTest::at(2026y / November / 22, 12h);
const std::string log = "projects/-home-dev-app/s1.jsonl";

TEST_F(LocalStatsTest, LineAppendedInTwoHalvesCountsOnceComplete) {
    write(log, R"({"usage":{"input_tokens":1}})"
               "\n");
    readChecked(now);
    append(log, R"({"timestamp":"2026-11-22T10:00:00.000Z","us)");
    EXPECT_EQ(readChecked(now).today->tokens, "1");
    append(log, R"(age":{"input_tokens":2000}})");
    EXPECT_EQ(readChecked(now).today->tokens, "2.0K");
    append(log, "\n{\"usage\":{\"output_tokens\":1000}}\n");
    EXPECT_EQ(readChecked(now).today->tokens, "3.0K");
}

TEST_F(LocalStatsTest, FileRewrittenWithTheSameSizeIsReadAgain) {
    write(log, R"({"usage":{"input_tokens":1111}})"
               "\n");
    setModified(claude() / log, 60);
    readChecked(now);
    write(log, R"({"usage":{"input_tokens":2222}})"
               "\n");
    setModified(claude() / log, 30);
    EXPECT_EQ(readChecked(now).today->tokens, "2.2K");
}

TEST_F(LocalStatsTest, ShrunkDeletedAndNewFilesAreFollowed) {
    write(log, R"({"usage":{"input_tokens":1000}})"
               "\n"
               R"({"usage":{"input_tokens":2000}})"
               "\n");
    EXPECT_EQ(readChecked(now).today->tokens, "3.0K");
    write(log, R"({"usage":{"input_tokens":5}})"
               "\n");
    EXPECT_EQ(readChecked(now).today->tokens, "5");
    write("projects/-home-dev-app/s2.jsonl", R"({"usage":{"input_tokens":6}})"
                                             "\n");
    EXPECT_EQ(readChecked(now).today->tokens, "11");
    fs::remove(claude() / log);
    EXPECT_EQ(readChecked(now).today->tokens, "6");
}

TEST_F(LocalStatsTest, DayChangeAtUtcMidnightMovesTheCounts) {
    write(log, R"({"timestamp":"2026-11-22T23:59:59.999Z","usage":{"input_tokens":10}})"
               "\n"
               R"({"timestamp":"2026-11-23T00:00:00.000Z","usage":{"input_tokens":20}})"
               "\n"
               R"({"usage":{"input_tokens":3}})"
               "\n");
    write("history.jsonl", R"({"timestamp":"2026-11-22T23:59:59.999Z"})"
                           "\n"
                           R"({"timestamp":"2026-11-23T00:00:00.000Z"})"
                           "\n");
    EXPECT_EQ(readChecked(at(2026y / November / 22, 23h + 59min + 59s)).today,
              (TodayUsage{1, "13"}));
    EXPECT_EQ(readChecked(at(2026y / November / 23, 0s)).today, (TodayUsage{1, "23"}));
}

TEST_F(LocalStatsTest, InvalidUtf8InAnAppendedChunkDropsTheWholeFile) {
    write(log, R"({"usage":{"input_tokens":10}})"
               "\n");
    EXPECT_EQ(readChecked(now).today->tokens, "10");
    append(log, "{\"x\":\"\xe2\x82\"}\n");
    EXPECT_EQ(readChecked(now).today->tokens, "0");
    append(log, R"({"usage":{"input_tokens":10}})"
                "\n");
    EXPECT_EQ(readChecked(now).today->tokens, "0");
}

TEST_F(LocalStatsTest, UnfinishedCharacterAtTheEndHidesTheFileUntilCompleted) {
    write(log, "{\"usage\":{\"input_tokens\":10}}\n{\"t\":\"\xe2\x82");
    EXPECT_EQ(readChecked(now).today->tokens, "0");
    append(log, "\xac\"}\n");
    EXPECT_EQ(readChecked(now).today->tokens, "10");
}

TEST_F(LocalStatsTest, DebugLogAppendedWithANewerMarkedLineIsFollowed) {
    write("debug/s.txt", "2026 autocompact: tokens=10 effectiveWindow=100\n");
    EXPECT_EQ(readChecked(now).context->tokensUsed, 10);
    append("debug/s.txt", "noise\n2026 autocompact: tokens=30 effectiveWindow=100");
    EXPECT_EQ(readChecked(now).context->tokensUsed, 30);
    append("debug/s.txt", "\nnoise\n");
    EXPECT_EQ(readChecked(now).context->tokensUsed, 30);
}

// Random lines of every kind that matters, random changes between reads.
class RandomTree {
public:
    explicit RandomTree(std::uint32_t seed) : random_(seed) {}

    std::string line() {
        static const char* stamps[] = {"\"timestamp\":\"2026-11-22T08:00:00.000Z\",",
                                       "\"timestamp\":\"2026-11-21T23:59:59.000Z\",",
                                       "\"timestamp\":\"2026-11-23T00:00:00.000Z\",",
                                       "",
                                       "\"timestamp\":1795000000,",
                                       "\"timestamp\":\"2026-11\",",
                                       "\"timestamp\":null,"};
        static const char* values[] = {
            "12", "12.0", "12.5", "1e3", "-0.0", "\"7\"", "true", "-3", "9223372036854775808",
            "0",  "4096"};
        static const char* keys[] = {"input_tokens", "output_tokens", "cache_read_input_tokens",
                                     "cache_creation_input_tokens", "other"};
        std::string usage = "{";
        for (int i = pick(4); i >= 0; --i) {
            usage += std::string("\"") + keys[pick(5)] + "\":" + values[pick(11)] + (i ? "," : "");
        }
        usage += "}";
        std::string text = "{" + std::string(stamps[pick(7)]);
        switch (pick(6)) {
        case 0:
            return text + "\"message\":{\"usage\":" + usage + "}}";
        case 1:
            return text + "\"type\":\"user\",\"content\":\"" + std::string(pick(200), 'a') + "\"}";
        case 2:
            return "{\"usage\":" + usage + ",broken";
        default:
            return text + "\"usage\":" + usage + "}";
        }
    }

    std::string lines(int count) {
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += line() + (pick(8) == 0 ? "\r\n" : "\n") + (pick(10) == 0 ? "\n" : "");
        }
        return text;
    }

    int pick(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random_); }

private:
    std::mt19937 random_;
};

TEST_F(LocalStatsTest, RandomChangesBetweenReadsAlwaysGiveThePlainAnswer) {
    for (std::uint32_t seed = 1; seed <= 6; ++seed) {
        RandomTree tree(seed);
        const std::string files[] = {"projects/a/x.jsonl", "projects/a/y.jsonl",
                                     "projects/b/sub/z.jsonl", "history.jsonl"};
        for (const auto& file : files) {
            fs::remove(claude() / file);
        }
        for (int step = 0; step < 40; ++step) {
            const std::string& file = files[tree.pick(4)];
            switch (tree.pick(7)) {
            case 0:
                write(file, tree.lines(tree.pick(20)));
                setModified(claude() / file, 10 + tree.pick(100));
                break;
            case 1: {
                const std::string more = tree.lines(1 + tree.pick(5));
                const std::size_t cut =
                    static_cast<std::size_t>(tree.pick(static_cast<int>(more.size())));
                append(file, more.substr(0, cut));
                break;
            }
            case 2:
                fs::remove(claude() / file);
                break;
            case 3:
                append(file, tree.pick(3) == 0 ? "\xff\n" : "\n");
                break;
            default:
                append(file, tree.lines(1 + tree.pick(5)));
                break;
            }
            const Instant when = tree.pick(3) == 0 ? at(2026y / November / 23, 1h) : now;
            SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
            readChecked(when);
        }
    }
}

} // namespace
} // namespace quillon::test
