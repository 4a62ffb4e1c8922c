#include "localstats/json_line.h"

#include "providers/formatters.h"

#include <simdjson.h>

#include <chrono>
#include <cmath>

namespace quillon::localstats {

static_assert(jsonPadding >= simdjson::SIMDJSON_PADDING);

std::string_view withoutByteOrderMark(std::string_view line) {
    if (line.starts_with("\xEF\xBB\xBF")) {
        line.remove_prefix(3);
    }
    return line;
}

std::optional<std::int64_t> wholeNumber(double value) {
    // 2^63 is exactly representable; a whole double fits when it lies in [-2^63, 2^63).
    constexpr double limit = 9223372036854775808.0;
    if (!std::isfinite(value) || value != std::trunc(value) || value >= limit || value < -limit) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(value);
}

std::optional<std::string> isoTextOfSeconds(double seconds) {
    using namespace std::chrono;
    // Instants count nanoseconds in 64 bits: about 292 years either side of 1970.
    constexpr double reach = 9.2e9;
    if (!(seconds > -reach && seconds < reach)) {
        return std::nullopt;
    }
    const auto since = floor<nanoseconds>(duration<double>(seconds));
    return Formatters::formatIso8601(Instant{duration_cast<Instant::duration>(since)});
}

std::optional<DayKey> dayOfSeconds(double seconds) {
    const auto text = isoTextOfSeconds(seconds);
    DayKey day{};
    if (!text || !dayKeyOf(*text, day)) {
        return std::nullopt;
    }
    return day;
}

} // namespace quillon::localstats
