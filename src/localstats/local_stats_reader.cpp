#include "localstats/local_stats_reader.h"

#include "localstats/day_sums.h"
#include "localstats/debug_log.h"
#include "localstats/descriptor.h"
#include "localstats/history_line.h"
#include "localstats/line_file.h"
#include "localstats/session_line.h"
#include "model/fatal.h"
#include "model/format_tokens.h"
#include "model/numbers.h"
#include "providers/formatters.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <unordered_map>

namespace quillon {

using namespace localstats;

namespace {

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

std::optional<DayKey> dayOf(std::string_view todayStr) {
    DayKey day{};
    if (todayStr.size() != day.size()) {
        return std::nullopt; // no timestamp's first ten characters can be matched in part
    }
    dayKeyOf(todayStr, day);
    return day;
}

bool somethingAt(const std::filesystem::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

// A folder named after a path with its separators turned into dashes is known by its last part.
std::string projectNameOf(const std::string& folderName) {
    std::string_view rest = folderName;
    std::string_view last;
    while (!rest.empty()) {
        const std::size_t dash = rest.find('-');
        const std::string_view piece = rest.substr(0, dash);
        if (!piece.empty()) {
            last = piece;
        }
        rest = dash == std::string_view::npos ? std::string_view{} : rest.substr(dash + 1);
    }
    return last.empty() ? folderName : std::string(last);
}

std::string sessionIdOf(const std::string& fileName) {
    const std::size_t dot = fileName.rfind('.');
    return dot == 0 || dot == std::string::npos ? fileName : fileName.substr(0, dot);
}

} // namespace

struct LocalStatsReader::Caches {
    FolderLister folders;
    SessionLineReader sessionLines;
    HistoryLineReader historyLines;
    std::unordered_map<std::string, std::unique_ptr<SessionFile>> sessions;
    std::uint64_t sessionPass = 0;
    HistoryFile history{historyLines};
    DebugFile debug;
};

// One look at the disk: folders are checked for changes once per pass, however often they are
// asked for during it.
class LocalStatsReader::Pass {
public:
    explicit Pass(LocalStatsReader& reader) : reader_(reader) {
        if (reader_.passDepth_++ == 0) {
            reader_.caches_->folders.beginPass();
        }
    }
    ~Pass() { --reader_.passDepth_; }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

private:
    LocalStatsReader& reader_;
};

LocalStatsReader::LocalStatsReader(std::filesystem::path home)
    : claudeDir_(std::move(home) / ".claude"), caches_(std::make_unique<Caches>()) {}

LocalStatsReader::~LocalStatsReader() = default;

std::optional<LocalStatsResult> LocalStatsReader::read(Instant now) {
    const Pass pass(*this);
    const std::string todayStr = Formatters::formatIso8601(now).substr(0, 10);
    const std::int64_t messages = countMessages(todayStr);
    const std::int64_t sum = sumTokens(todayStr);
    auto context = latestContext();
    caches_->folders.forgetUnused();
    return LocalStatsResult{TodayUsage{messages, formatTokens(sum)}, std::move(context)};
}

std::int64_t LocalStatsReader::countTodayMessages(std::string_view todayStr) {
    const Pass pass(*this);
    return countMessages(todayStr);
}

std::int64_t LocalStatsReader::sumTodayTokens(std::string_view todayStr) {
    const Pass pass(*this);
    return sumTokens(todayStr);
}

std::optional<std::string> LocalStatsReader::findProjectForSession(std::string_view sessionId) {
    const Pass pass(*this);
    return projectFor(sessionId);
}

std::optional<ContextUsage> LocalStatsReader::readLatestContext() {
    const Pass pass(*this);
    return latestContext();
}

std::int64_t LocalStatsReader::countMessages(std::string_view todayStr) {
    HistoryFile& history = caches_->history;
    const auto day = dayOf(todayStr);
    if (updateLineFile(claudeDir_ / "history.jsonl", history.state, history) ==
            LineFileUpdate::unreadable ||
        !history.state.isUtf8() || !day) {
        return 0;
    }
    return history.complete.forDay(*day) + history.tail.forDay(*day);
}

std::optional<std::vector<std::filesystem::path>>
LocalStatsReader::walkProjectDirs(const std::filesystem::path& root) {
    const Pass pass(*this);
    if (!somethingAt(root)) {
        return std::vector<std::filesystem::path>{};
    }
    const auto* entries = caches_->folders.list(root);
    if (entries == nullptr) {
        return std::nullopt;
    }
    std::vector<std::filesystem::path> candidates;
    for (const auto& entry : *entries) {
        if (!entry.isDirectory) {
            continue;
        }
        auto folder = root / entry.name;
        const auto* names = caches_->folders.list(folder);
        if (names == nullptr) {
            continue;
        }
        const bool holdsLogs = std::any_of(names->begin(), names->end(), [](const auto& name) {
            return name.name.ends_with(".jsonl");
        });
        if (holdsLogs) {
            candidates.push_back(std::move(folder));
            continue;
        }
        for (const auto& name : *names) {
            candidates.push_back(folder / name.name);
        }
    }
    return candidates;
}

std::int64_t LocalStatsReader::sumTokens(std::string_view todayStr) {
    const auto candidates = walkProjectDirs(claudeDir_ / "projects");
    const auto day = dayOf(todayStr);
    if (!candidates || !day) {
        return 0;
    }
    auto& sessions = caches_->sessions;
    const std::uint64_t pass = ++caches_->sessionPass;
    WideInt total = 0;
    std::string key;
    for (const auto& folder : *candidates) {
        const auto* names = caches_->folders.list(folder);
        if (names == nullptr) {
            continue;
        }
        // Names are looked up from the folder itself, which spares walking the whole path for
        // each of its files.
        const Descriptor folderHandle(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        for (const auto& name : *names) {
            if (!name.name.ends_with(".jsonl")) {
                continue;
            }
            key.assign(folder.native()).append("/").append(name.name);
            auto& file = sessions[key];
            if (!file) {
                file = std::make_unique<SessionFile>(caches_->sessionLines);
            }
            file->pass = pass;
            struct stat status {};
            const bool unchanged =
                folderHandle.get() >= 0 &&
                ::fstatat(folderHandle.get(), name.name.c_str(), &status, 0) == 0 &&
                isUnchanged(file->state, status);
            if (!unchanged &&
                (updateLineFile(key, file->state, *file) == LineFileUpdate::unreadable ||
                 !file->state.isUtf8())) {
                continue;
            }
            if (!file->state.isUtf8()) {
                continue;
            }
            // The sum stops at the addition that overflows, wherever in the file it lies.
            const PartialSums sums = file->forDay(*day);
            if (total + sums.highest > INT64_MAX || total + sums.lowest < INT64_MIN) {
                fatal("integer overflow in addition");
            }
            total += sums.sum;
        }
    }
    std::erase_if(sessions, [pass](const auto& item) { return item.second->pass != pass; });
    return static_cast<std::int64_t>(total);
}

std::optional<std::string> LocalStatsReader::projectFor(std::string_view sessionId) {
    const auto candidates = walkProjectDirs(claudeDir_ / "projects");
    if (!candidates) {
        return std::nullopt;
    }
    for (const auto& folder : *candidates) {
        const auto* names = caches_->folders.list(folder);
        if (names == nullptr) {
            continue;
        }
        const bool matches = std::any_of(names->begin(), names->end(), [&](const auto& name) {
            return name.name.starts_with(sessionId);
        });
        if (matches) {
            return projectNameOf(folder.filename().string());
        }
    }
    return std::nullopt;
}

std::optional<ContextUsage> LocalStatsReader::latestContext() {
    const auto folder = claudeDir_ / "debug";
    if (!somethingAt(folder)) {
        return std::nullopt;
    }
    const auto* names = caches_->folders.list(folder);
    if (names == nullptr) {
        return std::nullopt;
    }
    // The newest by modification time; the first listed among equals. The time is that of the
    // entry itself, a symbolic link's own.
    std::optional<std::string> latest;
    std::int64_t latestTime = 0;
    for (const auto& name : *names) {
        struct stat status {};
        if (!name.name.ends_with(".txt") || ::lstat((folder / name.name).c_str(), &status) != 0) {
            continue;
        }
        const std::int64_t modified = identityOf(status).modified;
        if (!latest || modified > latestTime) {
            latest = name.name;
            latestTime = modified;
        }
    }
    if (!latest) {
        return std::nullopt;
    }
    DebugFile& debug = caches_->debug;
    if (debug.path != folder / *latest) {
        debug = {};
        debug.path = folder / *latest;
    }
    if (updateLineFile(debug.path, debug.state, debug) == LineFileUpdate::unreadable ||
        !debug.state.isUtf8() || !debug.newest()) {
        return std::nullopt;
    }
    const auto figures = contextFigures(*debug.newest());
    if (!figures || figures->effectiveWindow <= 0) {
        return std::nullopt;
    }
    const std::int64_t used = figures->tokensUsed;
    const std::int64_t window = figures->effectiveWindow;
    return ContextUsage{
        projectFor(sessionIdOf(*latest)).value_or("current session"),
        used,
        window,
        std::max<std::int64_t>(0, checkedSubtract(window, used)),
        roundToInt64(static_cast<double>(used) / static_cast<double>(window) * 100.0),
    };
}

} // namespace quillon
