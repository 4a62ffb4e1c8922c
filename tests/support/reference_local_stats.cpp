#include "support/reference_local_stats.h"

#include "model/format_tokens.h"
#include "model/numbers.h"
#include "providers/formatters.h"

#include <nlohmann/json.hpp>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cmath>

namespace quillon::test {

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

// The whole file, when it is a regular file that can be read and is valid UTF-8.
std::optional<std::string> readUtf8File(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    struct stat status {};
    std::string text;
    bool ok = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    char chunk[65536];
    while (ok) {
        const ssize_t got = ::read(fd, chunk, sizeof chunk);
        if (got <= 0) {
            ok = got == 0;
            break;
        }
        text.append(chunk, static_cast<std::size_t>(got));
    }
    ::close(fd);
    if (!ok) {
        return std::nullopt;
    }
    // Well-formed UTF-8: no stray continuation bytes, no overlong forms, no surrogates, nothing
    // beyond U+10FFFF.
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        std::size_t length = 0;
        std::uint32_t point = 0;
        if (byte < 0x80) {
            ++i;
            continue;
        } else if (byte >= 0xC2 && byte <= 0xDF) {
            length = 2, point = byte & 0x1F;
        } else if (byte >= 0xE0 && byte <= 0xEF) {
            length = 3, point = byte & 0x0F;
        } else if (byte >= 0xF0 && byte <= 0xF4) {
            length = 4, point = byte & 0x07;
        } else {
            return std::nullopt;
        }
        if (i + length > text.size()) {
            return std::nullopt;
        }
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) {
                return std::nullopt;
            }
            point = (point << 6) | (next & 0x3F);
        }
        if ((length == 3 && point < 0x800) || (length == 4 && point < 0x10000) ||
            (point >= 0xD800 && point <= 0xDFFF) || point > 0x10FFFF) {
            return std::nullopt;
        }
        i += length;
    }
    return text;
}

std::vector<std::string_view> splitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        if (end > start) {
            lines.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return lines;
}

std::optional<json> parseObject(std::string_view line) {
    // nlohmann's reader stops at a NUL byte as if the text ended there; JSON has no place for one.
    if (line.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    auto document = json::parse(line, nullptr, false);
    if (!document.is_object()) {
        return std::nullopt;
    }
    return document;
}

std::optional<std::vector<std::string>> listNames(const fs::path& path) {
    std::error_code error;
    fs::directory_iterator it(path, error);
    if (error) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (; it != fs::directory_iterator(); it.increment(error)) {
        names.push_back(it->path().filename().string());
    }
    if (error) {
        return std::nullopt;
    }
    return names;
}

std::optional<std::int64_t> wholeNumber(const json& value) {
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        return number <= static_cast<std::uint64_t>(INT64_MAX)
                   ? std::optional(static_cast<std::int64_t>(number))
                   : std::nullopt;
    }
    if (value.is_number_integer()) {
        return value.get<std::int64_t>();
    }
    if (value.is_number_float()) {
        const double number = value.get<double>();
        if (std::isfinite(number) && number == std::trunc(number) &&
            number >= -9223372036854775808.0 && number < 9223372036854775808.0) {
            return static_cast<std::int64_t>(number);
        }
    }
    return std::nullopt;
}

// The first match of `pattern` in `line`, as ICU's regular expressions find it.
std::optional<std::string> firstMatch(std::string_view line, const char* pattern) {
    UErrorCode status = U_ZERO_ERROR;
    icu::RegexMatcher matcher(icu::UnicodeString::fromUTF8(pattern), 0, status);
    const auto text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(line.data(), static_cast<int32_t>(line.size())));
    matcher.reset(text);
    if (U_FAILURE(status) || !matcher.find(status) || U_FAILURE(status)) {
        return std::nullopt;
    }
    std::string match;
    matcher.group(status).toUTF8String(match);
    return match;
}

