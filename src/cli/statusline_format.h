#pragma once

#include "cli/status_formats.h"
#include "intents/shared_usage_data.h"
#include "model/instant.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

// How full the current Claude Code session's context is, from the JSON that Claude Code hands a
// status-line command: `context_window.used_percentage`, or else the tokens of
// `context_window.current_usage` against `context_window.context_window_size`. Nothing when the
// text is not JSON or carries neither.
std::optional<std::int64_t> sessionContextPercent(std::string_view statusInput);

// One line for a terminal's status line, coloured with ANSI escapes by the panel's levels:
//   "C 42% ↻2h05m · wk 63% · X 17% ↻4h10m · ctx 31%"
// Each window whose pace reaches the limit before its reset gets "⚠ 100% in 1h20m" after it.
// Windows a service added come last, by their keys: " · C seven_day_opus 12%".
// Ends without a line end.
std::string statusLine(const StatusFigures& figures, std::optional<std::int64_t> contextPercent,
                       Instant now);

// The same from the saved snapshot while Quillon is not running, with its age:
//   "C 42% · X 17% · saved 3 min ago, Quillon not running"
// and "Quillon not running" without a snapshot.
std::string snapshotStatusLine(const std::optional<SharedUsageData>& snapshot,
                               std::optional<std::int64_t> contextPercent, Instant now);

// A stretch of time as the status line writes it: "2h05m", "48m", "3d04h", "0m".
std::string compactDuration(std::chrono::seconds duration);

} // namespace quillon
