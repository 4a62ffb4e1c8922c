#include "model/pace.h"

#include <cmath>
#include <cstdio>

namespace quillon {
namespace {

using std::chrono::seconds;

// Seconds since the epoch as a double: differences of far-apart instants cannot overflow.
double toSeconds(Instant instant) {
    return std::chrono::duration<double>(instant.time_since_epoch()).count();
}

} // namespace

seconds windowLength(WindowKind kind) {
    return kind == WindowKind::fiveHour ? seconds(5 * 3600) : seconds(7 * 24 * 3600);
}

seconds minimumElapsed(WindowKind kind) {
    return windowLength(kind) / 60;
}

std::optional<Pace> pace(const UsageWindow& window, WindowKind kind, Instant now) {
    if (!window.resetsAt) {
        return std::nullopt;
    }
    const double length = static_cast<double>(windowLength(kind).count());
    const double remaining = toSeconds(*window.resetsAt) - toSeconds(now);
    if (!(remaining > 0) || remaining > length) {
        return std::nullopt;
    }
    const double elapsed = length - remaining;
    Pace result;
    result.elapsedShare = elapsed / length;
    if (window.percent >= 100) {
        result.limitReached = true;
        return result;
    }
    if (window.percent < 0 || elapsed < static_cast<double>(minimumElapsed(kind).count())) {
        return result;
    }
    const double percent = static_cast<double>(window.percent);
    result.projectedPercent = std::llround(percent / result.elapsedShare);
    if (window.percent > 0 && percent / result.elapsedShare >= 100) {
        // At the same rate, 100 % comes after 100/percent times the time gone by so far; the
        // projection reaching 100 % keeps that within the window.
        const double fromStart = elapsed * 100 / percent;
        const double beforeReset = std::max(0.0, length - fromStart);
        const auto start = *window.resetsAt - windowLength(kind);
        result.limitAt = start + std::chrono::duration_cast<Instant::duration>(
                                     std::chrono::duration<double>(fromStart));
        result.limitBeforeReset = seconds(static_cast<std::int64_t>(beforeReset));
    }
    return result;
}

std::string shortDuration(seconds duration) {
    const std::int64_t total = std::max<std::int64_t>(0, duration.count());
    const std::int64_t minutes = total / 60;
    constexpr std::int64_t minutesPerDay = std::int64_t{24} * 60;
    char text[64];
    if (minutes < 60) {
        std::snprintf(text, sizeof text, "%lld min", static_cast<long long>(minutes));
    } else if (minutes < minutesPerDay) {
        std::snprintf(text, sizeof text, "%lld h %02lld min", static_cast<long long>(minutes / 60),
                      static_cast<long long>(minutes % 60));
    } else {
        std::snprintf(text, sizeof text, "%lld d %lld h",
                      static_cast<long long>(minutes / minutesPerDay),
                      static_cast<long long>(minutes / 60 % 24));
    }
    return text;
}

} // namespace quillon
