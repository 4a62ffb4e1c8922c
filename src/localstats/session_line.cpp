#include "localstats/session_line.h"

#include "localstats/byte_search.h"
#include "localstats/json_line.h"
#include "localstats/parser_limits.h"

#include <nlohmann/json.hpp>
#include <simdjson.h>

#include <cstring>
#include <optional>
#include <string>

namespace quillon::localstats {

namespace {

constexpr std::array<std::string_view, 4> tokenFields = {
    "input_tokens", "output_tokens", "cache_read_input_tokens", "cache_creation_input_tokens"};

// Only a line holding the key "usage" can add anything. The key is either written as it is or
// spelled with \u escapes somewhere in the line.
constexpr std::string_view usageKey = "\"usage\"";
constexpr std::string_view unicodeEscape = "\\u";

const char* find(const char* from, const char* end, std::string_view needle) {
    // Probe the 'u' and the 'g' of "usage", the '\\' and the 'u' of an escape.
    return needle == usageKey ? findBytes(from, end, needle, 1, 4)
                              : findBytes(from, end, needle, 0, 1);
}

// Whether a line may hold "usage" as a key of its top-level object: some string directly inside
// the outermost braces reads "usage", or has a \u escape that might spell it. For well-formed
// JSON the nesting followed here is exact, so a "no" means the line adds nothing; a malformed
// line adds nothing anyway. This costs a fraction of parsing, and most lines with "usage" carry
// it inside their message, deeper down.
bool mayHaveTopLevelUsage(const char* at, const char* end) {
    int depth = 0;
    while (at < end) {
        const char c = *at;
        if (c == '"') {
            const char* start = at + 1;
            const char* close = start;
            bool unicodeEscape = false;
            for (;;) {
                close = findQuoteOrBackslash(close, end);
                if (close >= end) {
                    return false;
                }
                if (*close == '"') {
                    break;
                }
                unicodeEscape = unicodeEscape || (close + 1 < end && close[1] == 'u');
                close += 2;
            }
            if (depth == 1 &&
                (unicodeEscape ||
                 std::string_view(start, static_cast<std::size_t>(close - start)) == "usage")) {
                return true;
            }
            at = close + 1;
            continue;
        }
        depth += (c == '{' || c == '[') ? 1 : (c == '}' || c == ']') ? -1 : 0;
        ++at;
    }
    return false;
}

bool mayAddUsage(std::string_view line) {
    const char* end = line.data() + line.size();
    return (find(line.data(), end, usageKey) != end ||
            find(line.data(), end, unicodeEscape) != end) &&
           mayHaveTopLevelUsage(line.data(), end);
}

struct Reading {
    bool hasUsage = false;
    bool textTimestamp = false;
    bool dayKnown = false;
    DayKey day{};
    std::array<std::int64_t, 4> fields{};
    // The textual timestamp: in the parser's buffer, or held here for a document read apart.
    std::string_view stampInParser;
    std::optional<std::string> stampHeld;

    std::string_view stamp() const {
        return stampHeld ? std::string_view(*stampHeld) : stampInParser;
    }

    // The fields when the line counts for a date given as any prefix of a textual timestamp.
    std::optional<std::array<std::int64_t, 4>> fieldsFor(std::string_view prefix) const {
        if (!hasUsage || (textTimestamp && !stamp().starts_with(prefix))) {
            return std::nullopt;
        }
        return fields;
    }

