#pragma once

#include "app/app_services.h"
#include "providers/provider_environment.h"

namespace quillon {

// The refresh cycle's fetch of each provider, in the given environment. Each call hands the
// refresh's cancellation on to the transfers and to the keychain tool.
AppServices::Fetch claudeFetch(ProviderEnvironment env);
AppServices::Fetch codexFetch(ProviderEnvironment env);

// The environment of the shipped program: the real services, the user's home folder and login
// name, and the Claude Code activity read from that home folder.
ProviderEnvironment productionProviderEnvironment();

} // namespace quillon
