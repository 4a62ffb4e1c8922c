#include "cli/status_fetch.h"

#include "app/auth_store.h"
#include "app/provider_fetches.h"
#include "localstats/local_stats_reader.h"
#include "model/menu_bar_title.h"

#include <memory>

namespace quillon {
namespace {

// A provider's figures for --once. The credentials are read as the application reads them; a
// token the fetch obtains on the way is used for this fetch only and never stored.
class ReadOnlyCredentials : public CredentialStore {
public:
    explicit ReadOnlyCredentials(const CredentialStore& store) : store_(store) {}
    std::string claudeCookieHeader() const override { return store_.claudeCookieHeader(); }
    std::string codexCookieHeader() const override { return store_.codexCookieHeader(); }
    std::string codexAccessToken() const override {
        return obtained_.empty() ? store_.codexAccessToken() : obtained_;
    }
    void setCodexAccessToken(const std::string& token) override { obtained_ = token; }

private:
    const CredentialStore& store_;
    std::string obtained_;
};

std::optional<FetchedUsage> fetchQuietly(const AppServices::Fetch& fetch, CredentialStore& store) {
    const Cancellation cancellation;
    try {
        return fetch(store, cancellation);
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace

StatusFigures fetchFigures() {
    ProviderEnvironment env = productionProviderEnvironment();
    const auto reader = std::make_shared<LocalStatsReader>(env.home, false);
    env.readLocalStats = [reader, clock = env.clock] { return reader->read(clock()); };
    const AuthStore stored;
    ReadOnlyCredentials credentials(stored);
    StatusFigures figures;
    if (auto claude = fetchQuietly(claudeFetch(env), credentials)) {
        figures.claude = std::move(claude->usage);
        figures.claudeExtra = std::move(claude->extraWindows);
    }
    if (auto codex = fetchQuietly(codexFetch(env), credentials)) {
        figures.codex = std::move(codex->usage);
        figures.codexExtra = std::move(codex->extraWindows);
    }
    figures.lastUpdated = env.clock();
    figures.title = menuBarTitle(figures.claude, figures.codex);
    return figures;
}

} // namespace quillon
