#pragma once

#include "localstats/day_sums.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace quillon::localstats {

// Bytes that must stay readable after the end of a line handed to the fast JSON parser.
inline constexpr std::size_t jsonPadding = 64;

// A JSON line without the one byte order mark a JSON reader skips at its start.
std::string_view withoutByteOrderMark(std::string_view line);

// The value of a JSON number read as a double when it is a whole number that fits a signed
// 64-bit integer: 12.0 and 1e3 are, 12.5 and 9.3e18 are not.
std::optional<std::int64_t> wholeNumber(double value);

// The date of an instant given as seconds since 1970 (UTC), as the first ten characters of its
// ISO 8601 text; nothing when no Instant can hold it (it then names no day we could be in).
std::optional<DayKey> dayOfSeconds(double seconds);

} // namespace quillon::localstats
