#include "localstats/debug_log.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <charconv>

namespace quillon::localstats {

std::optional<std::string_view> lastMarkedLine(std::string_view text) {
    const std::size_t hit = text.rfind(compactMarker);
    if (hit == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t newlineBefore = text.rfind('\n', hit);
    const std::size_t start = newlineBefore == std::string_view::npos ? 0 : newlineBefore + 1;
    const std::size_t end = std::min(text.find('\n', hit), text.size());
    return text.substr(start, end - start);
}

namespace {

// The length of the run of decimal digits (of any script) at the start of `text`.
std::size_t digitRun(std::string_view text) {
    std::int32_t at = 0;
    const auto length = static_cast<std::int32_t>(text.size());
    while (at < length) {
        const std::int32_t start = at;
        UChar32 c = 0;
        U8_NEXT(text.data(), at, length, c);
        if (c < 0 || !u_isdigit(c)) {
            return static_cast<std::size_t>(start);
        }
    }
    return static_cast<std::size_t>(at);
}

// The first "<name>=<digits>" in the line. Nothing when there is none or the digits cannot be
// read as a signed 64-bit decimal.
std::optional<std::optional<std::int64_t>> firstFigure(std::string_view line,
                                                       std::string_view name) {
    for (std::size_t at = line.find(name); at != std::string_view::npos;
         at = line.find(name, at + 1)) {
        const std::string_view after = line.substr(at + name.size());
        const std::size_t run = digitRun(after);
        if (run == 0) {
            continue;
        }
        std::int64_t value = 0;
        const auto [end, error] = std::from_chars(after.data(), after.data() + run, value);
        if (error != std::errc{} || end != after.data() + run) {
            return std::optional<std::int64_t>{};
        }
        return std::optional<std::int64_t>{value};
    }
    return std::nullopt;
}

} // namespace

std::optional<ContextFigures> contextFigures(std::string_view line) {
    const auto tokens = firstFigure(line, "tokens=");
    const auto window = firstFigure(line, "effectiveWindow=");
    if (!tokens || !window || !*tokens || !*window) {
        return std::nullopt;
    }
    return ContextFigures{**tokens, **window};
}

} // namespace quillon::localstats
