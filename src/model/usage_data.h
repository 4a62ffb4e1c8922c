#pragma once

#include "model/instant.h"
#include "model/provider.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quillon {

// One rate-limit window of one provider. The percent is carried as received, never clamped.
struct UsageWindow {
    std::int64_t percent = 0;
    std::optional<Instant> resetsAt;
    std::string resetLabel;

    bool operator==(const UsageWindow&) const = default;
};

// Context-window use of the most recent local Claude Code session.
struct ContextUsage {
    std::string projectName;
    std::int64_t tokensUsed = 0;
    std::int64_t effectiveWindow = 0;
    std::int64_t tokensRemaining = 0;
    std::int64_t percentUsed = 0;

    bool operator==(const ContextUsage&) const = default;
};

// Today's local Claude Code activity; tokens are already formatted for display.
struct TodayUsage {
    std::int64_t messages = 0;
    std::string tokens;

    bool operator==(const TodayUsage&) const = default;
};

// One provider's usage snapshot.
struct UsageData {
    Provider provider = Provider::claude;
    std::optional<std::string> plan;
    UsageWindow fiveHour;
    UsageWindow weekly;
    std::optional<UsageWindow> sonnet;
    std::optional<ContextUsage> contextUsage;
    std::optional<TodayUsage> today;

    bool operator==(const UsageData&) const = default;
};

} // namespace quillon
