#pragma once

#include "localstats/day_sums.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon::localstats {

// Bytes that must stay readable after the end of a line handed to the fast JSON parser.
inline constexpr std::size_t jsonPadding = 64;

// A JSON line without the one byte order mark a JSON reader skips at its start.
std::string_view withoutByteOrderMark(std::string_view line);

// The value of a JSON number read as a double when it is a whole number that fits a signed
// 64-bit integer: 12.0 and 1e3 are, 12.5 and 9.3e18 are not.
std::optional<std::int64_t> wholeNumber(double value);

// An instant given as seconds since 1970 (UTC) in ISO 8601 form with fractional seconds, as the
// shared formatter writes it; nothing when no Instant can hold it.
std::optional<std::string> isoTextOfSeconds(double seconds);

// The date of an instant given as seconds since 1970 (UTC), as the first ten characters of its
// ISO 8601 text; nothing when no Instant can hold it (it then names no day we could be in).
std::optional<DayKey> dayOfSeconds(double seconds);

} // namespace quillon::localstats
