#include "providers/window_labels.h"

#include "model/numbers.h"
#include "providers/formatters.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

namespace quillon {

std::optional<Instant> parseDate(const std::optional<std::string>& text) {
    if (!text) {
        return std::nullopt;
    }
    return Formatters::parseIso8601(*text);
}

std::optional<UsageWindow> parseWindow(const nlohmann::json* data) {
    if (data == nullptr || !data->is_object()) {
        return std::nullopt;
    }
    double utilization = 0;
    if (const auto found = data->find("utilization"); found != data->end() && found->is_number()) {
        utilization = found->get<double>();
    }
    std::optional<std::string> resetsAtText;
    if (const auto found = data->find("resets_at"); found != data->end() && found->is_string()) {
        resetsAtText = found->get<std::string>();
    }
    UsageWindow window;
    window.percent = roundToInt64(utilization);
    window.resetsAt = parseDate(resetsAtText);
    window.resetLabel = resetLabel(window.resetsAt);
    return window;
}

std::string countdownLabel(const std::optional<Instant>& date, Instant now) {
    if (!date) {
        return "";
    }
    if (*date <= now) {
        return "Resetting...";
    }
    // Two far-apart instants can differ by more than the signed tick count holds; the
    // difference is positive here, so it always fits the unsigned one.
    using Ticks = Instant::duration;
    const std::uint64_t ticks = static_cast<std::uint64_t>(date->time_since_epoch().count()) -
                                static_cast<std::uint64_t>(now.time_since_epoch().count());
    constexpr auto ticksPerSecond = static_cast<std::uint64_t>(
        std::chrono::duration_cast<Ticks>(std::chrono::seconds(1)).count());
    const std::uint64_t total = ticks / ticksPerSecond; // cut towards zero
    const std::uint64_t hours = total / 3600;
    const std::uint64_t minutes = (total % 3600) / 60;
    std::array<char, 64> text{};
    if (total < 3600) {
        std::snprintf(text.data(), text.size(), "Resets in %" PRIu64 "m", minutes);
    } else {
        std::snprintf(text.data(), text.size(), "Resets in %" PRIu64 "h %02" PRIu64 "m", hours,
                      minutes);
    }
    return text.data();
}

std::string resetLabel(const std::optional<Instant>& date) {
    if (!date) {
        return "";
    }
    return Formatters::displayDate(*date);
}

} // namespace quillon
