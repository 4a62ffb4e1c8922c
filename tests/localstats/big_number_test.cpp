// Integers beyond 64 bits, wherever they stand in a line, give the same figures whichever release
// of the fast JSON parser the system has: older ones call such a number a malformed one, newer
// ones give it a code of its own, and both must send the line to the reader without limits.
#include "localstats/local_stats_fixture.h"
#include "localstats/parser_limits.h"

#include <simdjson.h>

namespace quillon::test {
namespace {

using namespace std::chrono;

const Instant now = LocalStatsTest::at(2026y / November / 22, 12h);

TEST(ParserLimitsTest, TheFastParsersAnswerToAnIntegerBeyond64BitsIsOneOfItsLimits) {
    simdjson::dom::parser parser;
    for (const std::string_view number :
         {"123456789012345678901234567890", "18446744073709551616", "-9223372036854775809",
          "-123456789012345678901234567890"}) {
        const simdjson::padded_string line(R"({"big":)" + std::string(number) + "}");
        simdjson::dom::element root;
        const auto error = parser.parse(line).get(root);
        EXPECT_NE(error, simdjson::SUCCESS) << number;
        EXPECT_TRUE(localstats::beyondParserLimits(error)) << number << ": " << error;
    }
    EXPECT_FALSE(localstats::beyondParserLimits(simdjson::TAPE_ERROR));
    EXPECT_FALSE(localstats::beyondParserLimits(simdjson::UTF8_ERROR));
}

// Outside the figures such an integer changes nothing; as a figure it counts nothing, and the
// line's other figures still count.
TEST_F(LocalStatsTest, IntegersBeyond64BitsCountNothingAndLeaveTheRestOfASessionLineCounting) {
    write("projects/p/s.jsonl",
          R"({"big":123456789012345678901234567890,"usage":{"input_tokens":3}})"
          "\n"
          R"({"usage":{"output_tokens":4,"extra":-123456789012345678901234567890}})"
          "\n"
          R"({"usage":{"input_tokens":5},"list":[18446744073709551616]})"
          "\n"
          R"({"usage":{"input_tokens":123456789012345678901234567890,"output_tokens":6}})"
          "\n"
          R"({"usage":{"input_tokens":18446744073709551615,"output_tokens":1}})"
          "\n");
    EXPECT_EQ(readChecked(now).today->tokens, "19");
}

TEST_F(LocalStatsTest, IntegersBeyond64BitsLetAHistoryLineCount) {
    write("history.jsonl",
          R"({"n":123456789012345678901234567890,"timestamp":"2026-11-22T10:00:00.000Z"})"
          "\n"
          R"({"timestamp":"2026-11-22T10:30:00.000Z","n":[-123456789012345678901234567890]})"
          "\n");
    EXPECT_EQ(readChecked(now).today->messages, 2);
    EXPECT_EQ(reader.countTodayMessages("2026-11-22"), 2);
}

} // namespace
} // namespace quillon::test
