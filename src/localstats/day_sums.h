#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace quillon::localstats {

__extension__ typedef __int128 WideInt;

// A sequence of additions seen through its total and its lowest and highest running totals.
// Two of them chain exactly, so a cached stretch of a file can stand in for its lines even when
// the grand total has to stop at the very addition that would overflow.
struct PartialSums {
    WideInt sum = 0;
    WideInt lowest = 0;
    WideInt highest = 0;

    void add(std::int64_t value) {
        sum += value;
        lowest = sum < lowest ? sum : lowest;
        highest = sum > highest ? sum : highest;
    }

    // `later` happened after everything here.
    void append(const PartialSums& later) {
        lowest = sum + later.lowest < lowest ? sum + later.lowest : lowest;
        highest = sum + later.highest > highest ? sum + later.highest : highest;
        sum += later.sum;
    }

    bool operator==(const PartialSums&) const = default;
};

// The first ten characters of a timestamp: the calendar date "YYYY-MM-DD" it names.
using DayKey = std::array<char, 10>;

// The key for a text whose first ten characters are known, or nothing for a shorter text, which
// can never start with a date.
inline bool dayKeyOf(std::string_view text, DayKey& key) {
    if (text.size() < key.size()) {
        return false;
    }
    std::copy_n(text.begin(), key.size(), key.begin());
    return true;
}

// The usage additions of a stretch of session log, kept apart by the day their lines name. Lines
// without a textual timestamp count on every day, so each day's sums are that day's lines and the
// undated lines together, in file order.
class DaySums {
public:
    void addDated(const DayKey& day, std::int64_t value) { dayEntry(day).add(value); }

    void addUndated(std::int64_t value) {
        undated_.add(value);
        for (auto& [day, sums] : days_) {
            sums.add(value);
        }
    }

    PartialSums forDay(const DayKey& day) const {
        for (const auto& [key, sums] : days_) {
            if (key == day) {
                return sums;
            }
        }
        return undated_;
    }

    // `later` is the stretch of the same file that follows this one.
    void append(const DaySums& later) {
        for (const auto& [day, sums] : later.days_) {
            if (!has(day)) {
                days_.emplace_back(day, undated_);
            }
        }
        for (auto& [day, sums] : days_) {
            sums.append(later.forDay(day));
        }
        undated_.append(later.undated_);
    }

    bool operator==(const DaySums&) const = default;

private:
    bool has(const DayKey& day) const {
        for (const auto& entry : days_) {
            if (entry.first == day) {
                return true;
            }
        }
        return false;
    }

    PartialSums& dayEntry(const DayKey& day) {
        for (auto& [key, sums] : days_) {
            if (key == day) {
                return sums;
            }
        }
        return days_.emplace_back(day, undated_).second;
    }

    std::vector<std::pair<DayKey, PartialSums>> days_;
    PartialSums undated_;
};

} // namespace quillon::localstats
