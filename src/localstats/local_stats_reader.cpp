#include "localstats/local_stats_reader.h"

#include "localstats/debug_log.h"
#include "localstats/descriptor.h"
#include "localstats/history_line.h"
#include "localstats/line_file.h"
#include "localstats/reader_caches.h"
#include "localstats/session_line.h"
#include "model/fatal.h"
#include "model/format_tokens.h"
#include "model/numbers.h"
#include "providers/formatters.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <unordered_map>

namespace quillon {

using namespace localstats;

namespace {

// The whole day a date text names, or nothing for a text of another length: what is remembered
// per day cannot answer for those, so they are matched against every timestamp afresh.
std::optional<DayKey> dayOf(std::string_view todayStr) {
    DayKey day{};
    if (todayStr.size() != day.size()) {
        return std::nullopt;
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

// However quiet the watch, every file is looked at again this often: a write through a shared
// mapping, for one, is not reported.
constexpr auto lookAtEverythingEvery = std::chrono::minutes(10);
// After a read found something the watch cannot vouch for, this many reads look at every file
// before watching is tried again.
constexpr int readsWithoutWatching = 16;

bool sameFolder(const std::filesystem::path& path, const struct stat& known) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && status.st_dev == known.st_dev &&
           status.st_ino == known.st_ino;
}

} // namespace

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

LocalStatsReader::LocalStatsReader(const std::filesystem::path& home, bool watchForChanges)
    : claudeDir_(home / ".claude"), watchForChanges_(watchForChanges),
      caches_(std::make_unique<Caches>()) {}

LocalStatsReader::~LocalStatsReader() = default;

std::optional<LocalStatsResult> LocalStatsReader::read(Instant now) {
    const Pass pass(*this);
    Caches& c = *caches_;
    const std::string todayStr = Formatters::formatIso8601(now).substr(0, 10);
    const auto started = std::chrono::steady_clock::now();
    std::optional<Changes> changes;
    if (c.watch.active()) {
        changes = c.watch.take();
        if (changes->structural || !c.last || !sameFolder(claudeDir_, c.claudeFolder) ||
            started - c.everythingLookedAt > lookAtEverythingEvery) {
            changes.reset();
            c.watch.stop();
        } else if (changes->none() && c.last->day == todayStr) {
            return c.last->result;
        }
    }
    c.changes = changes ? &*changes : nullptr;
    c.folders.trustListings(changes.has_value());
    c.doubt = false;
    c.watching = !changes && watchForChanges_ &&
                 (c.readsBeforeWatching == 0 || --c.readsBeforeWatching == 0);
    if (c.watching) {
        startWatching();
    }
    const std::int64_t messages = countMessages(todayStr);
    const std::int64_t sum = sumTokens(todayStr);
    auto context = changes && !changes->debug ? c.last->result.context : latestContext();
    c.folders.forgetUnused();
    c.folders.trustListings(false);
    c.changes = nullptr;
    LocalStatsResult result{TodayUsage{messages, formatTokens(sum)}, std::move(context)};
    if (c.doubt) {
        c.readsBeforeWatching = readsWithoutWatching;
    }
    if (c.doubt || !c.watch.active()) {
        c.watch.stop();
        c.last.reset();
    } else {
        c.last = Caches::Answer{todayStr, result};
        c.everythingLookedAt = c.watching ? started : c.everythingLookedAt;
    }
    c.watching = false;
    return result;
}

// Watching starts at the Claude Code folder, on a file system whose changes the kernel sees
// (not one shared over a network), before anything under it is read.
void LocalStatsReader::startWatching() {
    Caches& c = *caches_;
    struct stat before {};
    const bool watched =
        ::stat(claudeDir_.c_str(), &before) == 0 && isLocalFileSystem(claudeDir_.native()) &&
        c.watch.watch(claudeDir_.native(), FolderRole::claude) && sameFolder(claudeDir_, before);
    if (!watched) {
        c.watch.stop();
        c.watching = false;
        return;
    }
    c.claudeFolder = before;
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
    Caches& c = *caches_;
    HistoryFile& history = c.history;
    const auto day = dayOf(todayStr);
    const auto path = claudeDir_ / "history.jsonl";
    if (!day) {
        HistoryPrefixCount matching(c.historyLines, todayStr);
        LineFileState state;
        if (updateLineFile(path, state, matching) == LineFileUpdate::unreadable ||
            !state.isUtf8()) {
            return 0;
        }
        return matching.complete + matching.tail;
    }
    const bool vouched = c.changes != nullptr && !c.changes->history && history.state.known;
    struct stat own {};
    if (!vouched && ::lstat(path.c_str(), &own) == 0) {
        c.check(own);
    }
    if ((!vouched && updateLineFile(path, history.state, history) == LineFileUpdate::unreadable) ||
        !history.state.isUtf8()) {
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
    const auto* entries = caches_->listWatched(root, FolderRole::projects);
    if (entries == nullptr) {
        return std::nullopt;
    }
    std::vector<std::filesystem::path> candidates;
    for (const auto& entry : *entries) {
        if (!entry.isDirectory) {
            continue;
        }
        auto folder = root / entry.name;
        const auto* names = caches_->listWatched(folder, FolderRole::sessions);
        if (names == nullptr) {
            continue;
        }
        const bool holdsLogs = std::any_of(names->begin(), names->end(), [](const auto& name) {
            return name.name.ends_with(".jsonl");
        });
        // Each name here is a folder to read, which a link could lead anywhere.
        caches_->doubt =
            caches_->doubt || (caches_->watching && !holdsLogs &&
                               std::any_of(names->begin(), names->end(),
                                           [](const auto& name) { return name.isLink; }));
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
    if (!candidates) {
        return 0;
    }
    if (!day) {
        return sumTokensMatching(*candidates, todayStr);
    }
    auto& sessions = caches_->sessions;
    const std::uint64_t pass = ++caches_->sessionPass;
    WideInt total = 0;
    std::string key;
    Caches& c = *caches_;
    for (const auto& folder : *candidates) {
        const auto* names = c.listWatched(folder, FolderRole::sessions);
        if (names == nullptr) {
            continue;
        }
        // Names are looked up from the folder itself, which spares walking the whole path for
        // each of its files.
        std::optional<Descriptor> folderHandle; // opened once a name needs looking at
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
            c.doubt = c.doubt || (c.watching && name.isLink);
            // A file the watch saw no change in is as it was when last read.
            bool unchanged =
                c.changes != nullptr && file->state.known && !c.changes->sessionFiles.contains(key);
            struct stat status {};
            if (!unchanged && !folderHandle) {
                folderHandle.emplace(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
            }
            if (!unchanged && folderHandle->get() >= 0 &&
                ::fstatat(folderHandle->get(), name.name.c_str(), &status, 0) == 0) {
                c.check(status);
                unchanged = isUnchanged(file->state, status);
            }
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

std::int64_t
LocalStatsReader::sumTokensMatching(const std::vector<std::filesystem::path>& candidates,
                                    std::string_view prefix) {
    Caches& c = *caches_;
    WideInt total = 0;
    for (const auto& folder : candidates) {
        const auto* names = c.listWatched(folder, FolderRole::sessions);
        if (names == nullptr) {
            continue;
        }
        for (const auto& name : *names) {
            if (!name.name.ends_with(".jsonl")) {
                continue;
            }
            SessionPrefixSums matching(c.sessionLines, prefix);
            LineFileState state;
            if (updateLineFile(folder / name.name, state, matching) == LineFileUpdate::unreadable ||
                !state.isUtf8()) {
                continue;
            }
            const PartialSums sums = matching.sums();
            if (total + sums.highest > INT64_MAX || total + sums.lowest < INT64_MIN) {
                fatal("integer overflow in addition");
            }
            total += sums.sum;
        }
    }
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
    const auto* names = caches_->listWatched(folder, FolderRole::debug);
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
        caches_->check(status);
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
