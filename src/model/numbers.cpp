#include "model/numbers.h"

#include "model/fatal.h"

#include <cmath>

namespace quillon {

std::optional<std::int64_t> tryRoundToInt64(double value) {
    const double rounded = std::round(value);
    // 2^63 is exactly representable as a double; anything at or above it does not fit.
    constexpr double limit = 9223372036854775808.0;
    if (!std::isfinite(rounded) || rounded >= limit || rounded < -limit) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(rounded);
}

std::int64_t roundToInt64(double value) {
    const auto rounded = tryRoundToInt64(value);
    if (!rounded) {
        fatal("percentage cannot be represented as a 64-bit integer");
    }
    return *rounded;
}

std::int64_t checkedAdd(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        fatal("integer overflow in addition");
    }
    return sum;
}

std::int64_t checkedSubtract(std::int64_t a, std::int64_t b) {
    std::int64_t difference = 0;
    if (__builtin_sub_overflow(a, b, &difference)) {
        fatal("integer overflow in subtraction");
    }
    return difference;
}

} // namespace quillon
