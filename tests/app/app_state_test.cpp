#include "app/app_state.h"
#include "support/memory_stores.h"
#include "support/qt_wait.h"
#include "support/usage_builders.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace quillon {
namespace {

using test::usage;

// A provider fetch under the test's control: scripted results, an optional gate that holds the
// fetch until released, and a record of calls, threads and overlap.
class ScriptedFetches {
public:
    std::vector<std::optional<UsageData>> claudeResults{usage(Provider::claude, 42)};
    std::vector<std::optional<UsageData>> codexResults{usage(Provider::codex, 17)};
    std::atomic<int> claudeCalls{0};
    std::atomic<int> codexCalls{0};
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false};
    std::atomic<bool> ranOnMainThread{false};
    std::atomic<bool> codexBeforeClaude{false};
    Qt::HANDLE mainThread = QThread::currentThreadId();

    void hold() {
        const std::lock_guard lock(mutex_);
        held_ = true;
    }
    void release() {
        {
            const std::lock_guard lock(mutex_);
            held_ = false;
        }
        released_.notify_all();
    }

    AppServices services() {
        AppServices services;
        services.fetchClaude = [this](CredentialStore&, const Cancellation& cancel) {
            return fetch(claudeCalls, claudeResults, cancel, true);
        };
        services.fetchCodex = [this](CredentialStore&, const Cancellation& cancel) {
            return fetch(codexCalls, codexResults, cancel, false);
        };
        return services;
    }

private:
    std::optional<UsageData> fetch(std::atomic<int>& calls,
                                   const std::vector<std::optional<UsageData>>& results,
                                   const Cancellation& cancel, bool isClaude) {
        if (running.fetch_add(1) != 0) {
            overlapped = true;
        }
        if (QThread::currentThreadId() == mainThread) {
            ranOnMainThread = true;
        }
        if (!isClaude && codexCalls.load() >= claudeCalls.load()) {
            codexBeforeClaude = true;
        }
        const int call = calls.fetch_add(1);
        {
            std::unique_lock lock(mutex_);
            // Polls the cancellation as a real transfer does between progress callbacks.
            while (!released_.wait_for(lock, std::chrono::milliseconds(10),
                                       [&] { return !held_ || cancel.isCancelled(); })) {
            }
        }
        running.fetch_sub(1);
        const auto index =
            std::min<std::size_t>(static_cast<std::size_t>(call), results.size() - 1);
        return results[index];
    }

    std::mutex mutex_;
    std::condition_variable released_;
    bool held_ = false;
};

class AppStateTest : public ::testing::Test {
protected:
    std::unique_ptr<AppState> make() {
        return std::make_unique<AppState>(credentials, fetches.services());
    }
    static bool idle(const AppState& state) { return !state.isRefreshing(); }

    test::MemoryCredentialStore credentials;
    ScriptedFetches fetches;
};

TEST_F(AppStateTest, ConstructionStartsExactlyOneRefreshAtOnce) {
    const auto state = make();
    EXPECT_TRUE(state->isRefreshing());
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    test::spin(200);
    EXPECT_EQ(fetches.claudeCalls, 1);
    EXPECT_EQ(fetches.codexCalls, 1);
}

TEST_F(AppStateTest, NextAutomaticRefreshComesAfterSixtySeconds) {
    const auto state = make();
    EXPECT_TRUE(state->pollTimer().isActive());
    EXPECT_EQ(state->pollTimer().interval(), 60000);
    EXPECT_GT(state->pollTimer().remainingTime(), 59000);
    EXPECT_EQ(state->pollTimer().timerType(), Qt::PreciseTimer);
}

TEST_F(AppStateTest, TimerTickStartsARefresh) {
    const auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    state->pollTimer().setInterval(50);
    ASSERT_TRUE(test::waitUntil([&] { return fetches.claudeCalls >= 3; }));
}

TEST_F(AppStateTest, ResultsArePublishedAndLastUpdatedSet) {
    const auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    EXPECT_EQ(state->claudeUsage(), usage(Provider::claude, 42));
    EXPECT_EQ(state->codexUsage(), usage(Provider::codex, 17));
    ASSERT_TRUE(state->lastUpdated().has_value());
}

TEST_F(AppStateTest, IntervalTenStoresThirty) {
    const auto state = make();
    state->setRefreshInterval(10);
    EXPECT_EQ(state->settings().refreshInterval, 30);
    EXPECT_EQ(state->pollTimer().interval(), 30000);
}

TEST_F(AppStateTest, IntervalThousandStoresThreeHundred) {
    const auto state = make();
    state->setRefreshInterval(1000);
    EXPECT_EQ(state->settings().refreshInterval, 300);
    EXPECT_EQ(state->pollTimer().interval(), 300000);
}

