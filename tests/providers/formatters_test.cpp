#include "providers/formatters.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace quillon {
namespace {

using namespace std::chrono;
using Formatters::displayDate;
using Formatters::formatIso8601;
using Formatters::parseIso8601;

Instant at(sys_days day, nanoseconds timeOfDay) {
    return Instant{duration_cast<Instant::duration>(day.time_since_epoch() + timeOfDay)};
}

TEST(ParseIso8601, MillisecondsWithZuluAreRead) {
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00.123Z"), at(2025y / June / 1, 10h + 123ms));
}

TEST(ParseIso8601, SixFractionDigitsWithZeroOffsetAreRead) {
    EXPECT_EQ(parseIso8601("2026-03-10T04:59:59.000000+00:00"),
              at(2026y / March / 10, 4h + 59min + 59s));
}

TEST(ParseIso8601, OneToNineFractionDigitsAreAccepted) {
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00.5+00:00"), at(2025y / June / 1, 10h + 500ms));
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00.12Z"), at(2025y / June / 1, 10h + 120ms));
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00.1234Z"), at(2025y / June / 1, 10h + 123400us));
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00.12345678Z"),
              at(2025y / June / 1, 10h + 123456780ns));
}

TEST(ParseIso8601, NanosecondsAreKept) {
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00.123456789Z"),
              at(2025y / June / 1, 10h + 123456789ns));
}

TEST(ParseIso8601, TenFractionDigitsAreRefused) {
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00.1234567890Z"), std::nullopt);
}

TEST(ParseIso8601, StampWithoutFractionIsRefused) {
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00Z"), std::nullopt);
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00+00:00"), std::nullopt);
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00.Z"), std::nullopt);
}

TEST(ParseIso8601, OffsetsAreSubtractedToGiveUtc) {
    EXPECT_EQ(parseIso8601("2025-06-01T12:30:00.000+02:30"), at(2025y / June / 1, 10h));
    EXPECT_EQ(parseIso8601("2025-06-01T05:00:00.000-05:00"), at(2025y / June / 1, 10h));
    EXPECT_EQ(parseIso8601("2025-06-01T00:00:00.000+01:00"), at(2025y / May / 31, 23h));
    EXPECT_EQ(parseIso8601("2025-12-31T23:00:00.000-01:00"), at(2026y / January / 1, 0h));
}

TEST(ParseIso8601, LeapDayOnlyInLeapYears) {
    EXPECT_EQ(parseIso8601("2024-02-29T00:00:00.0Z"), at(2024y / February / 29, 0h));
    EXPECT_EQ(parseIso8601("2000-02-29T00:00:00.0Z"), at(2000y / February / 29, 0h));
    EXPECT_EQ(parseIso8601("2025-02-29T00:00:00.0Z"), std::nullopt);
    EXPECT_EQ(parseIso8601("2100-02-29T00:00:00.0Z"), std::nullopt);
}

TEST(ParseIso8601, OutOfRangeFieldsAreRefused) {
    for (const char* text :
         {"2025-13-01T10:00:00.0Z", "2025-00-01T10:00:00.0Z", "2025-02-30T10:00:00.0Z",
          "2025-04-31T10:00:00.0Z", "2025-06-00T10:00:00.0Z", "2025-06-01T24:00:00.0Z",
          "2025-06-01T10:60:00.0Z", "2025-06-01T10:00:60.0Z", "2025-06-01T10:00:00.0+24:00",
          "2025-06-01T10:00:00.0+01:60"}) {
        EXPECT_EQ(parseIso8601(text), std::nullopt) << text;
    }
}

TEST(ParseIso8601, OtherSpellingsAreRefused) {
    for (const char* text :
         {"2025-06-01t10:00:00.0Z", "2025-06-01T10:00:00.0z", "2025-06-01 10:00:00.0Z",
          "2025-06-01T10:00:00.0+0000", "2025-06-01T10:00:00.0+00", "2025-06-01T10:00:00,5Z",
          "20250601T100000.0Z", "2025-6-01T10:00:00.0Z", "2025-06-01T1:00:00.0Z",
          " 2025-06-01T10:00:00.0Z", "2025-06-01T10:00:00.0Z ", "2025-06-01T10:00:00.0",
          "2025-06-01", "+2025-06-01T10:00:00.0Z", "2025-06-01T10:00:00.0ZZ",
          "2025-06-01T10:00:00.0+00:00Z", "2025-06-01T10:00:00.-1Z", "2025-06-01T10:00:00.0UTC"}) {
        EXPECT_EQ(parseIso8601(text), std::nullopt) << text;
    }
}

