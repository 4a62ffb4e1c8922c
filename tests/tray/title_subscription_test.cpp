#include "app/app_state.h"
#include "support/memory_stores.h"
#include "support/qt_wait.h"
#include "support/usage_builders.h"
#include "tray/title_subscription.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

namespace quillon {
namespace {

using test::waitUntil;

using test::usage;

struct Update {
    std::optional<UsageData> claude;
    std::optional<UsageData> codex;
    qint64 atMs;
};

class TitleSubscriptionTest : public ::testing::Test {
protected:
    AppServices services() {
        AppServices services;
        services.fetchClaude = [this](CredentialStore&, const Cancellation&) {
            const std::lock_guard lock(mutex);
            ++fetches;
            return claude;
        };
        services.fetchCodex = [this](CredentialStore&, const Cancellation&) {
            const std::lock_guard lock(mutex);
            return codex;
        };
        return services;
    }

    TitleSubscription::Sink sink() {
        return [this](const auto& c, const auto& x) { updates.push_back({c, x, clock.elapsed()}); };
    }

    void refresh(AppState& state) {
        ASSERT_TRUE(waitUntil([&] { return !state.isRefreshing(); }));
        const int before = fetches;
        state.refreshAll();
        ASSERT_TRUE(waitUntil([&] { return fetches > before && !state.isRefreshing(); }));
    }

    std::mutex mutex;
    std::optional<UsageData> claude;
    std::optional<UsageData> codex;
    std::atomic<int> fetches{0};
    test::MemoryCredentialStore credentials;
    std::vector<Update> updates;
    QElapsedTimer clock;
};

TEST_F(TitleSubscriptionTest, TheFirstPairIsTakenAtOnceAndDeliveredAfterTheDebounce) {
    AppState state(credentials, services());
    ASSERT_TRUE(waitUntil([&] { return !state.isRefreshing(); }));
    clock.start();
    TitleSubscription titles(state, sink());
    EXPECT_TRUE(updates.empty());
    ASSERT_TRUE(waitUntil([&] { return !updates.empty(); }));
    EXPECT_GE(updates.front().atMs, TitleSubscription::debounceMs - 5);
    EXPECT_FALSE(updates.front().claude);
    EXPECT_FALSE(updates.front().codex);
}

TEST_F(TitleSubscriptionTest, FollowsBothUsagesOfTheState) {
    claude = usage(Provider::claude, 42);
    codex = usage(Provider::codex, 17);
    AppState state(credentials, services());
    clock.start();
    TitleSubscription titles(state, sink());
    ASSERT_TRUE(waitUntil(
        [&] { return !updates.empty() && updates.back().claude && updates.back().codex; }));
    EXPECT_EQ(updates.back().claude->fiveHour.percent, 42);
    EXPECT_EQ(updates.back().codex->fiveHour.percent, 17);

    {
        const std::lock_guard lock(mutex);
        codex = usage(Provider::codex, 18);
    }
    const auto before = updates.size();
    refresh(state);
    ASSERT_TRUE(waitUntil([&] { return updates.size() > before; }));
    EXPECT_EQ(updates.back().codex->fiveHour.percent, 18);
}

TEST_F(TitleSubscriptionTest, AChangeOfOnlyTheWeeklyPercentDoesNotResetTheTitle) {
    claude = usage(Provider::claude, 42, 10);
    AppState state(credentials, services());
    TitleSubscription titles(state, sink());
    ASSERT_TRUE(waitUntil([&] { return !updates.empty() && updates.back().claude; }));
    test::spin(TitleSubscription::debounceMs * 2);
    const auto settled = updates.size();
    {
        const std::lock_guard lock(mutex);
        claude = usage(Provider::claude, 42, 90);
        claude->plan = "Pro";
    }
    refresh(state);
    test::spin(TitleSubscription::debounceMs * 3);
    EXPECT_EQ(updates.size(), settled);
}

TEST_F(TitleSubscriptionTest, ThreeChangesWithin100MsGiveOneUpdateWithTheLastValues) {
    AppState state(credentials, services());
    TitleSubscription titles(state, sink());
    ASSERT_TRUE(waitUntil([&] { return !updates.empty(); }));
    test::spin(TitleSubscription::debounceMs * 2);
    const auto settled = updates.size();
    clock.start();
    titles.offer(usage(Provider::claude, 1), std::nullopt);
    titles.offer(usage(Provider::claude, 2), std::nullopt);
    titles.offer(usage(Provider::claude, 3), usage(Provider::codex, 4));
    test::spin(TitleSubscription::debounceMs * 3);
    ASSERT_EQ(updates.size(), settled + 1);
    EXPECT_EQ(updates.back().claude->fiveHour.percent, 3);
    EXPECT_EQ(updates.back().codex->fiveHour.percent, 4);
    EXPECT_GE(updates.back().atMs, TitleSubscription::debounceMs - 5);
}

TEST_F(TitleSubscriptionTest, PresentAndAbsentAreDifferentFigures) {
    AppState state(credentials, services());
    TitleSubscription titles(state, sink());
    ASSERT_TRUE(waitUntil([&] { return !updates.empty(); }));
    test::spin(TitleSubscription::debounceMs * 2);
    const auto settled = updates.size();
    titles.offer(std::nullopt, usage(Provider::codex, 0));
    ASSERT_TRUE(waitUntil([&] { return updates.size() == settled + 1; }));
    titles.offer(std::nullopt, usage(Provider::codex, 0, 50));
    test::spin(TitleSubscription::debounceMs * 2);
    EXPECT_EQ(updates.size(), settled + 1);
}

TEST_F(TitleSubscriptionTest, ARepeatedPairAfterADifferentOneIsDeliveredAgain) {
    AppState state(credentials, services());
    TitleSubscription titles(state, sink());
    ASSERT_TRUE(waitUntil([&] { return !updates.empty(); }));
    test::spin(TitleSubscription::debounceMs * 2);
    const auto settled = updates.size();
    titles.offer(usage(Provider::claude, 5), std::nullopt);
    ASSERT_TRUE(waitUntil([&] { return updates.size() == settled + 1; }));
    titles.offer(std::nullopt, std::nullopt);
    ASSERT_TRUE(waitUntil([&] { return updates.size() == settled + 2; }));
    EXPECT_FALSE(updates.back().claude);
}

} // namespace
} // namespace quillon
