#pragma once

#include "app/app_services.h"
#include "model/extra_windows.h"
#include "model/settings.h"

#include <QDateTime>
#include <QObject>
#include <QThreadPool>
#include <QTimer>
#include <QVariant>

#include <memory>
#include <set>
#include <string>

namespace quillon {

// The one central state of the program: the latest snapshot of each provider, the time of the
// last refresh, the settings, and the polling cycle that keeps them current. Lives on the main
// thread; every published field is written there only and announces each write with its change
// signal (also when the value did not change).
class AppState : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantMap smartNotificationSettings READ smartNotificationSettingsVariant NOTIFY
                   smartNotificationSettingsChanged)
    Q_PROPERTY(QVariant claudeUsage READ claudeUsageVariant NOTIFY claudeUsageChanged)
    Q_PROPERTY(QVariant codexUsage READ codexUsageVariant NOTIFY codexUsageChanged)
    Q_PROPERTY(QDateTime lastUpdated READ lastUpdatedVariant NOTIFY lastUpdatedChanged)
    Q_PROPERTY(QVariantMap settings READ settingsVariant NOTIFY settingsChanged)
    Q_PROPERTY(bool isRefreshing READ isRefreshing NOTIFY isRefreshingChanged)

public:
    using SmartNotificationSettings = quillon::SmartNotificationSettings;

    // Builds the state, asks for notification permission (answer unused) and starts polling, so
    // the first refresh begins during construction.
    AppState(CredentialStore& authStore, AppServices services, QObject* parent = nullptr);
    // Cancels a refresh in flight and waits for its background task to end.
    ~AppState() override;

    const SmartNotificationSettings& smartNotificationSettings() const { return smart_; }
    const std::optional<UsageData>& claudeUsage() const { return claudeUsage_; }
    const std::optional<UsageData>& codexUsage() const { return codexUsage_; }
    // The windows each provider's latest figures carried beyond the named ones; they change with
    // the usage fields and announce themselves with the same signals.
    const ExtraWindows& claudeExtraWindows() const { return claudeExtraWindows_; }
    const ExtraWindows& codexExtraWindows() const { return codexExtraWindows_; }
    const std::optional<Instant>& lastUpdated() const { return lastUpdated_; }
    const AppSettings& settings() const { return settings_; }
    bool isRefreshing() const { return isRefreshing_; }

    void setSmartNotificationSettings(const SmartNotificationSettings& value);
    void setSettings(const AppSettings& value);

    // (Re)starts the polling timer from zero and refreshes at once.
    Q_INVOKABLE void startPolling();
    // Starts one refresh unless one is running; a request made during a refresh is dropped.
    Q_INVOKABLE void refreshAll();
    // Clamps to 30..300 s; an unchanged value does nothing, a new one restarts polling.
    Q_INVOKABLE void setRefreshInterval(double seconds);
    // Three separate writes, each announced; the hours are clamped to 0..23.
    Q_INVOKABLE void setQuietHours(bool enabled, qint64 start, qint64 end);
    // Direct writes from the settings view, each announced with its change signal.
    Q_INVOKABLE void setNotificationsEnabled(bool enabled);
    // Adds `value` to the alert thresholds or takes it out; other members stay as they are.
    Q_INVOKABLE void setThreshold(qint64 value, bool on);
    Q_INVOKABLE void setLaunchAtStartup(bool on);
    Q_INVOKABLE void setSmartThrottling(bool on);
    Q_INVOKABLE void setCriticalAlertsOnly(bool on);

    // The polling timer, for tests that drive the cycle.
    QTimer& pollTimer() { return timer_; }

signals:
    void smartNotificationSettingsChanged();
    void claudeUsageChanged();
    void codexUsageChanged();
    void lastUpdatedChanged();
    void settingsChanged();
    void isRefreshingChanged();

private:
    struct FetchResults {
        std::optional<FetchedUsage> claude;
        std::optional<FetchedUsage> codex;
    };

    void publish(FetchResults results);
    void setIsRefreshing(bool value);
    void checkThresholds();
    void saveDataForSiri();

    QVariantMap smartNotificationSettingsVariant() const;
    QVariant claudeUsageVariant() const;
    QVariant codexUsageVariant() const;
    QDateTime lastUpdatedVariant() const;
    QVariantMap settingsVariant() const;

    SmartNotificationSettings smart_;
    std::optional<UsageData> claudeUsage_;
    std::optional<UsageData> codexUsage_;
    ExtraWindows claudeExtraWindows_;
    ExtraWindows codexExtraWindows_;
    std::optional<Instant> lastUpdated_;
    AppSettings settings_;
    bool isRefreshing_ = false;

    QTimer timer_;
    CredentialStore& authStore_;
    std::set<std::string> firedThresholds_;
    AppServices services_;
    std::shared_ptr<Cancellation> cancellation_ = std::make_shared<Cancellation>();
    QThreadPool pool_;
};

} // namespace quillon
