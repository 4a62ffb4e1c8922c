#pragma once

#include <cstdint>
#include <string>

namespace quillon {

// An hour of the day (0 to 23) as the user's locale writes it with the pattern "h a":
// 0 -> "12 AM", 9 -> "9 AM", 12 -> "12 PM", 23 -> "11 PM" in English. The hour is placed on
// today's date in the local zone; where a clock change skips it, the next valid time is used.
// An hour outside 0 to 23 is a programming error and stops the program.
std::string formatHour(std::int64_t hour);

} // namespace quillon
