#pragma once

#include "model/instant.h"

#include <filesystem>

namespace quillon::demo {

// Fills `home` with what a logged-in developer's home folder holds: Claude Code's login and its
// files for today (prompts, session logs with token counts, a debug log whose last compaction
// line gives the context use) and the Codex login file.
void writeSampleHome(const std::filesystem::path& home, Instant now);

} // namespace quillon::demo
