#pragma once

#include "localstats/local_stats_result.h"
#include "model/instant.h"
#include "providers/fetch_json.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

// Everything the providers take from the world around them. The defaults are the real
// services; only tests point the bases elsewhere.
struct ProviderEnvironment {
    std::string claudeApiBase = "https://api.anthropic.com";
    std::string claudeWebBase = "https://claude.ai";
    std::string chatgptBase = "https://chatgpt.com";
    // The user's home folder: Claude Code's and Codex's own login files live below it.
    std::filesystem::path home;
    // The keychain tool; where it does not exist the Claude Code credentials file is read.
    std::string securityTool = "/usr/bin/security";
    std::chrono::milliseconds securityToolTimeout{std::chrono::seconds(10)};
    // Login name handed to the keychain tool.
    std::string userName;
    Clock clock = systemClock();
    FetchOptions fetch;
    // Today's Claude Code activity and context use; empty means "no local figures".
    std::function<std::optional<LocalStatsResult>()> readLocalStats;
};

// The browser the web endpoints expect to talk to.
inline constexpr std::string_view browserUserAgent =
    "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/537.36";

} // namespace quillon
