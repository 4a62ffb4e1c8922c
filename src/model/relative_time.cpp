#include "model/relative_time.h"

#include "model/fatal.h"

#include <chrono>
#include <cmath>
#include <cstdint>

namespace quillon {
namespace {

std::string substituteCount(std::string format, std::int64_t count) {
    const auto at = format.find("%d");
    if (at != std::string::npos) {
        format.replace(at, 2, std::to_string(count));
    }
    return format;
}

} // namespace

Translator identityTranslator() {
    return [](const std::string& key) { return key; };
}

std::string relativeString(Instant then, Instant now, const Translator& translate) {
    const double elapsed = std::chrono::duration<double>(now - then).count();
    constexpr double limit = 9223372036854775808.0;
    if (!std::isfinite(elapsed) || elapsed >= limit || elapsed <= -limit) {
        fatal("elapsed time cannot be represented as a 64-bit integer");
    }
    const auto seconds = static_cast<std::int64_t>(elapsed); // truncates toward zero
    if (seconds <= 4) {
        return translate("0 sec ago");
    }
    if (seconds <= 59) {
        return substituteCount(translate("%d sec ago"), seconds);
    }
    if (seconds <= 3599) {
        return substituteCount(translate("%d min ago"), seconds / 60);
    }
    return substituteCount(translate("%dh ago"), seconds / 3600);
}

} // namespace quillon
