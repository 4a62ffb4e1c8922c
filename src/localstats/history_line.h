#pragma once

#include "localstats/day_sums.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace quillon::localstats {

// How many prompt-history lines name each day.
class DayCounts {
public:
    void add(const DayKey& day);
    void append(const DayCounts& later);
    std::int64_t forDay(const DayKey& day) const;

private:
    std::vector<std::pair<DayKey, std::int64_t>> counts_;
};

// Reads the day of prompt-history lines: a textual "timestamp" names the day it starts with, a
// numeric one is seconds since 1970 in UTC.
class HistoryLineReader {
public:
    HistoryLineReader();
    ~HistoryLineReader();
    HistoryLineReader(const HistoryLineReader&) = delete;
    HistoryLineReader& operator=(const HistoryLineReader&) = delete;

    // The day of one line (without its newline), or nothing when it names none.
    std::optional<DayKey> read(std::string_view line);
    // Same, for a line whose jsonPadding following bytes are readable.
    std::optional<DayKey> readPadded(std::string_view line);
    // Counts every line of `text` (complete lines; jsonPadding bytes readable after the end).
    void addLines(std::string_view text, DayCounts& counts);
    // The lines of `text` (as for addLines) whose timestamp, as text, starts with `prefix`: a
    // numeric one in the ISO 8601 form of its instant.
    std::int64_t countLines(std::string_view text, std::string_view prefix);

private:
    struct Parsers;
    std::unique_ptr<Parsers> parsers_;
};

} // namespace quillon::localstats
