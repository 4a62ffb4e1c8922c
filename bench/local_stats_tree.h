#pragma once

#include <cstdint>
#include <filesystem>

namespace quillon::bench {

struct TreeShape {
    std::uint64_t sessionBytes = std::uint64_t{1100} << 20; // a little over 1 GiB
    int projects = 220;
    int sessionsPerProject = 10;
    int projectsWithSubFolders = 20;
};

// Writes a home folder with a heavy user's Claude Code files under `home`/.claude: session logs
// of realistic lines (usage mostly inside the message, sometimes at the top level; a few lines of
// several megabytes), a prompt history and debug logs. Reuses a tree that is already complete.
void ensureTree(const std::filesystem::path& home, const TreeShape& shape);

// The bytes of all session logs under `home`/.claude/projects and the largest one.
struct TreeSize {
    std::uint64_t sessionBytes = 0;
    std::uint64_t largestFile = 0;
    int sessionFiles = 0;
};
TreeSize measureTree(const std::filesystem::path& home);

} // namespace quillon::bench