TEST_F(AppStateTest, IntervalFortyFiveIsKeptOffTheSliderGrid) {
    const auto state = make();
    state->setRefreshInterval(45);
    EXPECT_EQ(state->settings().refreshInterval, 45);
    EXPECT_EQ(state->pollTimer().interval(), 45000);
}

TEST_F(AppStateTest, SettingTheStoredIntervalAgainNeitherRestartsNorRefreshes) {
    const auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    test::spin(300);
    const int before = state->pollTimer().remainingTime();
    QSignalSpy settingsChanged(state.get(), &AppState::settingsChanged);
    state->setRefreshInterval(60);
    EXPECT_FALSE(state->isRefreshing());
    EXPECT_LE(state->pollTimer().remainingTime(), before);
    EXPECT_EQ(settingsChanged.count(), 0);
    test::spin(100);
    EXPECT_EQ(fetches.claudeCalls, 1);
}

TEST_F(AppStateTest, ChangedIntervalRestartsTheTimerPhaseAndRefreshesAtOnce) {
    const auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    test::spin(300);
    state->setRefreshInterval(90);
    EXPECT_TRUE(state->isRefreshing());
    // More than the old 60 s period left: the timer started again from zero with the new one.
    EXPECT_EQ(state->pollTimer().interval(), 90000);
    EXPECT_GT(state->pollTimer().remainingTime(), 60000);
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    EXPECT_EQ(fetches.claudeCalls, 2);
}

TEST_F(AppStateTest, RefreshWhileRefreshingHasNoEffect) {
    fetches.hold();
    const auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return fetches.claudeCalls == 1; }));
    QSignalSpy refreshingChanged(state.get(), &AppState::isRefreshingChanged);
    state->refreshAll();
    state->refreshAll();
    EXPECT_EQ(refreshingChanged.count(), 0);
    fetches.release();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    test::spin(100);
    EXPECT_EQ(fetches.claudeCalls, 1);
    EXPECT_EQ(fetches.codexCalls, 1);
    state->refreshAll();
    ASSERT_TRUE(test::waitUntil([&] { return fetches.claudeCalls == 2 && idle(*state); }));
}

TEST_F(AppStateTest, ClaudeFailingOnALaterCycleKeepsItsOlderSnapshot) {
    fetches.claudeResults = {usage(Provider::claude, 42), std::nullopt};
    fetches.codexResults = {usage(Provider::codex, 17), usage(Provider::codex, 18)};
    const auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    const auto firstUpdate = *state->lastUpdated();
    test::spin(20);
    state->refreshAll();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    EXPECT_EQ(state->claudeUsage(), usage(Provider::claude, 42));
    EXPECT_EQ(state->codexUsage(), usage(Provider::codex, 18));
    EXPECT_GT(*state->lastUpdated(), firstUpdate);
}

TEST_F(AppStateTest, BothFailingOnTheFirstCycleStillSetsLastUpdated) {
    fetches.claudeResults = {std::nullopt};
    fetches.codexResults = {std::nullopt};
    const auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    EXPECT_EQ(state->claudeUsage(), std::nullopt);
    EXPECT_EQ(state->codexUsage(), std::nullopt);
    EXPECT_TRUE(state->lastUpdated().has_value());
}

TEST_F(AppStateTest, LastUpdatedMovesOnEveryCycle) {
    const auto state = make();
    std::vector<Instant> seen;
    for (int cycle = 0; cycle < 4; ++cycle) {
        ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
        seen.push_back(*state->lastUpdated());
        test::spin(5);
        state->refreshAll();
    }
    for (std::size_t i = 1; i < seen.size(); ++i) {
        EXPECT_GT(seen[i], seen[i - 1]);
    }
}

TEST_F(AppStateTest, FetchesRunOffTheMainThreadOneAfterTheOtherClaudeFirst) {
    fetches.claudeResults = {usage(Provider::claude, 1), std::nullopt};
    fetches.codexResults = {std::nullopt, usage(Provider::codex, 2)};
    const auto state = make();
    for (int cycle = 0; cycle < 6; ++cycle) {
        ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
        state->refreshAll();
    }
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    EXPECT_EQ(fetches.claudeCalls, 7);
    EXPECT_EQ(fetches.codexCalls, 7);
    EXPECT_FALSE(fetches.overlapped);
    EXPECT_FALSE(fetches.ranOnMainThread);
    EXPECT_FALSE(fetches.codexBeforeClaude);
}

TEST_F(AppStateTest, EveryPublishedWriteHappensOnTheMainThread) {
    const auto state = make();
    std::atomic<int> offMainThread{0};
    std::atomic<int> writes{0};
    const auto check = [&] {
        ++writes;
        if (QThread::currentThreadId() != fetches.mainThread) {
            ++offMainThread;
        }
    };
    for (const auto signal :
         {&AppState::claudeUsageChanged, &AppState::codexUsageChanged,
          &AppState::lastUpdatedChanged, &AppState::isRefreshingChanged, &AppState::settingsChanged,
          &AppState::smartNotificationSettingsChanged}) {
        QObject::connect(state.get(), signal, state.get(), check, Qt::DirectConnection);
    }
    for (int cycle = 0; cycle < 3; ++cycle) {
        ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
        state->refreshAll();
    }
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    EXPECT_GT(writes, 10);
    EXPECT_EQ(offMainThread, 0);
}

