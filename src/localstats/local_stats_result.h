#pragma once

#include "model/usage_data.h"

#include <optional>

namespace quillon {

// What the local Claude Code files say about today and the latest session.
struct LocalStatsResult {
    std::optional<TodayUsage> today;
    std::optional<ContextUsage> context;

    bool operator==(const LocalStatsResult&) const = default;
};

} // namespace quillon
