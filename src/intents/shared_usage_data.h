#pragma once

#include "model/instant.h"
#include "model/key_value_store.h"
#include "model/usage_data.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

// The small, flat copy of the latest five-hour figures that the command-line answers read
// without the running program or the network. Saved after every refresh under
// "sharedUsageData" as compact JSON: the fields in the order below, absent ones left out,
// `lastUpdated` as seconds since 2001-01-01T00:00:00 UTC.
struct SharedUsageData {
    std::optional<std::int64_t> claudePercent;
    std::optional<std::int64_t> codexPercent;
    std::optional<std::string> claudePlan;
    std::optional<std::string> codexPlan;
    Instant lastUpdated;
    std::optional<std::string> claudeResetTime;
    std::optional<std::string> codexResetTime;

    static constexpr std::string_view storageKey = "sharedUsageData";

    // Copies each present provider's five-hour percent, plan and reset text.
    static SharedUsageData from(const std::optional<UsageData>& claudeUsage,
                                const std::optional<UsageData>& codexUsage, Instant lastUpdated);

    std::string encode() const;
    // Nothing for anything that is not exactly this shape: a missing or non-numeric
    // `lastUpdated`, a field of the wrong type, text that is not JSON. Unknown keys are ignored
    // and null reads as absent. A percent must be a whole number (42 or 42.0, not 42.5 or "42").
    static std::optional<SharedUsageData> decode(std::string_view json);

    // Replaces the stored snapshot.
    void save(KeyValueStore& store) const;
    // The stored snapshot, or nothing when there is none or it cannot be read; a value that
    // cannot be read is left in place.
    static std::optional<SharedUsageData> load(const KeyValueStore& store);

    bool operator==(const SharedUsageData&) const = default;
};

// Seconds since 2001-01-01T00:00:00 UTC, the snapshot's time base.
double secondsSinceReferenceDate(Instant instant);
// The inverse; nothing for an instant more than a century away from 1970, which no real
// refresh produces and which could not be compared with the clock safely.
std::optional<Instant> instantFromReferenceDate(double seconds);

} // namespace quillon
