#pragma once

#include "model/instant.h"
#include "model/usage_data.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace quillon {

// How far each kind of window runs from its start to its reset.
enum class WindowKind { fiveHour, weekly };

std::chrono::seconds windowLength(WindowKind kind);

// Where one window stands at a moment: how much of it has gone by, and what its use comes to at
// the reset if it keeps growing at its average rate so far.
struct Pace {
    // Share of the window gone by, 0 to 1.
    double elapsedShare = 0;
    // The use already stands at 100 % or more: nothing is projected.
    bool limitReached = false;
    // Percent at the reset at the average rate so far; none in the first minutes of the window
    // (too little to go on), and none for a negative percent.
    std::optional<std::int64_t> projectedPercent;
    // When the projection reaches 100 % before the reset: the moment it would be reached, and how
    // long that is before the reset.
    std::optional<Instant> limitAt;
    std::optional<std::chrono::seconds> limitBeforeReset;

    bool operator==(const Pace&) const = default;
};

// A window no projection is made for until this much of it has gone by: a sixtieth, so five
// minutes of the five-hour window and 2 h 48 min of a week.
std::chrono::seconds minimumElapsed(WindowKind kind);

// The pace of `window` at `now`. Nothing without a reset time, once the reset has passed (the
// figures are then from a window that is over), or when the reset lies further ahead than the
// window is long (a clock set back): in none of those cases is the window's start known.
std::optional<Pace> pace(const UsageWindow& window, WindowKind kind, Instant now);

// The pace as a phrase for the tooltip, the menu and the status command:
//   "at this pace 64% by the reset"
//   "at this pace the limit is reached at 4:12 PM, 48 min before the reset"
//   "the limit is reached"
// and "" when there is nothing to say (no pace, or too early for a projection). The moment is
// written in the user's locale and zone: the clock time for the five-hour window, weekday and
// clock time for the weekly windows, as their reset labels are.
std::string pacePhrase(const std::optional<Pace>& pace, WindowKind kind);

// Both in one: the phrase for `window` at `now`.
std::string pacePhrase(const UsageWindow& window, WindowKind kind, Instant now);

// A stretch of time as the phrase writes it: "48 min", "2 h 05 min", "3 d 4 h".
std::string shortDuration(std::chrono::seconds duration);

} // namespace quillon