std::optional<std::int64_t> parseDecimal(std::string text, std::string_view remove) {
    for (auto at = text.find(remove); at != std::string::npos; at = text.find(remove)) {
        text.erase(at, remove.size());
    }
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

ReferenceLocalStats::ReferenceLocalStats(fs::path home) : claudeDir_(std::move(home) / ".claude") {}

LocalStatsResult ReferenceLocalStats::read(Instant now) const {
    const std::string todayStr = Formatters::formatIso8601(now).substr(0, 10);
    const auto messages = countTodayMessages(todayStr);
    const auto sum = sumTodayTokens(todayStr);
    auto context = readLatestContext();
    return {TodayUsage{messages, formatTokens(sum)}, std::move(context)};
}

std::int64_t ReferenceLocalStats::countTodayMessages(std::string_view todayStr) const {
    const auto text = readUtf8File(claudeDir_ / "history.jsonl");
    if (!text) {
        return 0;
    }
    std::int64_t count = 0;
    for (const auto line : splitLines(*text)) {
        const auto object = parseObject(line);
        if (!object || !object->contains("timestamp")) {
            continue;
        }
        const json& stamp = (*object)["timestamp"];
        std::string stampText;
        if (stamp.is_string()) {
            stampText = stamp.get<std::string>();
        } else if (stamp.is_number()) {
            using namespace std::chrono;
            const double seconds = stamp.get<double>();
            if (!(seconds > -9.2e9 && seconds < 9.2e9)) {
                continue; // beyond any instant; never today
            }
            const auto since = floor<nanoseconds>(duration<double>(seconds));
            stampText = Formatters::formatIso8601(Instant{duration_cast<Instant::duration>(since)});
        } else {
            continue;
        }
        if (stampText.starts_with(todayStr)) {
            ++count;
        }
    }
    return count;
}

std::optional<std::vector<fs::path>>
ReferenceLocalStats::walkProjectDirs(const fs::path& root) const {
    std::error_code error;
    if (!fs::exists(root, error)) {
        return std::vector<fs::path>{};
    }
    fs::directory_iterator it(root, error);
    if (error) {
        return std::nullopt;
    }
    std::vector<fs::path> result;
    for (; it != fs::directory_iterator(); it.increment(error)) {
        std::error_code typeError;
        if (!it->is_directory(typeError) || it->is_symlink(typeError)) {
            continue;
        }
        const fs::path entry = it->path();
        const auto names = listNames(entry).value_or(std::vector<std::string>{});
        bool holdsLogs = false;
        for (const auto& name : names) {
            holdsLogs = holdsLogs || name.ends_with(".jsonl");
        }
        if (holdsLogs) {
            result.push_back(entry);
            continue;
        }
        for (const auto& name : names) {
            result.push_back(entry / name);
        }
    }
    if (error) {
        return std::nullopt;
    }
    return result;
}

std::int64_t ReferenceLocalStats::sumTodayTokens(std::string_view todayStr) const {
    const auto folders = walkProjectDirs(claudeDir_ / "projects");
    if (!folders) {
        return 0;
    }
    std::int64_t total = 0;
    for (const auto& folder : *folders) {
        for (const auto& name : listNames(folder).value_or(std::vector<std::string>{})) {
            if (!name.ends_with(".jsonl")) {
                continue;
            }
            const auto text = readUtf8File(folder / name);
            if (!text) {
                continue;
            }
            for (const auto line : splitLines(*text)) {
                const auto object = parseObject(line);
                if (!object) {
                    continue;
                }
                const auto stamp = object->find("timestamp");
                if (stamp != object->end() && stamp->is_string() &&
                    !stamp->get<std::string>().starts_with(todayStr)) {
                    continue;
                }
                const auto usage = object->find("usage");
                if (usage == object->end() || !usage->is_object()) {
                    continue;
                }
                for (const char* key : {"input_tokens", "output_tokens", "cache_read_input_tokens",
                                        "cache_creation_input_tokens"}) {
                    const auto field = usage->find(key);
                    if (field != usage->end()) {
                        total = checkedAdd(total, wholeNumber(*field).value_or(0));
                    }
                }
            }
        }
    }
    return total;
}

std::optional<std::string>
ReferenceLocalStats::findProjectForSession(std::string_view sessionId) const {
    const auto folders = walkProjectDirs(claudeDir_ / "projects");
    if (!folders || folders->empty()) {
        return std::nullopt;
    }
    for (const auto& folder : *folders) {
        bool matches = false;
        for (const auto& name : listNames(folder).value_or(std::vector<std::string>{})) {
            matches = matches || name.starts_with(sessionId);
        }
        if (!matches) {
            continue;
        }
        const std::string last = folder.filename().string();
        std::vector<std::string> pieces;
        std::size_t start = 0;
        while (start <= last.size()) {
            const std::size_t dash = std::min(last.find('-', start), last.size());
            if (dash > start) {
                pieces.push_back(last.substr(start, dash - start));
            }
            start = dash + 1;
        }
        return pieces.empty() ? last : pieces.back();
    }
    return std::nullopt;
}

std::optional<ContextUsage> ReferenceLocalStats::readLatestContext() const {
    const fs::path folder = claudeDir_ / "debug";
    std::error_code error;
    if (!fs::exists(folder, error)) {
        return std::nullopt;
    }
    const auto names = listNames(folder);
    if (!names) {
        return std::nullopt;
    }
    std::optional<std::string> latest;
    std::int64_t latestTime = 0;
    for (const auto& name : *names) {
        struct stat status {};
        if (!name.ends_with(".txt") || ::lstat((folder / name).c_str(), &status) != 0) {
            continue;
        }
        const std::int64_t modified =
            static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 +
            status.st_mtim.tv_nsec;
        if (!latest || modified > latestTime) {
            latest = name;
            latestTime = modified;
        }
    }
    if (!latest) {
        return std::nullopt;
    }
    const auto text = readUtf8File(folder / *latest);
    if (!text) {
        return std::nullopt;
    }
    const auto lines = splitLines(*text);
    std::optional<std::string_view> marked;
    for (auto it = lines.rbegin(); it != lines.rend() && !marked; ++it) {
        if (it->find("autocompact:") != std::string_view::npos) {
            marked = *it;
        }
    }
    if (!marked) {
        return std::nullopt;
    }
    const auto tokensMatch = firstMatch(*marked, "tokens=(\\d+)");
    const auto windowMatch = firstMatch(*marked, "effectiveWindow=(\\d+)");
    if (!tokensMatch || !windowMatch) {
        return std::nullopt;
    }
    const auto used = parseDecimal(*tokensMatch, "tokens=");
    const auto window = parseDecimal(*windowMatch, "effectiveWindow=");
    if (!used || !window || *window <= 0) {
        return std::nullopt;
    }
    const std::size_t dot = latest->rfind('.');
    const std::string sessionId = dot == 0 ? *latest : latest->substr(0, dot);
    return ContextUsage{
        findProjectForSession(sessionId).value_or("current session"),
        *used,
        *window,
        std::max<std::int64_t>(0, checkedSubtract(*window, *used)),
        roundToInt64(static_cast<double>(*used) / static_cast<double>(*window) * 100.0),
    };
}

} // namespace quillon::test
