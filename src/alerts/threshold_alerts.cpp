#include "alerts/threshold_alerts.h"

namespace quillon {

std::string alertKey(std::string_view provider, std::int64_t threshold) {
    std::string key(provider);
    key += ':';
    key += std::to_string(threshold);
    return key;
}

std::vector<Alert> checkProvider(const std::optional<UsageData>& usage, std::string_view provider,
                                 std::string_view label, const NotificationSettings& settings,
                                 std::set<std::string>& firedThresholds) {
    std::vector<Alert> alerts;
    if (!usage) {
        return alerts;
    }
    // Only the five-hour window raises alerts.
    const std::int64_t percent = usage->fiveHour.percent;
    for (const std::int64_t threshold : settings.thresholds) {
        std::string key = alertKey(provider, threshold);
        if (percent < threshold) {
            firedThresholds.erase(key);
            continue;
        }
        if (firedThresholds.insert(std::move(key)).second) {
            // The body names the threshold reached, not the current figure.
            alerts.push_back({std::string(alertTitle), std::string(label) + " has reached " +
                                                           std::to_string(threshold) +
                                                           "% of 5-hour limit"});
        }
    }
    return alerts;
}

std::vector<Alert> checkThresholds(const std::optional<UsageData>& claudeUsage,
                                   const std::optional<UsageData>& codexUsage,
                                   const NotificationSettings& settings,
                                   std::set<std::string>& firedThresholds) {
    if (!settings.enabled) {
        return {};
    }
    std::vector<Alert> alerts =
        checkProvider(claudeUsage, "claude", "Claude Code", settings, firedThresholds);
    std::vector<Alert> codex =
        checkProvider(codexUsage, "codex", "Codex", settings, firedThresholds);
    alerts.insert(alerts.end(), codex.begin(), codex.end());
    return alerts;
}

} // namespace quillon
