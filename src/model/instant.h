#pragma once

#include <chrono>
#include <functional>

namespace quillon {

// A moment in time. The core never reads the clock itself: whoever needs "now" is handed a Clock.
using Instant = std::chrono::system_clock::time_point;
using Clock = std::function<Instant()>;

inline Clock systemClock() {
    return [] { return std::chrono::system_clock::now(); };
}

} // namespace quillon