TEST_F(AppStateTest, FiguresArePublishedBeforeRefreshingIsCleared) {
    const auto state = make();
    std::vector<std::string> order;
    QObject::connect(state.get(), &AppState::claudeUsageChanged,
                     [&] { order.push_back("claude"); });
    QObject::connect(state.get(), &AppState::codexUsageChanged, [&] { order.push_back("codex"); });
    QObject::connect(state.get(), &AppState::lastUpdatedChanged,
                     [&] { order.push_back("updated"); });
    QObject::connect(state.get(), &AppState::isRefreshingChanged,
                     [&] { order.push_back(state->isRefreshing() ? "start" : "end"); });
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    EXPECT_EQ(order, (std::vector<std::string>{"claude", "codex", "updated", "end"}));
}

TEST_F(AppStateTest, QuietHoursAreClampedAndPublishThreeChanges) {
    const auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return idle(*state); }));
    QSignalSpy changed(state.get(), &AppState::smartNotificationSettingsChanged);
    state->setQuietHours(true, -3, 30);
    EXPECT_EQ(changed.count(), 3);
    EXPECT_TRUE(state->smartNotificationSettings().quietHoursEnabled);
    EXPECT_EQ(state->smartNotificationSettings().quietHoursStart, 0);
    EXPECT_EQ(state->smartNotificationSettings().quietHoursEnd, 23);
}

TEST_F(AppStateTest, QuietHoursTriggerNoRefreshAndNoAlertCheck) {
    std::vector<std::string> alerts;
    AppServices services = fetches.services();
    services.sendNotification = [&](const std::string&, const std::string& body) {
        alerts.push_back(body);
    };
    AppState state(credentials, services);
    ASSERT_TRUE(test::waitUntil([&] { return idle(state); }));
    ASSERT_EQ(fetches.claudeCalls, 1);
    ASSERT_TRUE(alerts.empty()); // Claude at 42 % and Codex at 17 % are below every threshold
    // A threshold both are already past, set without a check: the next check would announce it.
    AppSettings settings = state.settings();
    settings.notifications.thresholds = {10};
    state.setSettings(settings);
    ASSERT_TRUE(alerts.empty());

    QSignalSpy refreshing(&state, &AppState::isRefreshingChanged);
    QSignalSpy updated(&state, &AppState::lastUpdatedChanged);
    state.setQuietHours(true, 22, 8);
    EXPECT_FALSE(state.isRefreshing());
    test::spin(300);
    EXPECT_EQ(refreshing.count(), 0);
    EXPECT_EQ(updated.count(), 0);
    EXPECT_EQ(fetches.claudeCalls, 1);
    EXPECT_EQ(fetches.codexCalls, 1);
    EXPECT_TRUE(alerts.empty());

    // The same check after a refresh does announce it, so the silence above is the point.
    state.refreshAll();
    ASSERT_TRUE(test::waitUntil([&] { return idle(state); }));
    EXPECT_EQ(alerts, (std::vector<std::string>{"Claude Code has reached 10% of 5-hour limit",
                                                "Codex has reached 10% of 5-hour limit"}));
}

TEST_F(AppStateTest, AfterARestartAllSettingsAreBackAtTheirDefaults) {
    {
        const auto state = make();
        state->setRefreshInterval(120);
        state->setQuietHours(true, 1, 2);
        AppSettings changed = state->settings();
        changed.launchAtStartup = true;
        changed.notifications.thresholds = {10};
        state->setSettings(changed);
    }
    const auto restarted = make();
    EXPECT_EQ(restarted->settings(), AppSettings{});
    EXPECT_EQ(restarted->smartNotificationSettings(), SmartNotificationSettings{});
    EXPECT_EQ(restarted->claudeUsage(), std::nullopt);
    EXPECT_EQ(restarted->lastUpdated(), std::nullopt);
}

TEST_F(AppStateTest, DestroyingDuringASlowFetchCancelsItWithoutWaitingForIt) {
    fetches.hold();
    auto state = make();
    ASSERT_TRUE(test::waitUntil([&] { return fetches.claudeCalls == 1; }));
    state.reset(); // returns only because the held fetch sees the cancellation
    fetches.release();
    test::spin(50);
}

TEST_F(AppStateTest, NotificationPermissionIsAskedOnceAtConstruction) {
    int asked = 0;
    AppServices services = fetches.services();
    services.requestNotificationPermission = [&] { ++asked; };
    const AppState state(credentials, services);
    EXPECT_EQ(asked, 1);
}

} // namespace
} // namespace quillon
