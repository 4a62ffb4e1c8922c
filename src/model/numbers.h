#pragma once

#include <cstdint>
#include <optional>

namespace quillon {

// Rounds to the nearest whole number, halves away from zero (42.5 -> 43, -0.5 -> -1).
// A value that is not finite or does not fit a signed 64-bit integer is fatal.
std::int64_t roundToInt64(double value);

// The same rounding, with nothing for a value that is not finite or does not fit.
std::optional<std::int64_t> tryRoundToInt64(double value);

// a + b, fatal on overflow instead of wrapping around.
std::int64_t checkedAdd(std::int64_t a, std::int64_t b);

// a - b, fatal on overflow instead of wrapping around.
std::int64_t checkedSubtract(std::int64_t a, std::int64_t b);

} // namespace quillon
