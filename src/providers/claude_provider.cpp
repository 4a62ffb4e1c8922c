#include "providers/claude_provider.h"

#include "model/numbers.h"
#include "providers/cli_credentials.h"
#include "providers/extra_window_search.h"
#include "providers/json_fields.h"
#include "providers/window_labels.h"

#include <chrono>

namespace quillon::ClaudeProvider {
namespace {

using json_fields::firstPresent;
using json_fields::firstStringAt;
using json_fields::numberAt;
using json_fields::objectAt;
using json_fields::stringAt;
using nlohmann::json;

struct Figures {
    std::optional<std::string> plan;
    double fiveHourUtilization = 0;
    std::optional<std::string> fiveHourResetsAt;
    double weeklyUtilization = 0;
    std::optional<std::string> weeklyResetsAt;
    const json* sonnet = nullptr;
};

std::optional<LocalStatsResult> localStats(const ProviderEnvironment& env) {
    if (!env.readLocalStats) {
        return std::nullopt;
    }
    try {
        return env.readLocalStats();
    } catch (...) {
        // Unreadable local files cost the local figures, not the usage figures.
        return std::nullopt;
    }
}

UsageData buildUsage(const Figures& figures, const ProviderEnvironment& env) {
    const auto fiveHourDate = parseDate(figures.fiveHourResetsAt);
    const auto weeklyDate = parseDate(figures.weeklyResetsAt);
    const auto local = localStats(env);
    UsageData usage;
    usage.provider = Provider::claude;
    usage.plan = figures.plan;
    // The five-hour window counts down; the weekly one names a weekday and time.
    usage.fiveHour = {roundToInt64(figures.fiveHourUtilization), fiveHourDate,
                      countdownLabel(fiveHourDate, env.clock())};
    usage.weekly = {roundToInt64(figures.weeklyUtilization), weeklyDate, resetLabel(weeklyDate)};
    usage.sonnet = parseWindow(figures.sonnet);
    if (local) {
        usage.contextUsage = local->context;
        usage.today = local->today;
    }
    return usage;
}

std::optional<UsageWindow> readWindow(const json& value) {
    if (!hasWindowShape(value, "utilization", "resets_at", ResetForm::text)) {
        return std::nullopt;
    }
    return parseWindow(&value);
}

// Any JSON object gives figures here, an error body included: that reads as 0 % everywhere.
std::optional<FetchedUsage> fetchUsageViaOAuth(const std::string& token,
                                               const ProviderEnvironment& env) {
    const HttpHeaders headers{
        {"Authorization", "Bearer " + token},
        {"Content-Type", "application/json"},
        {"User-Agent", "claude-code/2.1.5"},
        {"anthropic-beta", "oauth-2025-04-20"},
    };
    const json answer = fetchJSON(env.claudeApiBase + "/api/oauth/usage", headers, env.fetch);
    const json* fiveHour = objectAt(&answer, "five_hour");
    const json* sevenDay = objectAt(&answer, "seven_day");

    Figures figures;
    figures.fiveHourUtilization =
        firstPresent(numberAt(fiveHour, "utilization"), numberAt(&answer, "fiveHourUtilization"))
            .value_or(0);
    figures.weeklyUtilization =
        firstPresent(numberAt(sevenDay, "utilization"), numberAt(&answer, "sevenDayUtilization"))
            .value_or(0);
    figures.fiveHourResetsAt =
        firstPresent(stringAt(fiveHour, "resets_at"), stringAt(&answer, "fiveHourResetsAt"));
    figures.weeklyResetsAt =
        firstPresent(stringAt(sevenDay, "resets_at"), stringAt(&answer, "sevenDayResetsAt"));
    // The OAuth answer names the plan type first; the organization object below names the plan.
    figures.plan = firstPresent(firstStringAt(&answer, {"plan_type", "plan", "tier"}),
                                stringAt(objectAt(&answer, "subscription"), "plan"));
    figures.sonnet = objectAt(&answer, "seven_day_sonnet");
    return FetchedUsage(buildUsage(figures, env), extraWindows(answer));
}

std::optional<FetchedUsage> fetchUsageViaCookies(const std::string& cookieHeader,
                                                 const ProviderEnvironment& env) {
    const HttpHeaders headers{
        {"Cookie", cookieHeader},
        {"Content-Type", "application/json"},
        {"Anthropic-Client-Platform", "web_claude_ai"},
        {"User-Agent", std::string(browserUserAgent)},
    };
    const json organizations =
        fetchJSONArray(env.claudeWebBase + "/api/organizations", headers, env.fetch);
    // Only the first organization counts, even when it lacks an id and a later one has one.
    if (organizations.empty()) {
        return std::nullopt;
    }
    const json& organization = organizations.front();
    const auto uuid = stringAt(&organization, "uuid");
    if (!uuid) {
        return std::nullopt;
    }
    const json answer =
        fetchJSON(env.claudeWebBase + "/api/organizations/" + *uuid + "/usage", headers, env.fetch);
    const json* fiveHour = objectAt(&answer, "five_hour");
    const json* sevenDay = objectAt(&answer, "seven_day");
    if (fiveHour == nullptr || sevenDay == nullptr) {
        return std::nullopt;
    }

    // No top-level fallback keys on this path.
    Figures figures;
    figures.fiveHourUtilization = numberAt(fiveHour, "utilization").value_or(0);
    figures.weeklyUtilization = numberAt(sevenDay, "utilization").value_or(0);
    figures.fiveHourResetsAt = stringAt(fiveHour, "resets_at");
    figures.weeklyResetsAt = stringAt(sevenDay, "resets_at");
    // The plan comes from the organization, not from the usage answer.
    figures.plan = firstPresent(firstStringAt(&organization, {"plan", "plan_type", "tier"}),
                                stringAt(objectAt(&organization, "subscription"), "plan"));
    figures.sonnet = objectAt(&answer, "seven_day_sonnet");
    return FetchedUsage(buildUsage(figures, env), extraWindows(answer));
}

// The stored expiry is compared with seconds since 1970 as it stands, without guessing its
// unit: a stamp kept in milliseconds is never found past, and such a token is simply tried.
bool hasExpired(const CLICredentials& credentials, Instant now) {
    const double nowSeconds = std::chrono::duration<double>(now.time_since_epoch()).count();
    return credentials.expiresAt && nowSeconds > *credentials.expiresAt;
}

} // namespace

std::optional<UsageData> fetchUsage(CredentialStore& authStore, const ProviderEnvironment& env) {
    auto fetched = fetchUsageWithExtras(authStore, env);
    return fetched ? std::optional(std::move(fetched->usage)) : std::nullopt;
}

ExtraWindows extraWindows(const json& answer) {
    return findExtraWindows(answer, readWindow, {"five_hour", "seven_day", "seven_day_sonnet"});
}

std::optional<FetchedUsage> fetchUsageWithExtras(CredentialStore& authStore,
                                                 const ProviderEnvironment& env) {
    try {
        const auto credentials = readCLICredentials({.securityTool = env.securityTool,
                                                     .userName = env.userName,
                                                     .home = env.home,
                                                     .toolTimeout = env.securityToolTimeout,
                                                     .cancellation = env.fetch.cancellation});
        if (credentials && !hasExpired(*credentials, env.clock())) {
            try {
                if (auto usage = fetchUsageViaOAuth(credentials->accessToken, env)) {
                    return usage;
                }
            } catch (...) {
                // A failed OAuth request falls back on the stored cookie.
            }
        }
        const std::string cookieHeader = authStore.claudeCookieHeader();
        if (cookieHeader.empty()) {
            return std::nullopt;
        }
        return fetchUsageViaCookies(cookieHeader, env);
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace quillon::ClaudeProvider
