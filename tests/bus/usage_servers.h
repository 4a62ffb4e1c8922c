#pragma once

#include "providers/formatters.h"
#include "providers/provider_environment.h"
#include "support/local_server.h"
#include "support/temp_dir.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace quillon::test {

// The two usage services on local servers, and a home folder in which Claude Code and Codex are
// logged in, so that the real providers fetch from them.
class UsageServers {
public:
    UsageServers() {
        home.write(".claude/.credentials.json", R"({"claudeAiOauth":{"accessToken":"oauth"}})");
        home.write(".codex/auth.json", R"({"tokens":{"access_token":"cli-token"}})");
        setFigures(42, 17);
    }

    // The five-hour figures both services report from now on; each window resets `resetsIn`
    // after the servers started. Counting from a fixed moment keeps the reset times of new
    // figures the same as the old ones, whenever the figures change: only what a test changes
    // changes.
    void setFigures(double claude, double codex,
                    std::chrono::seconds resetsIn = std::chrono::hours(2)) {
        claudeFigure = claude;
        codexFigure = codex;
        const auto resetsAt = started + resetsIn;
        const std::string iso = Formatters::formatIso8601(resetsAt);
        const auto unix = std::chrono::floor<std::chrono::seconds>(resetsAt).time_since_epoch();
        claudeApi.on("/api/oauth/usage", 200,
                     R"({"five_hour":{"utilization":)" + std::to_string(claude) +
                         R"(,"resets_at":")" + iso + R"("},"seven_day":{"utilization":7},)" +
                         claudeExtra + R"("plan_type":"max"})");
        chatgpt.on("/backend-api/wham/usage", 200,
                   R"({"rate_limit":{"primary_window":{"used_percent":)" + std::to_string(codex) +
                       R"(,"reset_at":)" + std::to_string(unix.count()) + R"(},)" + codexExtra +
                       R"("secondary_window":{"used_percent":60}},"plan_type":"plus"})");
    }

    // From now on both services also report a window the program does not name: Claude a
    // weekly window for another model at 12 %, resetting 50 hours after the servers started,
    // Codex a third window at 4 % without a reset time.
    void addWindows() {
        const std::string iso = Formatters::formatIso8601(started + std::chrono::hours(50));
        claudeExtra = R"("seven_day_opus_max":{"utilization":12.4,"resets_at":")" + iso + R"("},)";
        codexExtra = R"("tertiary_window":{"used_percent":4,"reset_at":null},)";
        setFigures(claudeFigure, codexFigure);
    }

    ProviderEnvironment environment() const {
        return environment(claudeApi.baseUrl(), chatgpt.baseUrl(), home.path());
    }

    // The same environment in another process, from the servers' addresses and the home folder.
    static ProviderEnvironment environment(const std::string& claudeBase,
                                           const std::string& chatgptBase,
                                           const std::filesystem::path& home) {
        ProviderEnvironment env;
        env.claudeApiBase = env.claudeWebBase = claudeBase;
        env.chatgptBase = chatgptBase;
        env.home = home;
        env.securityTool = (home / "no-security-tool").string();
        env.userName = "ada";
        env.fetch.timeout = std::chrono::seconds(10);
        env.readLocalStats = [] { return LocalStatsResult{TodayUsage{3, "900"}, std::nullopt}; };
        return env;
    }

    const std::chrono::system_clock::time_point started = std::chrono::system_clock::now();
    double claudeFigure = 42;
    double codexFigure = 17;
    // Members of each answer beyond the named windows; see addWindows().
    std::string claudeExtra;
    std::string codexExtra;
    TempDir home;
    LocalServer claudeApi;
    LocalServer chatgpt;
};

} // namespace quillon::test
