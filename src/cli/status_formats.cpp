#include "cli/status_formats.h"

#include "model/format_tokens.h"
#include "model/pace.h"
#include "model/relative_time.h"
#include "providers/formatters.h"
#include "providers/window_labels.h"

#include <algorithm>

namespace quillon {
namespace {

using Json = nlohmann::ordered_json;

constexpr auto notRunning = "Quillon is not running";

struct Named {
    const char* label;
    const std::optional<UsageData>& usage;
    const ExtraWindows& extra;
};

// The five-hour window counts down to its reset, so its label is written anew for `now`; the
// weekly labels name a weekday and time and stay as they came.
std::string resetText(const UsageWindow& window, WindowKind kind, Instant now) {
    if (kind == WindowKind::fiveHour && window.resetsAt) {
        return countdownLabel(window.resetsAt, now);
    }
    return window.resetLabel;
}

Json instantJson(const std::optional<Instant>& instant) {
    return instant ? Json(Formatters::formatIso8601(*instant)) : Json(nullptr);
}

Json paceJson(const UsageWindow& window, WindowKind kind, Instant now) {
    const auto value = pace(window, kind, now);
    if (!value) {
        return nullptr;
    }
    Json json;
    json["elapsed"] = value->elapsedShare;
    json["projectedPercent"] =
        value->projectedPercent ? Json(*value->projectedPercent) : Json(nullptr);
    json["limitReached"] = value->limitReached;
    json["limitAt"] = instantJson(value->limitAt);
    json["limitBeforeResetSeconds"] =
        value->limitBeforeReset ? Json(value->limitBeforeReset->count()) : Json(nullptr);
    json["phrase"] = pacePhrase(value, kind);
    return json;
}

Json windowJson(const UsageWindow& window, WindowKind kind, Instant now) {
    Json json;
    json["percent"] = window.percent;
    json["resetsAt"] = instantJson(window.resetsAt);
    json["resetLabel"] = resetText(window, kind, now);
    json["pace"] = paceJson(window, kind, now);
    return json;
}

// A window the program does not know by name: its length is unknown, so it has no pace.
Json extraWindowsJson(const ExtraWindows& extra) {
    Json json = Json::object();
    for (const auto& [key, window] : extra) {
        json[key] = Json{{"percent", window.percent},
                         {"resetsAt", instantJson(window.resetsAt)},
                         {"resetLabel", window.resetLabel}};
    }
    return json;
}

Json providerJson(const std::optional<UsageData>& usage, const ExtraWindows& extra, Instant now) {
    Json json;
    json["connected"] = usage.has_value();
    json["plan"] = usage && usage->plan ? Json(*usage->plan) : Json(nullptr);
    json["fiveHour"] = usage ? windowJson(usage->fiveHour, WindowKind::fiveHour, now) : nullptr;
    json["weekly"] = usage ? windowJson(usage->weekly, WindowKind::weekly, now) : nullptr;
    json["sonnet"] =
        usage && usage->sonnet ? windowJson(*usage->sonnet, WindowKind::weekly, now) : nullptr;
    json["context"] = nullptr;
    if (usage && usage->contextUsage) {
        const auto& context = *usage->contextUsage;
        json["context"] = Json{{"projectName", context.projectName},
                               {"tokensUsed", context.tokensUsed},
                               {"effectiveWindow", context.effectiveWindow},
                               {"tokensRemaining", context.tokensRemaining},
                               {"percentUsed", context.percentUsed}};
    }
    json["today"] = nullptr;
    if (usage && usage->today) {
        json["today"] =
            Json{{"messages", usage->today->messages}, {"tokens", usage->today->tokens}};
    }
    if (usage && !extra.empty()) {
        json["extra"] = extraWindowsJson(extra);
    }
    return json;
}

// A window's line; one that the program does not know by name (no kind) has no pace, and its
// reset label stays as it came.
std::string windowLine(const std::string& name, const UsageWindow& window,
                       std::optional<WindowKind> kind, Instant now) {
    std::string line = "  " + name + std::to_string(window.percent) + "%";
    const std::string reset = kind ? resetText(window, *kind, now) : window.resetLabel;
    if (!reset.empty()) {
        line += "  " + reset;
    }
    if (const std::string phrase = kind ? pacePhrase(window, *kind, now) : std::string();
        !phrase.empty()) {
        line += "  (" + phrase + ")";
    }
    return line + "\n";
}

// The name column is as wide as the longest named window's; a longer name takes what it needs.
std::string nameColumn(const std::string& name) {
    constexpr std::size_t width = 9;
    return name + std::string(name.size() < width ? width - name.size() : 1, ' ');
}

std::string providerText(const Named& provider, Instant now) {
    std::string text = provider.label;
    if (!provider.usage) {
        return text + ": Not connected\n";
    }
    const UsageData& usage = *provider.usage;
    if (usage.plan) {
        text += " (" + *usage.plan + ")";
    }
    text += "\n";
    text += windowLine(nameColumn("5-hour"), usage.fiveHour, WindowKind::fiveHour, now);
    text += windowLine(nameColumn("weekly"), usage.weekly, WindowKind::weekly, now);
    if (usage.sonnet) {
        text += windowLine(nameColumn("Sonnet"), *usage.sonnet, WindowKind::weekly, now);
    }
    for (const auto& [key, window] : provider.extra) {
        text += windowLine(nameColumn(readableWindowKey(key)), window, std::nullopt, now);
    }
    if (usage.today) {
        text += "  today    " + std::to_string(usage.today->messages) + " messages, " +
                usage.today->tokens + " tokens\n";
    }
    if (usage.contextUsage) {
        const auto& context = *usage.contextUsage;
        text += "  context  " + std::to_string(context.percentUsed) + "% of " +
                formatTokens(context.effectiveWindow) + " tokens in " + context.projectName + "\n";
    }
    return text;
}

// Pango markup is what waybar reads in a tooltip: the figures' own text must not be taken for it.
std::string escapeMarkup(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

std::int64_t higherFiveHour(const StatusFigures& figures) {
    std::optional<std::int64_t> higher;
    for (const auto* usage : {&figures.claude, &figures.codex}) {
        if (*usage) {
            higher =
                std::max(higher.value_or((*usage)->fiveHour.percent), (*usage)->fiveHour.percent);
        }
    }
    return higher.value_or(0);
}

} // namespace

std::optional<StatusFormat> parseStatusFormat(std::string_view name) {
    if (name == "text") {
        return StatusFormat::text;
    }
    if (name == "json") {
        return StatusFormat::json;
    }
    if (name == "waybar") {
        return StatusFormat::waybar;
    }
    if (name == "i3bar") {
        return StatusFormat::i3bar;
    }
    return std::nullopt;
}

std::string alertClass(const StatusFigures& figures) {
    if (!figures.running) {
        return "stopped";
    }
    const std::int64_t percent = higherFiveHour(figures);
    const auto& thresholds = figures.alertThresholds;
    if (!figures.claude && !figures.codex) {
        return "normal";
    }
    if (thresholds.empty() || percent < *thresholds.begin()) {
        return "normal";
    }
    if (percent >= *thresholds.rbegin()) {
        return "critical";
    }
    return "warning";
}

std::int64_t barPercentage(const StatusFigures& figures) {
    return std::clamp<std::int64_t>(higherFiveHour(figures), 0, 100);
}

std::string statusText(const StatusFigures& figures, Instant now) {
    if (!figures.running) {
        return std::string(notRunning) + "\n";
    }
    std::string text = providerText({"Claude Code", figures.claude, figures.claudeExtra}, now) +
                       providerText({"Codex", figures.codex, figures.codexExtra}, now);
    text += "Updated ";
    text += figures.lastUpdated ? relativeString(*figures.lastUpdated, now, identityTranslator())
                                : std::string("Never");
    return text + "\n";
}

Json statusDocument(const StatusFigures& figures, Instant now) {
    Json json;
    json["running"] = figures.running;
    json["title"] = figures.title;
    json["class"] = alertClass(figures);
    json["lastUpdated"] = instantJson(figures.lastUpdated);
    json["alertThresholds"] = figures.alertThresholds;
    json["claude"] = providerJson(figures.claude, figures.claudeExtra, now);
    json["codex"] = providerJson(figures.codex, figures.codexExtra, now);
    return json;
}

Json waybarModule(const StatusFigures& figures, Instant now) {
    std::string tooltip = statusText(figures, now);
    if (!tooltip.empty() && tooltip.back() == '\n') {
        tooltip.pop_back();
    }
    return Json{{"text", figures.title},
                {"tooltip", escapeMarkup(tooltip)},
                {"class", alertClass(figures)},
                {"percentage", barPercentage(figures)}};
}

Json i3barBlock(const StatusFigures& figures) {
    Json block{{"name", "quillon"}, {"full_text", figures.title}, {"short_text", figures.title}};
    const std::string level = alertClass(figures);
    if (level == "warning") {
        block["color"] = "#E5C07B";
    } else if (level == "critical") {
        block["color"] = "#E06C75";
        block["urgent"] = true;
    }
    return block;
}

std::string jsonLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string i3barHeader() {
    return Json{{"version", 1}}.dump();
}

} // namespace quillon
