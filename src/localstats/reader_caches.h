#pragma once

// What a LocalStatsReader keeps between reads. Only its own source file includes this.
#include "localstats/cached_files.h"
#include "localstats/change_watch.h"
#include "localstats/folder_lister.h"
#include "localstats/local_stats_reader.h"

#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace quillon {

struct LocalStatsReader::Caches {
    // Lists a folder, watching it first when this read watches what it reads.
    const std::vector<localstats::FolderEntry>* listWatched(const std::filesystem::path& path,
                                                            localstats::FolderRole role) {
        const bool watched = !watching || watch.watch(path.native(), role);
        const auto* entries = folders.list(path);
        doubt = doubt || (entries != nullptr && !watched);
        return entries;
    }
    // Whether a file read in a watched read can change unseen: through another name, or on
    // another file system.
    void check(const struct stat& status) {
        if (watching || changes != nullptr) {
            doubt = doubt || S_ISLNK(status.st_mode) || status.st_nlink != 1 ||
                    status.st_dev != claudeFolder.st_dev;
        }
    }

    localstats::FolderLister folders;
    localstats::SessionLineReader sessionLines;
    localstats::HistoryLineReader historyLines;
    std::unordered_map<std::string, std::unique_ptr<localstats::SessionFile>> sessions;
    std::uint64_t sessionPass = 0;
    localstats::HistoryFile history{historyLines};
    localstats::DebugFile debug;

    localstats::ChangeWatch watch;
    struct stat claudeFolder {};
    // This read watches each folder before reading it.
    bool watching = false;
    // This read relies on the watch: what it reported.
    const localstats::Changes* changes = nullptr;
    // Something this read relied on can change unseen.
    bool doubt = false;
    int readsBeforeWatching = 0;
    std::chrono::steady_clock::time_point everythingLookedAt;
    struct Answer {
        std::string day;
        LocalStatsResult result;
    };
    std::optional<Answer> last; // the last read's answer, while the watch vouches for it
};

} // namespace quillon
