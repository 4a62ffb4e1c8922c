#pragma once

#include "model/instant.h"
#include "model/usage_data.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace quillon {

// A reset stamp as the services send it; no text, or a text the strict ISO 8601 reading refuses
// (a stamp without fractional seconds among them), gives no instant.
std::optional<Instant> parseDate(const std::optional<std::string>& text);

// A window object {"utilization": 42.5, "resets_at": "..."} as a UsageWindow: the percent rounded
// half away from zero (0 when missing), the reset read when it is a text, labelled with the
// weekday and time. No object gives no window; an empty object gives 0 % without a reset.
std::optional<UsageWindow> parseWindow(const nlohmann::json* data);

// The five-hour window's label: "Resets in 7m", "Resets in 2h 05m", "Resetting..." once the
// moment has come, "" without a date. Seconds are cut, never rounded up.
std::string countdownLabel(const std::optional<Instant>& date, Instant now);

// The weekly windows' label: weekday and time ("Mon 3:05 PM"), "" without a date.
std::string resetLabel(const std::optional<Instant>& date);

} // namespace quillon
