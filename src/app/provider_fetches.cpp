#include "app/provider_fetches.h"

#include "providers/claude_provider.h"
#include "providers/cli_credentials.h"
#include "providers/codex_provider.h"

#include <QDir>

namespace quillon {
namespace {

template <typename FetchUsage>
AppServices::Fetch withCancellation(ProviderEnvironment env, FetchUsage fetchUsage) {
    return [env = std::move(env), fetchUsage](CredentialStore& store,
                                              const Cancellation& cancellation) {
        ProviderEnvironment current = env;
        current.fetch.cancellation = &cancellation;
        return fetchUsage(store, current);
    };
}

} // namespace

AppServices::Fetch claudeFetch(ProviderEnvironment env) {
    return withCancellation(std::move(env), &ClaudeProvider::fetchUsageWithExtras);
}

AppServices::Fetch codexFetch(ProviderEnvironment env) {
    return withCancellation(std::move(env), &CodexProvider::fetchUsageWithExtras);
}

ProviderEnvironment productionProviderEnvironment() {
    ProviderEnvironment env;
    env.home = QDir::homePath().toStdString();
    env.userName = currentLoginName();
    return env;
}

} // namespace quillon
