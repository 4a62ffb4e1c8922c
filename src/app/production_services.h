#pragma once

#include "app/app_services.h"
#include "providers/provider_environment.h"

namespace quillon {

// The services of the shipped program: the real providers at the real hosts, desktop
// notifications, and the settings file for the snapshot of the command-line answers.
AppServices productionServices(KeyValueStore& snapshotStore);

// The same with the providers in `providers` (the demo and the whole-application tests point
// them at local servers). Without a local-stats step of its own, the environment gets one long-
// lived reader of its home folder.
AppServices productionServices(KeyValueStore& snapshotStore, ProviderEnvironment providers);

} // namespace quillon
