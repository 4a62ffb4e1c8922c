#pragma once

#include "model/instant.h"

#include <optional>
#include <string>
#include <string_view>

namespace quillon::Formatters {

// Reads an internet date-time with fractional seconds: "2026-03-10T04:59:59.000000+00:00",
// "2025-06-01T10:00:00.123Z". The fraction (1 to 9 digits) is required, the zone is "Z" or
// "+hh:mm"/"-hh:mm", and every field must be in range. Anything else, including a stamp without
// a fraction, reads as no instant. Also no instant when the moment lies outside what an Instant
// can hold.
std::optional<Instant> parseIso8601(std::string_view text);

// The instant in UTC with milliseconds, e.g. "2026-03-10T04:59:59.000Z" (the fraction is cut,
// not rounded, so the text never names a later moment than the instant).
std::string formatIso8601(Instant instant);

// Abbreviated weekday and clock time, "Mon 3:05 PM" in English, in the default locale and time
// zone as they are when the first date is formatted.
std::string displayDate(Instant instant);

} // namespace quillon::Formatters
