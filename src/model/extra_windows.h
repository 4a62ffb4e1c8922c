#pragma once

#include "model/usage_data.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillon {

// A rate-limit window that a service's reply carries beyond the windows the program knows by
// name (a weekly window for another model, say), under the reply's own key. The command line,
// the bus interface and the MCP replies pass such windows on; the cards, the title, the alerts
// and the snapshot know only the named windows.
struct ExtraWindow {
    std::string key;
    UsageWindow window;

    bool operator==(const ExtraWindow&) const = default;
};

using ExtraWindows = std::vector<ExtraWindow>;

// A reply with more windows than this is not a reply the windows can be listed from in full;
// the first ones, in key order, are kept.
inline constexpr std::size_t maxExtraWindows = 16;
inline constexpr std::size_t maxWindowKeyLength = 64;

// Whether a key is one the program passes on: 1 to maxWindowKeyLength letters, digits, '_', '-'
// and '.'. Nothing else can reach a terminal, a status bar's markup or a bus name this way.
bool isWindowKey(std::string_view key);

// Adds the window unless its key is not one to pass on, is already there, or the list is full.
// Tells whether it was added.
bool addExtraWindow(ExtraWindows& windows, std::string_view key, const UsageWindow& window);

// The key as a person reads it: "seven_day_opus" gives "Seven day opus",
// "rate_limit.tertiary_window" gives "Rate limit tertiary window".
std::string readableWindowKey(std::string_view key);

// One provider's fetch: the figures of the named windows, and the windows its reply carried
// beyond them. A fetch that knows only the named windows converts to one without extras.
struct FetchedUsage {
    FetchedUsage(UsageData usage, ExtraWindows extraWindows = {})
        : usage(std::move(usage)), extraWindows(std::move(extraWindows)) {}

    UsageData usage;
    ExtraWindows extraWindows;

    bool operator==(const FetchedUsage&) const = default;
};

} // namespace quillon
