#pragma once

#include "model/settings.h"
#include "model/usage_data.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// One desktop notification to raise.
struct Alert {
    std::string title;
    std::string body;

    bool operator==(const Alert&) const = default;
};

// The title of every threshold alert.
inline constexpr std::string_view alertTitle = "Quillon";

// "claude:50": the key under which a threshold counts as announced for a provider.
std::string alertKey(std::string_view provider, std::int64_t threshold);

// Checks one provider's five-hour use against every threshold. A threshold that use has reached
// and that is not yet in `firedThresholds` is added there and gives one alert; a threshold that
// use is below is taken out again (re-armed) without an alert. An absent snapshot changes
// nothing. The thresholds are visited in the set's own order.
std::vector<Alert> checkProvider(const std::optional<UsageData>& usage, std::string_view provider,
                                 std::string_view label, const NotificationSettings& settings,
                                 std::set<std::string>& firedThresholds);

// Checks Claude, then Codex. With alerts switched off nothing is raised and no key changes, so a
// threshold cannot re-arm while alerts are off.
std::vector<Alert> checkThresholds(const std::optional<UsageData>& claudeUsage,
                                   const std::optional<UsageData>& codexUsage,
                                   const NotificationSettings& settings,
                                   std::set<std::string>& firedThresholds);

} // namespace quillon
