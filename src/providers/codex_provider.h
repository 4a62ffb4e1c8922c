#pragma once

#include "model/credential_store.h"
#include "model/extra_windows.h"
#include "model/usage_data.h"
#include "providers/provider_environment.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>

namespace quillon::CodexProvider {

// Codex's primary (five-hour) and secondary (weekly) windows and the plan, from the ChatGPT
// usage endpoint. The token comes from the Codex CLI's own login file, else from the store, else
// from the ChatGPT session of the stored cookie (and is then saved in the store for later
// refreshes). Never throws: every failure gives nothing.
std::optional<UsageData> fetchUsage(CredentialStore& authStore, const ProviderEnvironment& env);

// The same fetch, with the windows the usage answer carried beyond the named ones.
std::optional<FetchedUsage> fetchUsageWithExtras(CredentialStore& authStore,
                                                 const ProviderEnvironment& env);

// The windows of a usage answer beyond rate_limit's primary and secondary windows: objects with
// a number `used_percent` and a `reset_at` that is a number of seconds since 1970 or null,
// labelled as the secondary window is.
ExtraWindows extraWindows(const nlohmann::json& answer);

} // namespace quillon::CodexProvider
