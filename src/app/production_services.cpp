#include "app/production_services.h"

namespace quillon {

AppServices productionServices(KeyValueStore& snapshotStore) {
    AppServices services;
    // The providers, notifications and snapshot are wired in as they arrive; until then a fetch
    // yields no figures and an alert goes nowhere.
    services.snapshotStore = &snapshotStore;
    return services;
}

} // namespace quillon
