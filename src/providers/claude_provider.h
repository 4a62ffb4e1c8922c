#pragma once

#include "model/credential_store.h"
#include "model/extra_windows.h"
#include "model/usage_data.h"
#include "providers/provider_environment.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>

namespace quillon::ClaudeProvider {

// Claude's five-hour, weekly and Sonnet windows, the plan, and today's local figures. Tries the
// Claude Code login against the OAuth usage endpoint first, then the stored Claude web cookie
// against the organization endpoints. Never throws: every failure gives nothing.
std::optional<UsageData> fetchUsage(CredentialStore& authStore, const ProviderEnvironment& env);

// The same fetch, with the windows the usage answer carried beyond the named ones.
std::optional<FetchedUsage> fetchUsageWithExtras(CredentialStore& authStore,
                                                 const ProviderEnvironment& env);

// The windows of a usage answer beyond five_hour, seven_day and seven_day_sonnet: objects with
// a number `utilization` and a `resets_at` that is a text or null, labelled as the weekly windows
// are.
ExtraWindows extraWindows(const nlohmann::json& answer);

} // namespace quillon::ClaudeProvider
