#pragma once

#include "localstats/day_sums.h"
#include "localstats/debug_log.h"
#include "localstats/history_line.h"
#include "localstats/line_file.h"
#include "localstats/session_line.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quillon::localstats {

// What one session log adds up to per day: its complete lines, then the line being written.
struct SessionFile final : LineSink {
    explicit SessionFile(SessionLineReader& reader) : reader(reader) {}

    void restart() override {
        complete = {};
        tail = {};
    }
    void addLines(std::string_view text) override { reader.addLines(text, complete); }
    void setTail(std::string_view line) override {
        tail = {};
        if (!line.empty()) {
            addTo(tail, reader.readPadded(line));
        }
    }

    PartialSums forDay(const DayKey& day) const {
        PartialSums sums = complete.forDay(day);
        sums.append(tail.forDay(day));
        return sums;
    }

    SessionLineReader& reader;
    LineFileState state;
    DaySums complete;
    DaySums tail;
    std::uint64_t pass = 0;
};

// How many prompts the history holds per day.
struct HistoryFile final : LineSink {
    explicit HistoryFile(HistoryLineReader& reader) : reader(reader) {}

    void restart() override {
        complete = {};
        tail = {};
    }
    void addLines(std::string_view text) override { reader.addLines(text, complete); }
    void setTail(std::string_view line) override {
        tail = {};
        if (!line.empty()) {
            reader.addLines(line, tail);
        }
    }

    HistoryLineReader& reader;
    LineFileState state;
    DayCounts complete;
    DayCounts tail;
};

// What one session log adds for a date given as any prefix of a textual timestamp. Kept for one
// read only: remembered sums are kept per whole day.
struct SessionPrefixSums final : LineSink {
    SessionPrefixSums(SessionLineReader& reader, std::string_view prefix)
        : reader(reader), prefix(prefix) {}

    void restart() override {
        complete = {};
        tail = {};
    }
    void addLines(std::string_view text) override { reader.addLines(text, prefix, complete); }
    void setTail(std::string_view line) override {
        tail = {};
        if (!line.empty()) {
            reader.addLines(line, prefix, tail);
        }
    }
    PartialSums sums() const {
        PartialSums all = complete;
        all.append(tail);
        return all;
    }

    SessionLineReader& reader;
    std::string_view prefix;
    PartialSums complete;
    PartialSums tail;
};

// How many prompts of the history match a date given as any prefix of their timestamp.
struct HistoryPrefixCount final : LineSink {
    HistoryPrefixCount(HistoryLineReader& reader, std::string_view prefix)
        : reader(reader), prefix(prefix) {}

    void restart() override {
        complete = 0;
        tail = 0;
    }
    void addLines(std::string_view text) override { complete += reader.countLines(text, prefix); }
    void setTail(std::string_view line) override { tail = reader.countLines(line, prefix); }

    HistoryLineReader& reader;
    std::string_view prefix;
    std::int64_t complete = 0;
    std::int64_t tail = 0;
};

// The last line of a debug log that reports the context use.
struct DebugFile final : LineSink {
    void restart() override {
        complete.reset();
        tail.reset();
    }
    void addLines(std::string_view text) override {
        if (const auto line = lastMarkedLine(text)) {
            complete = std::string(*line);
        }
    }
    void setTail(std::string_view line) override {
        tail.reset();
        if (const auto marked = lastMarkedLine(line)) {
            tail = std::string(*marked);
        }
    }
    const std::optional<std::string>& newest() const { return tail ? tail : complete; }

    std::filesystem::path path;
    LineFileState state;
    std::optional<std::string> complete;
    std::optional<std::string> tail;
};

} // namespace quillon::localstats
