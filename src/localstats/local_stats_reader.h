#pragma once

#include "localstats/folder_lister.h"
#include "localstats/local_stats_result.h"
#include "model/instant.h"
#include "model/usage_data.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// Today's prompts and tokens and the latest session's context use, from the files the Claude
// Code tool keeps under ~/.claude: "history.jsonl", the session logs under "projects" and the
// debug logs under "debug". Nothing on disk makes it fail; what cannot be read counts for
// nothing.
//
// Each call gives exactly what reading every file afresh would give, but what was read before is
// remembered (per file: its identity and what its lines add up to per day), so a refresh reads
// only what changed since. Where the kernel can report every change to the folders read (local
// file systems, no second name for any file read), read() asks it what changed instead of
// looking at every file; anything it cannot vouch for sends it back to looking at every file.
// One thread at a time, which need not be the one that constructed it.
class LocalStatsReader {
public:
    // Without `watchForChanges`, every read() looks at every file.
    explicit LocalStatsReader(const std::filesystem::path& home, bool watchForChanges = true);
    ~LocalStatsReader();
    LocalStatsReader(const LocalStatsReader&) = delete;
    LocalStatsReader& operator=(const LocalStatsReader&) = delete;

    // Always present. "Today" is the UTC date of `now`.
    std::optional<LocalStatsResult> read(Instant now);

    // Prompts in the history whose timestamp starts with `todayStr` (a plain prefix: "YYYY-MM-DD"
    // names a day, and any other text matches as it stands).
    std::int64_t countTodayMessages(std::string_view todayStr);
    // Tokens of the session-log lines whose textual timestamp starts with `todayStr` (a plain
    // prefix, as above) and of those with no textual timestamp. An overflowing sum stops the
    // program.
    std::int64_t sumTodayTokens(std::string_view todayStr);
    // The folders that may hold session logs: each folder under `root` that holds a ".jsonl"
    // name, else every entry one level further down. Nothing when `root` exists but cannot be
    // listed; an empty list when it does not exist.
    std::optional<std::vector<std::filesystem::path>>
    walkProjectDirs(const std::filesystem::path& root);
    // The project of the first candidate folder holding a name that starts with `sessionId`.
    std::optional<std::string> findProjectForSession(std::string_view sessionId);
    // The context use reported last in the newest debug log.
    std::optional<ContextUsage> readLatestContext();

private:
    class Pass;
    struct Caches;

    std::int64_t countMessages(std::string_view todayStr);
    std::int64_t sumTokens(std::string_view todayStr);
    std::int64_t sumTokensMatching(const std::vector<std::filesystem::path>& candidates,
                                   std::string_view prefix);
    std::optional<std::string> projectFor(std::string_view sessionId);
    std::optional<ContextUsage> latestContext();

    void startWatching();

    std::filesystem::path claudeDir_;
    bool watchForChanges_;
    std::unique_ptr<Caches> caches_;
    int passDepth_ = 0;
};

} // namespace quillon
