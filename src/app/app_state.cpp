#include "app/app_state.h"

#include "alerts/threshold_alerts.h"
#include "app/usage_variant.h"
#include "intents/shared_usage_data.h"

#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <cmath>

namespace quillon {
namespace {

constexpr double minimumInterval = 30;
constexpr double maximumInterval = 300;

// Runs a step when the enclosing scope ends, however it ends.
template <typename Step> class AtScopeEnd {
public:
    explicit AtScopeEnd(Step step) : step_(std::move(step)) {}
    ~AtScopeEnd() { step_(); }
    AtScopeEnd(const AtScopeEnd&) = delete;
    AtScopeEnd& operator=(const AtScopeEnd&) = delete;

private:
    Step step_;
};

std::optional<FetchedUsage> fetchQuietly(const AppServices::Fetch& fetch, CredentialStore& store,
                                         const Cancellation& cancellation) {
    if (!fetch) {
        return std::nullopt;
    }
    try {
        return fetch(store, cancellation);
    } catch (...) {
        // A provider reports failure as an absent result; anything thrown means the same.
        return std::nullopt;
    }
}

std::int64_t clampHour(std::int64_t hour) {
    return std::clamp<std::int64_t>(hour, 0, 23);
}

} // namespace

AppState::AppState(CredentialStore& authStore, AppServices services, QObject* parent)
    : QObject(parent), authStore_(authStore), services_(std::move(services)) {
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &AppState::refreshAll);
    // One background task at a time: the two fetches of a refresh run on it one after the other.
    pool_.setMaxThreadCount(1);
    if (services_.requestNotificationPermission) {
        services_.requestNotificationPermission();
    }
    startPolling();
}

AppState::~AppState() {
    cancellation_->cancel();
    pool_.waitForDone();
}

void AppState::setSmartNotificationSettings(const SmartNotificationSettings& value) {
    smart_ = value;
    emit smartNotificationSettingsChanged();
}

void AppState::setSettings(const AppSettings& value) {
    settings_ = value;
    emit settingsChanged();
}

void AppState::startPolling() {
    timer_.stop();
    timer_.setInterval(static_cast<int>(std::llround(settings_.refreshInterval * 1000)));
    timer_.start();
    refreshAll();
}

void AppState::refreshAll() {
    if (isRefreshing_) {
        return;
    }
    setIsRefreshing(true);
    (void)QtConcurrent::run(&pool_, [this, cancellation = cancellation_,
                                     fetchClaude = services_.fetchClaude,
                                     fetchCodex = services_.fetchCodex] {
        // The destructor waits for this task, so `this` outlives it; events posted to a
        // destroyed object are discarded.
        const AtScopeEnd clearRefreshing([this] {
            QMetaObject::invokeMethod(
                this, [this] { setIsRefreshing(false); }, Qt::QueuedConnection);
        });
        FetchResults results;
        results.claude = fetchQuietly(fetchClaude, authStore_, *cancellation);
        results.codex = fetchQuietly(fetchCodex, authStore_, *cancellation);
        QMetaObject::invokeMethod(
            this, [this, results = std::move(results)]() mutable { publish(std::move(results)); },
            Qt::QueuedConnection);
    });
}

void AppState::publish(FetchResults results) {
    if (results.claude) {
        claudeUsage_ = std::move(results.claude->usage);
        claudeExtraWindows_ = std::move(results.claude->extraWindows);
        emit claudeUsageChanged();
    }
    if (results.codex) {
        codexUsage_ = std::move(results.codex->usage);
        codexExtraWindows_ = std::move(results.codex->extraWindows);
        emit codexUsageChanged();
    }
    lastUpdated_ = services_.clock();
    emit lastUpdatedChanged();
    checkThresholds();
    saveDataForSiri();
}

void AppState::setRefreshInterval(double seconds) {
    double clamped = seconds;
    if (seconds <= minimumInterval) {
        clamped = minimumInterval;
    } else if (seconds > maximumInterval) {
        clamped = maximumInterval;
    }
    if (clamped == settings_.refreshInterval) {
        return;
    }
    settings_.refreshInterval = clamped;
    emit settingsChanged();
    startPolling();
}

void AppState::setQuietHours(bool enabled, qint64 start, qint64 end) {
    smart_.quietHoursEnabled = enabled;
    emit smartNotificationSettingsChanged();
    smart_.quietHoursStart = clampHour(start);
    emit smartNotificationSettingsChanged();
    smart_.quietHoursEnd = clampHour(end);
    emit smartNotificationSettingsChanged();
}

void AppState::setNotificationsEnabled(bool enabled) {
    settings_.notifications.enabled = enabled;
    emit settingsChanged();
}

void AppState::setThreshold(qint64 value, bool on) {
    if (on) {
        settings_.notifications.thresholds.insert(value);
    } else {
        settings_.notifications.thresholds.erase(value);
    }
    emit settingsChanged();
}

void AppState::setLaunchAtStartup(bool on) {
    settings_.launchAtStartup = on;
    emit settingsChanged();
}

void AppState::setSmartThrottling(bool on) {
    smart_.smartThrottling = on;
    emit smartNotificationSettingsChanged();
}

void AppState::setCriticalAlertsOnly(bool on) {
    smart_.criticalAlertsOnly = on;
    emit smartNotificationSettingsChanged();
}

void AppState::setIsRefreshing(bool value) {
    isRefreshing_ = value;
    emit isRefreshingChanged();
}

void AppState::checkThresholds() {
    // The fired keys change whether or not a notification can be shown: an alert that the
    // desktop dropped is not raised again until use falls below its threshold.
    const auto alerts = quillon::checkThresholds(claudeUsage_, codexUsage_, settings_.notifications,
                                                 firedThresholds_);
    if (!services_.sendNotification) {
        return;
    }
    for (const auto& alert : alerts) {
        services_.sendNotification(alert.title, alert.body);
    }
}

void AppState::saveDataForSiri() {
    if (services_.snapshotStore == nullptr) {
        return;
    }
    SharedUsageData::from(claudeUsage_, codexUsage_, lastUpdated_.value_or(services_.clock()))
        .save(*services_.snapshotStore);
}

QVariantMap AppState::smartNotificationSettingsVariant() const {
    return toVariantMap(smart_);
}
QVariant AppState::claudeUsageVariant() const {
    return toVariant(claudeUsage_);
}
QVariant AppState::codexUsageVariant() const {
    return toVariant(codexUsage_);
}
QVariantMap AppState::settingsVariant() const {
    return toVariantMap(settings_);
}

QDateTime AppState::lastUpdatedVariant() const {
    return lastUpdated_ ? toDateTime(*lastUpdated_) : QDateTime();
}

} // namespace quillon
