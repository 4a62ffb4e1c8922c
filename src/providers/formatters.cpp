#include "providers/formatters.h"

#include "model/local_date_format.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace quillon::Formatters {
namespace {

using std::chrono::nanoseconds;

// Reads exactly `count` ASCII digits at `position`; no value when any of them is not a digit.
std::optional<int> digits(std::string_view text, std::size_t position, std::size_t count) {
    if (position + count > text.size()) {
        return std::nullopt;
    }
    int value = 0;
    for (std::size_t i = position; i < position + count; ++i) {
        const char c = text[i];
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        value = value * 10 + (c - '0');
    }
    return value;
}

bool charAt(std::string_view text, std::size_t position, char expected) {
    return position < text.size() && text[position] == expected;
}

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month) {
    static constexpr std::array<int, 12> lengths{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : lengths[static_cast<std::size_t>(month - 1)];
}

// Seconds from 1970-01-01T00:00:00Z to the given UTC calendar moment. Years 0000-9999 keep
// this far inside 64 bits.
std::int64_t secondsSinceEpoch(int year, int month, int day, int hour, int minute, int second) {
    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    const std::int64_t days = std::chrono::sys_days{date}.time_since_epoch().count();
    return days * 86400 + std::int64_t{hour} * 3600 + std::int64_t{minute} * 60 + second;
}

} // namespace

std::optional<Instant> parseIso8601(std::string_view text) {
    // YYYY-MM-DDThh:mm:ss is 19 characters; a fraction and a zone follow.
    const auto year = digits(text, 0, 4);
    const auto month = digits(text, 5, 2);
    const auto day = digits(text, 8, 2);
    const auto hour = digits(text, 11, 2);
    const auto minute = digits(text, 14, 2);
    const auto second = digits(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second || !charAt(text, 4, '-') ||
        !charAt(text, 7, '-') || !charAt(text, 10, 'T') || !charAt(text, 13, ':') ||
        !charAt(text, 16, ':')) {
        return std::nullopt;
    }
    if (*month < 1 || *month > 12 || *day < 1 || *day > daysInMonth(*year, *month) || *hour > 23 ||
        *minute > 59 || *second > 59) {
        return std::nullopt;
    }

    std::size_t position = 19;
    if (!charAt(text, position, '.')) {
        return std::nullopt;
    }
    ++position;
    std::int64_t fraction = 0;
    std::size_t fractionDigits = 0;
    while (position < text.size() && text[position] >= '0' && text[position] <= '9') {
        if (++fractionDigits > 9) {
            return std::nullopt;
        }
        fraction = fraction * 10 + (text[position] - '0');
        ++position;
    }
    if (fractionDigits == 0) {
        return std::nullopt;
    }
    for (std::size_t i = fractionDigits; i < 9; ++i) {
        fraction *= 10;
    }

    std::int64_t offsetSeconds = 0;
    if (charAt(text, position, 'Z')) {
        ++position;
    } else if (charAt(text, position, '+') || charAt(text, position, '-')) {
        const bool behind = text[position] == '-';
        const auto offsetHours = digits(text, position + 1, 2);
        const auto offsetMinutes = digits(text, position + 4, 2);
        if (!offsetHours || !offsetMinutes || !charAt(text, position + 3, ':') ||
            *offsetHours > 23 || *offsetMinutes > 59) {
            return std::nullopt;
        }
        offsetSeconds = (std::int64_t{*offsetHours} * 3600 + std::int64_t{*offsetMinutes} * 60) *
                        (behind ? -1 : 1);
        position += 6;
    } else {
        return std::nullopt;
    }
    if (position != text.size()) {
        return std::nullopt;
    }

    // Local time minus its offset is UTC.
    const std::int64_t seconds =
        secondsSinceEpoch(*year, *month, *day, *hour, *minute, *second) - offsetSeconds;
    using Rep = Instant::duration::rep;
    using Period = Instant::duration::period;
    static_assert(Period::num == 1 && Period::den <= 1'000'000'000);
    constexpr std::int64_t ticksPerSecond = Period::den;
    constexpr std::int64_t nanosecondsPerTick = 1'000'000'000 / ticksPerSecond;
    if (seconds > std::numeric_limits<Rep>::max() / ticksPerSecond - 1 ||
        seconds < std::numeric_limits<Rep>::min() / ticksPerSecond + 1) {
        return std::nullopt;
    }
    return Instant{Instant::duration{seconds * ticksPerSecond + fraction / nanosecondsPerTick}};
}

std::string formatIso8601(Instant instant) {
    using namespace std::chrono;
    const auto milliseconds = floor<std::chrono::milliseconds>(instant);
    const auto days = floor<std::chrono::days>(milliseconds);
    const year_month_day date{days};
    const hh_mm_ss time{milliseconds - days};
    std::array<char, 40> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()),
                  static_cast<int>(time.subseconds().count()));
    return buffer.data();
}

std::string displayDate(Instant instant) {
    static const LocalDateFormat shared(u"EEE h:mm a");
    return shared.format(instant);
}

} // namespace quillon::Formatters
