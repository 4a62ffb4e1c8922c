#include "cli/statusline_format.h"

#include "model/pace.h"
#include "model/relative_time.h"
#include "model/usage_level.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <utility>

namespace quillon {
namespace {

using Json = nlohmann::json;

constexpr auto separator = " \xC2\xB7 ";       // " · "
constexpr auto resetMark = " \xE2\x86\xBB";    // " ↻"
constexpr auto warningMark = " \xE2\x9A\xA0 "; // " ⚠ "
constexpr auto notRunning = "Quillon not running";
constexpr auto reset = "\x1b[0m";
constexpr auto dim = "\x1b[2m";

// Terminals draw the status line on their own background, mostly a dark one: the panel's dark
// variant reads there.
std::string coloured(const std::string& text, UsageLevel level) {
    const Rgb rgb = levelRgb(level, true);
    char escape[24];
    std::snprintf(escape, sizeof escape, "\x1b[38;2;%d;%d;%dm", rgb.red, rgb.green, rgb.blue);
    return escape + text + reset;
}

std::string percentText(std::int64_t percent) {
    return coloured(std::to_string(percent) + "%", usageLevel(percent));
}

std::string windowText(const std::string& label, const UsageWindow& window, WindowKind kind,
                       bool countdown, Instant now) {
    std::string text = label + " " + percentText(window.percent);
    if (countdown && window.resetsAt && *window.resetsAt > now) {
        text += dim;
        text += resetMark + compactDuration(std::chrono::duration_cast<std::chrono::seconds>(
                                *window.resetsAt - now));
        text += reset;
    }
    const auto value = pace(window, kind, now);
    if (value && value->limitAt && *value->limitAt > now) {
        const auto untilLimit =
            std::chrono::duration_cast<std::chrono::seconds>(*value->limitAt - now);
        text += warningMark + coloured("100% in " + compactDuration(untilLimit), UsageLevel::red);
    }
    return text;
}

std::string providerText(const char* letter, const std::optional<UsageData>& usage, Instant now) {
    if (!usage) {
        return std::string(letter) + " " + dim + "not connected" + reset;
    }
    std::string text = windowText(letter, usage->fiveHour, WindowKind::fiveHour, true, now);
    text += separator + windowText("wk", usage->weekly, WindowKind::weekly, false, now);
    return text;
}

// The windows the services added, after every other figure, each as "C seven_day_opus 12%". The
// line is redrawn in a terminal's narrow status bar, so it stays short: at most three of them,
// their keys cut to a width, and "+2" for those left out.
std::string extraText(const StatusFigures& figures) {
    constexpr std::size_t shown = 3;
    constexpr std::size_t keyWidth = 20;
    std::string text;
    std::size_t count = 0;
    for (const auto& [letter, extra] :
         {std::pair{"C", &figures.claudeExtra}, std::pair{"X", &figures.codexExtra}}) {
        for (const auto& [key, window] : *extra) {
            if (++count > shown) {
                continue;
            }
            const std::string name =
                key.size() > keyWidth ? key.substr(0, keyWidth - 1) + "\xE2\x80\xA6" : key; // "…"
            text +=
                separator + std::string(letter) + " " + name + " " + percentText(window.percent);
        }
    }
    if (count > shown) {
        text += separator + std::string(dim) + "+" + std::to_string(count - shown) + reset;
    }
    return text;
}

std::string contextText(std::optional<std::int64_t> contextPercent) {
    if (!contextPercent) {
        return {};
    }
    return separator + std::string("ctx ") + percentText(*contextPercent);
}

std::optional<double> number(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number()) {
        return std::nullopt;
    }
    return found->get<double>();
}

std::optional<std::int64_t> wholePercent(double percent) {
    // Past these bounds the figure is not a share of anything; it is left out.
    if (!std::isfinite(percent) || percent < 0 || percent > 1e6) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(std::lround(percent));
}

} // namespace

std::optional<std::int64_t> sessionContextPercent(std::string_view statusInput) {
    const Json input = Json::parse(statusInput, nullptr, false);
    if (!input.is_object()) {
        return std::nullopt;
    }
    const auto window = input.find("context_window");
    if (window == input.end() || !window->is_object()) {
        return std::nullopt;
    }
    if (const auto used = number(*window, "used_percentage")) {
        return wholePercent(*used);
    }
    const auto size = number(*window, "context_window_size");
    const auto current = window->find("current_usage");
    if (!size || *size <= 0 || current == window->end() || !current->is_object()) {
        return std::nullopt;
    }
    double tokens = 0;
    for (const char* key :
         {"input_tokens", "cache_creation_input_tokens", "cache_read_input_tokens"}) {
        tokens += number(*current, key).value_or(0);
    }
    return wholePercent(tokens * 100 / *size);
}

std::string statusLine(const StatusFigures& figures, std::optional<std::int64_t> contextPercent,
                       Instant now) {
    if (!figures.running) {
        return notRunning;
    }
    std::string line = providerText("C", figures.claude, now);
    line += separator;
    if (figures.codex) {
        line += windowText("X", figures.codex->fiveHour, WindowKind::fiveHour, true, now);
    } else {
        line += providerText("X", figures.codex, now);
    }
    return line + contextText(contextPercent) + extraText(figures);
}

std::string snapshotStatusLine(const std::optional<SharedUsageData>& snapshot,
                               std::optional<std::int64_t> contextPercent, Instant now) {
    if (!snapshot) {
        return std::string(notRunning) + contextText(contextPercent);
    }
    const auto figure = [](const char* letter, const std::optional<std::int64_t>& percent) {
        return std::string(letter) + " " +
               (percent ? percentText(*percent) : dim + std::string("not connected") + reset);
    };
    return figure("C", snapshot->claudePercent) + separator + figure("X", snapshot->codexPercent) +
           contextText(contextPercent) + separator + dim + "saved " +
           relativeString(snapshot->lastUpdated, now, identityTranslator()) + ", " + notRunning +
           reset;
}

std::string compactDuration(std::chrono::seconds duration) {
    using namespace std::chrono;
    const auto totalMinutes = std::max<std::int64_t>(duration_cast<minutes>(duration).count(), 0);
    constexpr std::int64_t minutesPerDay = std::int64_t{24} * 60;
    const auto days = totalMinutes / minutesPerDay;
    const auto hours = totalMinutes / 60 % 24;
    const auto mins = totalMinutes % 60;
    char text[48];
    if (days > 0) {
        std::snprintf(text, sizeof text, "%lldd%02lldh", static_cast<long long>(days),
                      static_cast<long long>(hours));
    } else if (hours > 0) {
        std::snprintf(text, sizeof text, "%lldh%02lldm", static_cast<long long>(hours),
                      static_cast<long long>(mins));
    } else {
        std::snprintf(text, sizeof text, "%lldm", static_cast<long long>(mins));
    }
    return text;
}

} // namespace quillon
