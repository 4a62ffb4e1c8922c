#include "providers/codex_provider.h"

#include "model/numbers.h"
#include "providers/bounded_file.h"
#include "providers/extra_window_search.h"
#include "providers/json_fields.h"
#include "providers/window_labels.h"

#include <cmath>
#include <cstdint>

namespace quillon::CodexProvider {
namespace {

using json_fields::numberAt;
using json_fields::objectAt;
using json_fields::stringAt;
using nlohmann::json;

// The login file is well under a kilobyte; anything far larger is not it.
constexpr std::size_t maxLoginFileBytes = 1 << 20;

std::optional<std::string> readCLIAccessToken(const std::filesystem::path& home) {
    const auto contents = readBoundedFile(home / ".codex" / "auth.json", maxLoginFileBytes);
    if (!contents) {
        return std::nullopt;
    }
    const json login = json::parse(*contents, nullptr, false);
    auto token = stringAt(objectAt(&login, "tokens"), "access_token");
    if (!token || token->empty()) {
        return std::nullopt;
    }
    return token;
}

// A reset moment sent as seconds since 1970. A moment an Instant cannot hold (beyond a few
// hundred years either side of 1970) is no real reset time; it reads as no date rather than
// overflowing the conversion.
std::optional<Instant> instantFromSeconds(std::optional<double> seconds) {
    if (!seconds || !std::isfinite(*seconds)) {
        return std::nullopt;
    }
    using Ticks = Instant::duration;
    const double ticks = *seconds * Ticks::period::den / Ticks::period::num;
    constexpr double limit = 9.2e18; // just inside the 64-bit tick counter
    if (!(ticks > -limit && ticks < limit)) {
        return std::nullopt;
    }
    return Instant(Ticks(static_cast<Ticks::rep>(ticks)));
}

std::optional<std::string> fetchCodexAccessToken(CredentialStore& authStore,
                                                 const ProviderEnvironment& env) {
    if (auto stored = authStore.codexAccessToken(); !stored.empty()) {
        return stored;
    }
    const HttpHeaders headers{
        {"Cookie", authStore.codexCookieHeader()},
        {"Accept", "application/json"},
        {"User-Agent", std::string(browserUserAgent)},
    };
    const json session = fetchJSON(env.chatgptBase + "/api/auth/session", headers, env.fetch);
    auto token = stringAt(&session, "accessToken");
    if (!token) {
        return std::nullopt;
    }
    // Kept for later refreshes until the user replaces or clears it.
    authStore.setCodexAccessToken(*token);
    return token;
}

UsageWindow window(const json& data, bool countdown, Instant now) {
    const auto resetsAt = instantFromSeconds(numberAt(&data, "reset_at"));
    return {roundToInt64(numberAt(&data, "used_percent").value_or(0)), resetsAt,
            countdown ? countdownLabel(resetsAt, now) : resetLabel(resetsAt)};
}

std::optional<UsageWindow> readWindow(const json& value) {
    if (!hasWindowShape(value, "used_percent", "reset_at", ResetForm::seconds)) {
        return std::nullopt;
    }
    return window(value, false, Instant{});
}

std::optional<FetchedUsage> fetchUsageWithToken(const std::string& token,
                                                const std::optional<std::string>& cookieHeader,
                                                const ProviderEnvironment& env) {
    HttpHeaders headers{
        {"Authorization", "Bearer " + token},
        {"Content-Type", "application/json"},
        {"oai-language", "en-US"},
        {"Referer", env.chatgptBase + "/codex/settings/usage"},
        {"User-Agent", std::string(browserUserAgent)},
    };
    if (cookieHeader) {
        headers.emplace("Cookie", *cookieHeader);
    }
    const json answer = fetchJSON(env.chatgptBase + "/backend-api/wham/usage", headers, env.fetch);
    const json* rateLimit = objectAt(&answer, "rate_limit");
    const json* primary = objectAt(rateLimit, "primary_window");
    const json* secondary = objectAt(rateLimit, "secondary_window");
    if (primary == nullptr || secondary == nullptr) {
        return std::nullopt;
    }
    UsageData usage;
    usage.provider = Provider::codex;
    usage.plan = stringAt(&answer, "plan_type");
    // The primary window always counts down and the secondary one always names a weekday,
    // whatever their actual lengths.
    const Instant now = env.clock();
    usage.fiveHour = window(*primary, true, now);
    usage.weekly = window(*secondary, false, now);
    return FetchedUsage(std::move(usage), extraWindows(answer));
}

} // namespace

std::optional<UsageData> fetchUsage(CredentialStore& authStore, const ProviderEnvironment& env) {
    auto fetched = fetchUsageWithExtras(authStore, env);
    return fetched ? std::optional(std::move(fetched->usage)) : std::nullopt;
}

ExtraWindows extraWindows(const json& answer) {
    return findExtraWindows(answer, readWindow,
                            {"rate_limit.primary_window", "rate_limit.secondary_window"});
}

std::optional<FetchedUsage> fetchUsageWithExtras(CredentialStore& authStore,
                                                 const ProviderEnvironment& env) {
    try {
        if (const auto token = readCLIAccessToken(env.home)) {
            try {
                // The CLI's token goes without any cookie.
                if (auto usage = fetchUsageWithToken(*token, std::nullopt, env)) {
                    return usage;
                }
            } catch (...) {
                // A failed or rejected CLI token falls back on the stored web credentials.
            }
        }
        // Without a cookie header even a stored token is not used.
        if (authStore.codexCookieHeader().empty()) {
            return std::nullopt;
        }
        const auto token = fetchCodexAccessToken(authStore, env);
        if (!token) {
            return std::nullopt;
        }
        return fetchUsageWithToken(*token, authStore.codexCookieHeader(), env);
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace quillon::CodexProvider
