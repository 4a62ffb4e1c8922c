#pragma once

#include "app/app_services.h"

namespace quillon {

// The services of the shipped program, talking to the real hosts.
AppServices productionServices(KeyValueStore& snapshotStore);

} // namespace quillon
