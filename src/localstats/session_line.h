#pragma once

#include "localstats/day_sums.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace quillon::localstats {

// What one session-log line adds to the token sum.
struct SessionLineUsage {
    enum class When {
        never,  // not a JSON object, no top-level "usage" object, or a timestamp too short to match
        onDay,  // on the day its textual "timestamp" starts with
        anyDay, // no textual "timestamp": counted as today's, whichever day today is
    };
    When when = When::never;
    DayKey day{};
    // input, output, cache read and cache creation tokens, in the order they are added; a field
    // that is missing or not a whole number is 0.
    std::array<std::int64_t, 4> fields{};

    bool operator==(const SessionLineUsage&) const = default;
};

void addTo(DaySums& sums, const SessionLineUsage& line);

// Reads usage from session-log lines. Most lines of a real log cannot add anything and are
// passed over on a byte search; the rest are parsed (and so checked) in full.
class SessionLineReader {
public:
    SessionLineReader();
    ~SessionLineReader();
    SessionLineReader(const SessionLineReader&) = delete;
    SessionLineReader& operator=(const SessionLineReader&) = delete;

    // One line, without its newline.
    SessionLineUsage read(std::string_view line);
    // Same, for a line whose jsonPadding following bytes are readable.
    SessionLineUsage readPadded(std::string_view line);

    // Adds every line of `text` (complete lines, each ending in a newline; jsonPadding bytes
    // readable after the end) to `sums`.
    void addLines(std::string_view text, DaySums& sums);

    // For a date given as any prefix of a textual timestamp: the fields of a line (jsonPadding
    // following bytes readable) with a top-level "usage" object and either no textual timestamp
    // or one that starts with `prefix`; nothing for any other line.
    std::optional<std::array<std::int64_t, 4>> readPadded(std::string_view line,
                                                          std::string_view prefix);
    // Adds, addition by addition, what every line of `text` (as for addLines) gives for `prefix`.
    void addLines(std::string_view text, std::string_view prefix, PartialSums& sums);

private:
    SessionLineUsage readCandidate(std::string_view line);

    struct Parsers;
    std::unique_ptr<Parsers> parsers_;
};

} // namespace quillon::localstats
