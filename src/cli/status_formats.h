#pragma once

#include "model/extra_windows.h"
#include "model/instant.h"
#include "model/usage_data.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace quillon {

// What `quillon status` shows: the running application's figures as its session-bus interface
// offers them, or the figures fetched by the command itself.
struct StatusFigures {
    // False when the application is not running (there is nothing else to show then).
    bool running = true;
    std::string title;
    std::optional<UsageData> claude;
    std::optional<UsageData> codex;
    // The windows each service's reply carried beyond the named ones.
    ExtraWindows claudeExtra;
    ExtraWindows codexExtra;
    std::optional<Instant> lastUpdated;
    std::set<std::int64_t> alertThresholds{50, 75, 90};

    static StatusFigures notRunning() {
        StatusFigures figures;
        figures.running = false;
        return figures;
    }
};

enum class StatusFormat { text, json, waybar, i3bar };

std::optional<StatusFormat> parseStatusFormat(std::string_view name);

// Where the higher five-hour percent stands against the alert thresholds: "normal" below the
// lowest, "critical" at or above the highest, "warning" in between; "stopped" when the
// application is not running.
std::string alertClass(const StatusFigures& figures);

// The higher five-hour percent of the connected providers within 0 to 100; 0 without figures.
std::int64_t barPercentage(const StatusFigures& figures);

// A block of lines for people: each provider's windows with their resets and pace (and, after
// them, the windows its service added, by their keys made readable), today's activity, the
// context use and the time of the last update. Ends with a newline.
std::string statusText(const StatusFigures& figures, Instant now);

// Every figure as one JSON document (see the README for its keys). A provider whose service
// added windows has them in "extra", by the reply's keys.
nlohmann::ordered_json statusDocument(const StatusFigures& figures, Instant now);

// A custom module's line for waybar: "text" (the title text), "tooltip", "class",
// "percentage".
nlohmann::ordered_json waybarModule(const StatusFigures& figures, Instant now);

// One i3bar block ("name", "full_text", "short_text", and "color" and "urgent" when the use
// calls for them); also what i3blocks reads from a JSON line.
nlohmann::ordered_json i3barBlock(const StatusFigures& figures);

// A document on one line. Text that is not UTF-8 (a project's folder name, say) is replaced, so
// the line is valid JSON whatever the figures hold.
std::string jsonLine(const nlohmann::ordered_json& json);

// The i3bar protocol's header line, sent once before the endless array of status lines.
std::string i3barHeader();

} // namespace quillon