    SessionLineUsage result() const {
        SessionLineUsage usage;
        if (!hasUsage || (textTimestamp && !dayKnown)) {
            return usage;
        }
        usage.when = textTimestamp ? SessionLineUsage::When::onDay : SessionLineUsage::When::anyDay;
        usage.day = textTimestamp ? day : DayKey{};
        usage.fields = fields;
        return usage;
    }
};

std::int64_t tokenCount(const simdjson::dom::element& value) {
    std::int64_t integer = 0;
    double floating = 0;
    switch (value.type()) {
    case simdjson::dom::element_type::INT64:
        return value.get(integer) == simdjson::SUCCESS ? integer : 0;
    case simdjson::dom::element_type::UINT64:
        // Only integers beyond the signed range are held unsigned.
        return 0;
    case simdjson::dom::element_type::DOUBLE:
        return value.get(floating) == simdjson::SUCCESS ? wholeNumber(floating).value_or(0) : 0;
    default:
        return 0;
    }
}

// A parsed line: the last of repeated keys wins, as in any parsed document.
Reading readParsed(const simdjson::dom::object& object) {
    Reading reading;
    std::optional<simdjson::dom::element> stamp;
    std::optional<simdjson::dom::element> usage;
    for (const auto field : object) {
        if (field.key == "timestamp") {
            stamp = field.value;
        } else if (field.key == "usage") {
            usage = field.value;
        }
    }
    simdjson::dom::object usageObject;
    if (!usage || usage->get(usageObject) != simdjson::SUCCESS) {
        return reading;
    }
    reading.hasUsage = true;
    std::string_view stampText;
    reading.textTimestamp = stamp && stamp->get(stampText) == simdjson::SUCCESS;
    if (reading.textTimestamp) {
        reading.dayKnown = dayKeyOf(stampText, reading.day);
        reading.stampInParser = stampText;
    }
    for (const auto field : usageObject) {
        for (std::size_t i = 0; i < tokenFields.size(); ++i) {
            if (field.key == tokenFields[i]) {
                reading.fields[i] = tokenCount(field.value);
            }
        }
    }
    return reading;
}

std::int64_t tokenCount(const nlohmann::json& value) {
    switch (value.type()) {
    case nlohmann::json::value_t::number_integer:
        return value.get<std::int64_t>();
    case nlohmann::json::value_t::number_unsigned: {
        const auto unsignedValue = value.get<std::uint64_t>();
        return unsignedValue <= static_cast<std::uint64_t>(INT64_MAX)
                   ? static_cast<std::int64_t>(unsignedValue)
                   : 0;
    }
    case nlohmann::json::value_t::number_float:
        return wholeNumber(value.get<double>()).value_or(0);
    default:
        return 0;
    }
}

// For the rare well-formed line the fast parser declines (numbers beyond 64 bits, very deep
// nesting).
Reading readDocument(std::string_view line) {
    Reading reading;
    // This reader would take a NUL byte for the end of the text; JSON has no place for one.
    if (line.find('\0') != std::string_view::npos) {
        return {};
    }
    const auto document = nlohmann::json::parse(line, nullptr, false);
    if (!document.is_object()) {
        return reading;
    }
    const auto usage = document.find("usage");
    if (usage == document.end() || !usage->is_object()) {
        return reading;
    }
    reading.hasUsage = true;
    const auto stamp = document.find("timestamp");
    reading.textTimestamp = stamp != document.end() && stamp->is_string();
    if (reading.textTimestamp) {
        reading.stampHeld = stamp->get_ref<const std::string&>();
        reading.dayKnown = dayKeyOf(*reading.stampHeld, reading.day);
    }
    for (std::size_t i = 0; i < tokenFields.size(); ++i) {
        const auto field = usage->find(tokenFields[i]);
        reading.fields[i] = field == usage->end() ? 0 : tokenCount(*field);
    }
    return reading;
}

// A line that may hold a top-level "usage", parsed in full.
Reading readCandidateLine(simdjson::dom::parser& parser, std::string_view line) {
    const std::string_view text = withoutByteOrderMark(line);
    simdjson::dom::element root;
    const auto error = parser.parse(text.data(), text.size(), false).get(root);
    if (error != simdjson::SUCCESS) {
        return beyondParserLimits(error) ? readDocument(line) : Reading{};
    }
    simdjson::dom::object object;
    if (root.get(object) != simdjson::SUCCESS) {
        return {};
    }
    return readParsed(object);
}

// Calls `each` with every line of `text` that may hold a top-level "usage"; the rest are passed
// over on a byte search.
template <typename Each> void forEachCandidateLine(std::string_view text, Each each) {
    const char* at = text.data();
    const char* const end = at + text.size();
    const char* nextUsage = find(at, end, usageKey);
    const char* nextEscape = find(at, end, unicodeEscape);
    while (at < end) {
        const void* newline = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
        const char* lineEnd = newline == nullptr ? end : static_cast<const char*>(newline);
        if (nextUsage < at) {
            nextUsage = find(at, end, usageKey);
        }
        if (nextEscape < at) {
            nextEscape = find(at, end, unicodeEscape);
        }
        if ((nextUsage < lineEnd || nextEscape < lineEnd) && mayHaveTopLevelUsage(at, lineEnd)) {
            each(std::string_view(at, static_cast<std::size_t>(lineEnd - at)));
        }
        at = lineEnd + 1;
    }
}

} // namespace

void addTo(DaySums& sums, const SessionLineUsage& line) {
    for (const auto value : line.fields) {
        if (line.when == SessionLineUsage::When::onDay) {
            sums.addDated(line.day, value);
        } else if (line.when == SessionLineUsage::When::anyDay) {
            sums.addUndated(value);
        }
    }
}

struct SessionLineReader::Parsers {
    simdjson::dom::parser dom;
    std::string padded;
};

SessionLineReader::SessionLineReader() : parsers_(std::make_unique<Parsers>()) {}
SessionLineReader::~SessionLineReader() = default;

SessionLineUsage SessionLineReader::read(std::string_view line) {
    auto& padded = parsers_->padded;
    padded.assign(line);
    padded.append(jsonPadding, ' ');
    return readPadded(std::string_view(padded.data(), line.size()));
}

SessionLineUsage SessionLineReader::readPadded(std::string_view line) {
    return mayAddUsage(line) ? readCandidate(line) : SessionLineUsage{};
}

SessionLineUsage SessionLineReader::readCandidate(std::string_view line) {
    return readCandidateLine(parsers_->dom, line).result();
}

std::optional<std::array<std::int64_t, 4>> SessionLineReader::readPadded(std::string_view line,
                                                                         std::string_view prefix) {
    if (!mayAddUsage(line)) {
        return std::nullopt;
    }
    return readCandidateLine(parsers_->dom, line).fieldsFor(prefix);
}

void SessionLineReader::addLines(std::string_view text, DaySums& sums) {
    forEachCandidateLine(text, [&](std::string_view line) { addTo(sums, readCandidate(line)); });
}

void SessionLineReader::addLines(std::string_view text, std::string_view prefix,
                                 PartialSums& sums) {
    forEachCandidateLine(text, [&](std::string_view line) {
        if (const auto fields = readCandidateLine(parsers_->dom, line).fieldsFor(prefix)) {
            for (const auto value : *fields) {
                sums.add(value);
            }
        }
    });
}

} // namespace quillon::localstats