TEST(ParseIso8601, GarbageEmptyAndOverlongTextsAreRefused) {
    EXPECT_EQ(parseIso8601(""), std::nullopt);
    EXPECT_EQ(parseIso8601("not a date"), std::nullopt);
    EXPECT_EQ(parseIso8601(std::string("2025-06-01T10:00:00.0Z\0", 23)), std::nullopt);
    EXPECT_EQ(parseIso8601("2025-06-01T10:00:00." + std::string(10000, '1') + "Z"), std::nullopt);
    EXPECT_EQ(parseIso8601(std::string(1 << 20, '9')), std::nullopt);
}

TEST(ParseIso8601, MomentsAnInstantCannotHoldAreRefused) {
    EXPECT_EQ(parseIso8601("9999-12-31T23:59:59.999Z"), std::nullopt);
    EXPECT_EQ(parseIso8601("0000-01-01T00:00:00.000Z"), std::nullopt);
    EXPECT_NE(parseIso8601("2200-01-01T00:00:00.000Z"), std::nullopt);
    EXPECT_NE(parseIso8601("1700-01-01T00:00:00.000Z"), std::nullopt);
}

TEST(FormatIso8601, WritesUtcWithMilliseconds) {
    EXPECT_EQ(formatIso8601(at(2026y / March / 10, 4h + 59min + 59s)), "2026-03-10T04:59:59.000Z");
    EXPECT_EQ(formatIso8601(at(2025y / June / 1, 10h + 123456789ns)), "2025-06-01T10:00:00.123Z");
    EXPECT_EQ(formatIso8601(Instant{}), "1970-01-01T00:00:00.000Z");
}

TEST(FormatIso8601, MomentsBefore1970AreCutTowardsThePast) {
    EXPECT_EQ(formatIso8601(Instant{} - 1ns), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(formatIso8601(at(1800y / January / 2, 3h + 4min + 5s + 6ms)),
              "1800-01-02T03:04:05.006Z");
}

TEST(FormatIso8601, RoundTripKeepsMilliseconds) {
    for (const Instant instant : {at(2026y / November / 22, 13h + 7min + 1s + 42ms),
                                  at(2024y / February / 29, 23h + 59min + 59s + 999ms), Instant{},
                                  at(1969y / July / 20, 20h + 17min)}) {
        EXPECT_EQ(parseIso8601(formatIso8601(instant)), instant);
    }
    const auto precise = at(2026y / November / 22, 13h + 999999999ns);
    EXPECT_EQ(parseIso8601(formatIso8601(precise)), floor<milliseconds>(precise));
}

// The shared display formatter takes the locale and zone of its first use, so each check runs in
// a fresh copy of this test program (the "threadsafe" style re-executes the binary) with its own
// environment, and reports the text on stderr for the exit matcher.
void expectDisplayIn(const char* language, const char* zone, Instant instant,
                     const std::string& expected) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            setenv("LC_ALL", language, 1);
            setenv("TZ", zone, 1);
            std::fprintf(stderr, "[%s]", displayDate(instant).c_str());
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^\\[" + expected + "\\]$");
}

TEST(DisplayDateDeathTest, EnglishInUtc) {
    expectDisplayIn("en_US.UTF-8", "UTC", at(2026y / November / 23, 15h + 5min + 42s),
                    "Mon 3:05 PM");
    expectDisplayIn("en_US.UTF-8", "UTC", at(2026y / November / 22, 0h + 9min), "Sun 12:09 AM");
}

TEST(DisplayDateDeathTest, GermanInBerlin) {
    expectDisplayIn("de_DE.UTF-8", "Europe/Berlin", at(2026y / November / 23, 15h + 5min),
                    "Mo\\. 4:05 PM");
}

TEST(DisplayDateDeathTest, EnglishInTokyoMovesToTheNextDay) {
    expectDisplayIn("en_US.UTF-8", "Asia/Tokyo", at(2026y / November / 23, 15h + 5min),
                    "Tue 12:05 AM");
}

} // namespace
} // namespace quillon
