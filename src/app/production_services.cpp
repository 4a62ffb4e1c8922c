#include "app/production_services.h"

#include "app/provider_fetches.h"
#include "localstats/local_stats_reader.h"
#include "notifications/desktop_notifications.h"

#include <memory>

namespace quillon {

AppServices productionServices(KeyValueStore& snapshotStore) {
    return productionServices(snapshotStore, productionProviderEnvironment());
}

AppServices productionServices(KeyValueStore& snapshotStore, ProviderEnvironment providers) {
    if (!providers.readLocalStats) {
        // One reader for the life of the program: it remembers what it read, so that a refresh
        // reads only what changed. The fetches run on one thread at a time, as it requires.
        const auto reader = std::make_shared<LocalStatsReader>(providers.home);
        providers.readLocalStats = [reader, clock = providers.clock] {
            return reader->read(clock());
        };
    }
    AppServices services;
    services.fetchClaude = claudeFetch(providers);
    services.fetchCodex = codexFetch(std::move(providers));
    services.snapshotStore = &snapshotStore;
    // Alerts go to the desktop's notification service, never waiting for it.
    const auto notifications = std::make_shared<DesktopNotifications>();
    services.sendNotification = [notifications](const std::string& title, const std::string& body) {
        notifications->send(QString::fromStdString(title), QString::fromStdString(body));
    };
    services.requestNotificationPermission = [notifications] {
        notifications->requestPermission();
    };
    return services;
}

} // namespace quillon
