#include "intents/shared_usage_data.h"
#include "support/memory_stores.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace quillon {
namespace {

// 784000000.5 seconds after 2001-01-01T00:00:00 UTC.
const Instant sampleInstant =
    Instant(std::chrono::seconds(978307200 + 784000000) + std::chrono::milliseconds(500));

UsageData usage(Provider provider, std::int64_t percent, std::optional<std::string> plan,
                std::string resetLabel) {
    UsageData data;
    data.provider = provider;
    data.plan = std::move(plan);
    data.fiveHour = {percent, std::nullopt, std::move(resetLabel)};
    data.weekly = {99, std::nullopt, "Mon 9:00 AM"};
    return data;
}

std::optional<SharedUsageData> loadStored(const std::string& json) {
    test::MemoryKeyValueStore store;
    store.writeBytes("sharedUsageData", json);
    return SharedUsageData::load(store);
}

TEST(SharedUsageDataTest, BothProvidersAbsentSavesOnlyLastUpdated) {
    test::MemoryKeyValueStore store;
    SharedUsageData::from(std::nullopt, std::nullopt, sampleInstant).save(store);
    EXPECT_EQ(store.readBytes("sharedUsageData"), R"({"lastUpdated":784000000.5})");
}

TEST(SharedUsageDataTest, ProviderWithoutPlanSavesPercentAndResetButNoPlanKey) {
    const auto data = SharedUsageData::from(
        usage(Provider::claude, 42, std::nullopt, "Resets in 12m"), std::nullopt, sampleInstant);
    EXPECT_EQ(
        data.encode(),
        R"({"claudePercent":42,"lastUpdated":784000000.5,"claudeResetTime":"Resets in 12m"})");
}

TEST(SharedUsageDataTest, FieldsAreWrittenInDeclaredOrder) {
    const auto data = SharedUsageData::from(usage(Provider::claude, 42, "Max", "Resets in 12m"),
                                            usage(Provider::codex, 17, "plus", "Resets in 2h 05m"),
                                            sampleInstant);
    EXPECT_EQ(data.encode(),
              R"({"claudePercent":42,"codexPercent":17,"claudePlan":"Max",)"
              R"("codexPlan":"plus","lastUpdated":784000000.5,)"
              R"("claudeResetTime":"Resets in 12m","codexResetTime":"Resets in 2h 05m"})");
}

TEST(SharedUsageDataTest, OnlyTheFiveHourWindowIsCopied) {
    const auto data =
        SharedUsageData::from(std::nullopt, usage(Provider::codex, 130, "pro", ""), sampleInstant);
    EXPECT_EQ(data.codexPercent, 130);
    EXPECT_EQ(data.codexPlan, "pro");
    EXPECT_EQ(data.codexResetTime, "");
    EXPECT_FALSE(data.claudePercent.has_value());
    EXPECT_FALSE(data.claudeResetTime.has_value());
}

TEST(SharedUsageDataTest, SaveThenLoadGivesTheSameSnapshot) {
    test::MemoryKeyValueStore store;
    const auto data =
        SharedUsageData::from(usage(Provider::claude, 42, "Max", "Resets in 12m"),
                              usage(Provider::codex, -3, std::nullopt, ""), sampleInstant);
    data.save(store);
    EXPECT_EQ(SharedUsageData::load(store), data);
}

TEST(SharedUsageDataTest, LastUpdatedRoundTripsToTheMicrosecond) {
    const Instant now =
        std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
    const auto loaded = SharedUsageData::decode(SharedUsageData::from({}, {}, now).encode());
    ASSERT_TRUE(loaded.has_value());
    EXPECT_LE(std::chrono::abs(loaded->lastUpdated - now), std::chrono::microseconds(1));
}

TEST(SharedUsageDataTest, LastUpdatedIsCountedFromTwoThousandOne) {
    EXPECT_EQ(secondsSinceReferenceDate(Instant(std::chrono::seconds(978307200))), 0.0);
    EXPECT_EQ(secondsSinceReferenceDate(Instant(std::chrono::seconds(0))), -978307200.0);
}

TEST(SharedUsageDataTest, MissingLastUpdatedLoadsAsNothing) {
    EXPECT_FALSE(loadStored(R"({"claudePercent":42})").has_value());
}

TEST(SharedUsageDataTest, TextDateLoadsAsNothing) {
    EXPECT_FALSE(loadStored(R"({"claudePercent":42,"lastUpdated":"2026-11-22T10:00:00Z"})"));
}

TEST(SharedUsageDataTest, NullLastUpdatedLoadsAsNothing) {
    EXPECT_FALSE(loadStored(R"({"lastUpdated":null})").has_value());
}

TEST(SharedUsageDataTest, UnknownExtraKeysAreIgnoredOnLoad) {
    const auto data =
        loadStored(R"({"codexPercent":17,"weeklyPercent":5,"nested":{"a":[1,2]},"lastUpdated":0})");
    ASSERT_TRUE(data.has_value());
    EXPECT_EQ(data->codexPercent, 17);
    EXPECT_EQ(data->lastUpdated, Instant(std::chrono::seconds(978307200)));
}

TEST(SharedUsageDataTest, NullsReadAsAbsent) {
    const auto data = loadStored(
        R"({"claudePercent":null,"codexPercent":3,"claudePlan":null,"lastUpdated":1.25,"codexResetTime":null})");
    ASSERT_TRUE(data.has_value());
    EXPECT_FALSE(data->claudePercent.has_value());
    EXPECT_FALSE(data->claudePlan.has_value());
    EXPECT_FALSE(data->codexResetTime.has_value());
    EXPECT_EQ(data->codexPercent, 3);
}

TEST(SharedUsageDataTest, PercentAsTextLoadsAsNothing) {
    EXPECT_FALSE(loadStored(R"({"claudePercent":"42","lastUpdated":0})").has_value());
}

TEST(SharedUsageDataTest, PercentWithAFractionLoadsAsNothing) {
    EXPECT_FALSE(loadStored(R"({"claudePercent":42.5,"lastUpdated":0})").has_value());
}

TEST(SharedUsageDataTest, WholePercentWrittenAsFloatingPointIsAccepted) {
    const auto data = loadStored(R"({"claudePercent":42.0,"codexPercent":4.2e1,"lastUpdated":0})");
    ASSERT_TRUE(data.has_value());
    EXPECT_EQ(data->claudePercent, 42);
    EXPECT_EQ(data->codexPercent, 42);
}

TEST(SharedUsageDataTest, PercentOutsideSixtyFourBitsLoadsAsNothing) {
    EXPECT_FALSE(loadStored(R"({"claudePercent":9223372036854775808,"lastUpdated":0})"));
    EXPECT_FALSE(loadStored(R"({"claudePercent":1e300,"lastUpdated":0})"));
    EXPECT_TRUE(loadStored(R"({"claudePercent":-9223372036854775808,"lastUpdated":0})"));
}

TEST(SharedUsageDataTest, WrongTypesAnywhereLoadAsNothing) {
    EXPECT_FALSE(loadStored(R"({"claudePercent":true,"lastUpdated":0})"));
    EXPECT_FALSE(loadStored(R"({"claudePlan":5,"lastUpdated":0})"));
    EXPECT_FALSE(loadStored(R"({"codexResetTime":["x"],"lastUpdated":0})"));
    EXPECT_FALSE(loadStored(R"({"lastUpdated":true})"));
    EXPECT_FALSE(loadStored(R"({"lastUpdated":{"seconds":1}})"));
}

TEST(SharedUsageDataTest, UndecodableBytesLoadAsNothingAndStayStored) {
    for (const std::string bytes :
         {"", "not json", "[1,2]", "42", "{\"lastUpdated\":1", "\xff\xfe"}) {
        test::MemoryKeyValueStore store;
        store.writeBytes("sharedUsageData", bytes);
        EXPECT_FALSE(SharedUsageData::load(store).has_value()) << bytes;
        EXPECT_EQ(store.readBytes("sharedUsageData"), bytes);
    }
}

TEST(SharedUsageDataTest, NothingStoredLoadsAsNothing) {
    const test::MemoryKeyValueStore store;
    EXPECT_FALSE(SharedUsageData::load(store).has_value());
}

TEST(SharedUsageDataTest, LastUpdatedMoreThanACenturyFromNineteenSeventyLoadsAsNothing) {
    EXPECT_FALSE(loadStored(R"({"lastUpdated":1e300})"));
    EXPECT_FALSE(loadStored(R"({"lastUpdated":-1e12})"));
    EXPECT_FALSE(loadStored(R"({"lastUpdated":4e9})"));
    EXPECT_TRUE(loadStored(R"({"lastUpdated":-978307200})"));
}

TEST(SharedUsageDataTest, TextsWithQuotesAndUnicodeRoundTrip) {
    SharedUsageData data;
    data.claudePercent = 1;
    data.claudePlan = "Max \"20x\" \u00e9\u4e2d";
    data.claudeResetTime = "Resets in 2h 05m\n";
    data.lastUpdated = sampleInstant;
    EXPECT_EQ(SharedUsageData::decode(data.encode()), data);
}

TEST(SharedUsageDataTest, InvalidUtf8InATextStillEncodesToValidJson) {
    SharedUsageData data;
    data.codexPlan = std::string("plus\xff");
    data.lastUpdated = sampleInstant;
    const auto json = data.encode();
    EXPECT_TRUE(nlohmann::json::accept(json));
    EXPECT_TRUE(SharedUsageData::decode(json).has_value());
}

} // namespace
} // namespace quillon
