#include "app/app_state.h"
#include "app/production_services.h"
#include "app/settings_file.h"
#include "intents/shared_usage_data.h"
#include "support/fake_notification_server.h"
#include "support/memory_stores.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"

#include <QSettings>
#include <QTime>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr int absent = -1000;

// The shipped services with the two fetches replaced by figures the test sets between cycles
// (`absent` for a failed fetch). Notifications go through the real desktop sender.
class AppStateAlertsTest : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(dataHome.path().string()));
        qputenv("XDG_DATA_DIRS", QByteArray::fromStdString(dataHome.path().string()));
    }

    AppServices services() { return services(store); }

    // The same, saving the command line's snapshot into `snapshots`.
    AppServices services(KeyValueStore& snapshots) {
        AppServices services = productionServices(snapshots);
        services.fetchClaude = [this](CredentialStore&, const Cancellation&) {
            return fetched(Provider::claude, claudePercent.load());
        };
        services.fetchCodex = [this](CredentialStore&, const Cancellation&) {
            return fetched(Provider::codex, codexPercent.load());
        };
        services.clock = [this] { return now; };
        return services;
    }

    std::unique_ptr<AppState> start() {
        auto state = std::make_unique<AppState>(credentials, services());
        EXPECT_TRUE(test::waitUntil([&] { return !state->isRefreshing(); }));
        return state;
    }

    // One more refresh, waited for; then a pause in which late notifications would arrive.
    void cycle(AppState& state) {
        state.refreshAll();
        ASSERT_TRUE(test::waitUntil([&] { return !state.isRefreshing(); }));
        test::spin(150);
    }

    std::vector<QString> bodies(const test::FakeNotificationServer& server) const {
        std::vector<QString> result;
        for (const auto& call : server.calls) {
            result.push_back(call.body);
        }
        return result;
    }

    static std::optional<UsageData> fetched(Provider provider, int percent) {
        if (percent == absent) {
            return std::nullopt;
        }
        UsageData data;
        data.provider = provider;
        data.plan = provider == Provider::claude ? std::optional<std::string>("Max") : std::nullopt;
        data.fiveHour = {percent, std::nullopt, "Resets in 1h 00m"};
        data.weekly = {3, std::nullopt, "Mon 9:00 AM"};
        return data;
    }

    test::TempDir dataHome;
    test::MemoryCredentialStore credentials;
    test::MemoryKeyValueStore store;
    std::atomic<int> claudePercent{absent};
    std::atomic<int> codexPercent{absent};
    Instant now = Instant(std::chrono::seconds(978307200 + 784000000));
};

TEST_F(AppStateAlertsTest, AlertsReachTheDesktopServiceAcrossCycles) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    claudePercent = 95;
    const auto state = start();
    ASSERT_TRUE(test::waitUntil([&] { return server.calls.size() == 3; }));
    EXPECT_THAT(bodies(server),
                UnorderedElementsAre("Claude Code has reached 50% of 5-hour limit",
                                     "Claude Code has reached 75% of 5-hour limit",
                                     "Claude Code has reached 90% of 5-hour limit"));
    for (const auto& call : server.calls) {
        EXPECT_EQ(call.appName, "Quillon");
        EXPECT_EQ(call.replacesId, 0U);
        EXPECT_EQ(call.summary, "Quillon");
        EXPECT_TRUE(call.actions.isEmpty());
        EXPECT_EQ(call.hints.value("sound-name").toString(), "message-new-instant");
        EXPECT_EQ(call.hints.value("desktop-entry").toString(), "quillon");
        EXPECT_TRUE(call.hints.contains("image-data"));
        EXPECT_EQ(call.expireTimeout, -1);
    }
    // The start-up step asked the service what it can do, once.
    EXPECT_EQ(server.capabilityRequests, 1);

    server.calls.clear();
    cycle(*state); // still 95
    EXPECT_THAT(server.calls, IsEmpty());

    claudePercent = 80;
    cycle(*state);
    EXPECT_THAT(server.calls, IsEmpty());

    claudePercent = 90;
    codexPercent = 60;
    cycle(*state);
    EXPECT_THAT(bodies(server), ElementsAre("Claude Code has reached 90% of 5-hour limit",
                                            "Codex has reached 50% of 5-hour limit"));
}

TEST_F(AppStateAlertsTest, AFailedFetchKeepsTheSnapshotAndRaisesNothingNew) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    codexPercent = 76;
    const auto state = start();
    ASSERT_TRUE(test::waitUntil([&] { return server.calls.size() == 2; }));
    codexPercent = absent;
    cycle(*state);
    EXPECT_EQ(server.calls.size(), 2U);
}

TEST_F(AppStateAlertsTest, WithoutANotificationServiceNothingHangsAndFiredKeysStay) {
    claudePercent = 95;
    const auto state = start(); // three alerts sent into the void
    cycle(*state);

    // A service appears; use stays above every threshold: the keys fired while nobody listened
    // are still fired, so nothing is raised again.
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    cycle(*state);
    EXPECT_THAT(server.calls, IsEmpty());

    // 75 and 90 re-arm, 50 stays fired: only the two re-armed ones are announced on the climb.
    claudePercent = 60;
    cycle(*state);
    claudePercent = 95;
    cycle(*state);
    EXPECT_THAT(bodies(server),
                UnorderedElementsAre("Claude Code has reached 75% of 5-hour limit",
                                     "Claude Code has reached 90% of 5-hour limit"));
}

