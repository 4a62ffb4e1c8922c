#pragma once

#include "model/credential_store.h"
#include "model/usage_data.h"
#include "providers/provider_environment.h"

#include <optional>

namespace quillon::ClaudeProvider {

// Claude's five-hour, weekly and Sonnet windows, the plan, and today's local figures. Tries the
// Claude Code login against the OAuth usage endpoint first, then the stored Claude web cookie
// against the organization endpoints. Never throws: every failure gives nothing.
std::optional<UsageData> fetchUsage(CredentialStore& authStore, const ProviderEnvironment& env);

} // namespace quillon::ClaudeProvider
