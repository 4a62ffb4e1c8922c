#pragma once

#include <cstdint>
#include <set>

namespace quillon {

// The alert switches.
struct NotificationSettings {
    bool enabled = true;
    std::set<std::int64_t> thresholds{50, 75, 90};

    bool operator==(const NotificationSettings&) const = default;
};

// The user settings. They live in memory only: every launch starts from these defaults.
struct AppSettings {
    double refreshInterval = 60;
    bool showActivityLog = false;
    bool launchAtStartup = false;
    NotificationSettings notifications;

    bool operator==(const AppSettings&) const = default;
};

// Alert refinements shown and edited by the settings panel. The threshold check reads none of
// them; they are state, not behaviour.
struct SmartNotificationSettings {
    bool smartThrottling = true;
    bool criticalAlertsOnly = false;
    bool quietHoursEnabled = false;
    std::int64_t quietHoursStart = 22;
    std::int64_t quietHoursEnd = 8;

    bool operator==(const SmartNotificationSettings&) const = default;
};

} // namespace quillon