// Sets the local time zone so that the wall clock reads 23:xx now, for as long as it lives.
class ElevenAtNight {
public:
    ElevenAtNight() {
        if (const char* tz = std::getenv("TZ")) {
            saved_ = tz;
        }
        const std::time_t now = std::time(nullptr);
        std::tm utc{};
        gmtime_r(&now, &utc);
        int offset = (23 - utc.tm_hour + 24) % 24; // hours east of Greenwich
        offset = offset > 12 ? offset - 24 : offset;
        // A POSIX zone counts hours west of Greenwich.
        const std::string zone = "<QHT>" + std::to_string(-offset);
        ::setenv("TZ", zone.c_str(), 1);
        ::tzset();
    }
    ~ElevenAtNight() {
        saved_ ? ::setenv("TZ", saved_->c_str(), 1) : ::unsetenv("TZ");
        ::tzset();
    }
    ElevenAtNight(const ElevenAtNight&) = delete;
    ElevenAtNight& operator=(const ElevenAtNight&) = delete;

private:
    std::optional<std::string> saved_;
};

TEST_F(AppStateAlertsTest, QuietHoursEnabledForTwentyTwoToEightStillAnnounceACrossingAtEleven) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    // 23:00 local time on both clocks an alert check could consult: the state's own clock and
    // the wall clock.
    const ElevenAtNight night;
    std::time_t today = std::time(nullptr);
    std::tm local{};
    localtime_r(&today, &local);
    ASSERT_EQ(local.tm_hour, 23);
    EXPECT_EQ(QTime::currentTime().hour(), 23);
    local.tm_min = 0;
    local.tm_sec = 0;
    now = std::chrono::system_clock::from_time_t(std::mktime(&local));

    const auto state = start();
    state->setQuietHours(true, 22, 8);
    ASSERT_TRUE(state->smartNotificationSettings().quietHoursEnabled);
    claudePercent = 51;
    codexPercent = 95;
    cycle(*state);
    EXPECT_THAT(bodies(server), UnorderedElementsAre("Claude Code has reached 50% of 5-hour limit",
                                                     "Codex has reached 50% of 5-hour limit",
                                                     "Codex has reached 75% of 5-hour limit",
                                                     "Codex has reached 90% of 5-hour limit"));
}

TEST_F(AppStateAlertsTest, ARelaunchOverTheSameSettingsFileAnnouncesThresholdsAgain) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    const QString path = QString::fromStdString((dataHome.path() / "quillon.conf").string());
    SettingsFile file(path);
    claudePercent = 92;
    {
        AppState first(credentials, services(file));
        ASSERT_TRUE(test::waitUntil([&] { return server.calls.size() == 3; }));
        cycle(first); // still above every threshold: nothing new
        EXPECT_EQ(server.calls.size(), 3U);
    }
    // What the first run left in the file: the snapshot for the command line, and nothing of the
    // alerts it raised.
    const QSettings written(path, QSettings::IniFormat);
    EXPECT_EQ(written.allKeys(), QStringList{"sharedUsageData"});

    server.calls.clear();
    AppState relaunched(credentials, services(file));
    ASSERT_TRUE(test::waitUntil([&] { return server.calls.size() == 3; }));
    test::spin(150);
    EXPECT_THAT(bodies(server),
                UnorderedElementsAre("Claude Code has reached 50% of 5-hour limit",
                                     "Claude Code has reached 75% of 5-hour limit",
                                     "Claude Code has reached 90% of 5-hour limit"));
}

TEST_F(AppStateAlertsTest, AlertsSwitchedOffRaiseNothing) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    const auto state = start();
    AppSettings settings = state->settings();
    settings.notifications.enabled = false;
    state->setSettings(settings);
    claudePercent = 99;
    codexPercent = 99;
    cycle(*state);
    EXPECT_THAT(server.calls, IsEmpty());
}

TEST_F(AppStateAlertsTest, EachRefreshSavesTheSnapshot) {
    claudePercent = 42;
    codexPercent = 17;
    const auto state = start();
    EXPECT_EQ(
        store.readBytes("sharedUsageData"),
        R"({"claudePercent":42,"codexPercent":17,"claudePlan":"Max","lastUpdated":784000000.0,)"
        R"("claudeResetTime":"Resets in 1h 00m","codexResetTime":"Resets in 1h 00m"})");

    claudePercent = absent;
    codexPercent = 18;
    now += std::chrono::seconds(60);
    cycle(*state);
    const auto saved = SharedUsageData::load(store);
    ASSERT_TRUE(saved.has_value());
    EXPECT_EQ(saved->claudePercent, 42); // the older Claude snapshot is kept
    EXPECT_EQ(saved->codexPercent, 18);
    EXPECT_EQ(saved->lastUpdated, now);
}

TEST_F(AppStateAlertsTest, BothFetchesFailingOnTheFirstCycleSavesOnlyLastUpdated) {
    const auto state = start();
    EXPECT_EQ(store.readBytes("sharedUsageData"), R"({"lastUpdated":784000000.0})");
}

TEST_F(AppStateAlertsTest, WithoutASnapshotStoreNothingIsSaved) {
    AppServices withoutStore = services();
    withoutStore.snapshotStore = nullptr;
    claudePercent = 42;
    AppState state(credentials, withoutStore);
    ASSERT_TRUE(test::waitUntil([&] { return !state.isRefreshing(); }));
    EXPECT_FALSE(store.readBytes("sharedUsageData").has_value());
    EXPECT_TRUE(state.claudeUsage().has_value());
}

} // namespace
} // namespace quillon
