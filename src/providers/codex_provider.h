#pragma once

#include "model/credential_store.h"
#include "model/usage_data.h"
#include "providers/provider_environment.h"

#include <optional>

namespace quillon::CodexProvider {

// Codex's primary (five-hour) and secondary (weekly) windows and the plan, from the ChatGPT
// usage endpoint. The token comes from the Codex CLI's own login file, else from the store, else
// from the ChatGPT session of the stored cookie (and is then saved in the store for later
// refreshes). Never throws: every failure gives nothing.
std::optional<UsageData> fetchUsage(CredentialStore& authStore, const ProviderEnvironment& env);

} // namespace quillon::CodexProvider
