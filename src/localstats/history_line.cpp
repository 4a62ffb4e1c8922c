#include "localstats/history_line.h"

#include "localstats/json_line.h"
#include "localstats/parser_limits.h"

#include <nlohmann/json.hpp>
#include <simdjson.h>

#include <cstring>
#include <string>

namespace quillon::localstats {

void DayCounts::add(const DayKey& day) {
    for (auto& [key, count] : counts_) {
        if (key == day) {
            ++count;
            return;
        }
    }
    counts_.emplace_back(day, 1);
}

void DayCounts::append(const DayCounts& later) {
    for (const auto& [day, count] : later.counts_) {
        bool found = false;
        for (auto& [key, mine] : counts_) {
            if (key == day) {
                mine += count;
                found = true;
            }
        }
        if (!found) {
            counts_.emplace_back(day, count);
        }
    }
}

std::int64_t DayCounts::forDay(const DayKey& day) const {
    for (const auto& [key, count] : counts_) {
        if (key == day) {
            return count;
        }
    }
    return 0;
}

namespace {

std::optional<DayKey> dayOfText(std::string_view text) {
    DayKey day{};
    return dayKeyOf(text, day) ? std::optional(day) : std::nullopt;
}

// For the rare well-formed line the fast parser declines (numbers beyond 64 bits, deep nesting).
template <typename Result, typename FromText, typename FromSeconds>
std::optional<Result> readDocument(std::string_view line, FromText fromText,
                                   FromSeconds fromSeconds) {
    // This reader would take a NUL byte for the end of the text; JSON has no place for one.
    if (line.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    const auto document = nlohmann::json::parse(line, nullptr, false);
    if (!document.is_object()) {
        return std::nullopt;
    }
    const auto stamp = document.find("timestamp");
    if (stamp == document.end()) {
        return std::nullopt;
    }
    if (stamp->is_string()) {
        return fromText(stamp->get_ref<const std::string&>());
    }
    if (stamp->is_number()) {
        return fromSeconds(stamp->get<double>());
    }
    return std::nullopt;
}

// What the "timestamp" of one line gives: `fromText` of a textual one, `fromSeconds` of a
// numeric one; nothing for a line that is not an object or holds neither.
template <typename Result, typename FromText, typename FromSeconds>
std::optional<Result> readStamp(simdjson::dom::parser& parser, std::string_view line,
                                FromText fromText, FromSeconds fromSeconds) {
    const std::string_view text = withoutByteOrderMark(line);
    simdjson::dom::element root;
    const auto error = parser.parse(text.data(), text.size(), false).get(root);
    if (beyondParserLimits(error)) {
        return readDocument<Result>(line, fromText, fromSeconds);
    }
    simdjson::dom::object object;
    if (error != simdjson::SUCCESS || root.get_object().get(object) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    // The last of repeated keys wins, as in a parsed document.
    std::optional<simdjson::dom::element> stamp;
    for (const auto field : object) {
        if (field.key == "timestamp") {
            stamp = field.value;
        }
    }
    if (!stamp) {
        return std::nullopt;
    }
    if (stamp->is_string()) {
        return fromText(std::string_view(*stamp));
    }
    if (stamp->is_number()) {
        return fromSeconds(double(*stamp));
    }
    return std::nullopt;
}

// Calls `each` with every non-empty line of `text`.
template <typename Each> void forEachLine(std::string_view text, Each each) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end) {
        const void* newline = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
        const char* lineEnd = newline == nullptr ? end : static_cast<const char*>(newline);
        if (lineEnd > at) {
            each(std::string_view(at, static_cast<std::size_t>(lineEnd - at)));
        }
        at = lineEnd + 1;
    }
}

} // namespace

struct HistoryLineReader::Parsers {
    simdjson::dom::parser dom;
    std::string padded;
};

HistoryLineReader::HistoryLineReader() : parsers_(std::make_unique<Parsers>()) {}
HistoryLineReader::~HistoryLineReader() = default;

std::optional<DayKey> HistoryLineReader::read(std::string_view line) {
    auto& padded = parsers_->padded;
    padded.assign(line);
    padded.append(jsonPadding, ' ');
    return readPadded(std::string_view(padded.data(), line.size()));
}

std::optional<DayKey> HistoryLineReader::readPadded(std::string_view line) {
    return readStamp<DayKey>(
        parsers_->dom, line, [](std::string_view text) { return dayOfText(text); },
        [](double seconds) { return dayOfSeconds(seconds); });
}

void HistoryLineReader::addLines(std::string_view text, DayCounts& counts) {
    forEachLine(text, [&](std::string_view line) {
        if (const auto day = readPadded(line)) {
            counts.add(*day);
        }
    });
}

std::int64_t HistoryLineReader::countLines(std::string_view text, std::string_view prefix) {
    std::int64_t count = 0;
    forEachLine(text, [&](std::string_view line) {
        const auto matches = readStamp<bool>(
            parsers_->dom, line, [&](std::string_view stamp) { return stamp.starts_with(prefix); },
            [&](double seconds) {
                const auto stamp = isoTextOfSeconds(seconds);
                return stamp && stamp->starts_with(prefix);
            });
        count += matches.value_or(false) ? 1 : 0;
    });
    return count;
}

} // namespace quillon::localstats
