#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillon::localstats {

// Debug-log lines that report the context use carry this.
inline constexpr std::string_view compactMarker = "autocompact:";

// The last line of `text` (split on newlines) that carries the marker.
std::optional<std::string_view> lastMarkedLine(std::string_view text);

struct ContextFigures {
    std::int64_t tokensUsed = 0;
    std::int64_t effectiveWindow = 0;

    bool operator==(const ContextFigures&) const = default;
};

// The figures of a marked line: the first "tokens=" and the first "effectiveWindow=" followed by
// decimal digits, anywhere in the line (so "maxtokens=5" counts as tokens=5). Digits are those of
// any script, as a regular-expression \d has them; a run that is not plain ASCII, or that does not
// fit a signed 64-bit integer, gives nothing, as does a missing figure.
std::optional<ContextFigures> contextFigures(std::string_view line);

} // namespace quillon::localstats
