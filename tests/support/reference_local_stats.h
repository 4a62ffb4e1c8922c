#pragma once

#include "localstats/local_stats_result.h"
#include "model/instant.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon::test {

// The plain way to read the local Claude Code statistics: every file read whole, split into
// lines, every line parsed into a document. Nothing is remembered between calls. The tests hold
// the fast reader to its answers, and the benchmark measures against it.
class ReferenceLocalStats {
public:
    explicit ReferenceLocalStats(std::filesystem::path home);

    LocalStatsResult read(Instant now) const;
    std::int64_t countTodayMessages(std::string_view todayStr) const;
    std::int64_t sumTodayTokens(std::string_view todayStr) const;
    std::optional<std::vector<std::filesystem::path>>
    walkProjectDirs(const std::filesystem::path& root) const;
    std::optional<std::string> findProjectForSession(std::string_view sessionId) const;
    std::optional<ContextUsage> readLatestContext() const;

private:
    std::filesystem::path claudeDir_;
};

} // namespace quillon::test
