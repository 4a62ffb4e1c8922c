#pragma once

#include "model/cancellation.h"
#include "model/credential_store.h"
#include "model/extra_windows.h"
#include "model/instant.h"
#include "model/key_value_store.h"
#include "model/usage_data.h"

#include <functional>
#include <optional>
#include <string>

namespace quillon {

// What the refresh cycle calls out to. Production wires the real providers, the desktop
// notification service and the settings file; tests hand in their own functions.
struct AppServices {
    // One provider's fetch. Runs on the background task; never throws; an absent result means
    // "no new figures". A function that gives UsageData alone gives no windows beyond the named.
    using Fetch = std::function<std::optional<FetchedUsage>(CredentialStore&, const Cancellation&)>;

    Fetch fetchClaude;
    Fetch fetchCodex;
    // Shows one desktop notification; must not block the main thread.
    std::function<void(const std::string& title, const std::string& body)> sendNotification;
    // Asked once at start-up; the answer is not used.
    std::function<void()> requestNotificationPermission;
    // Where the snapshot for the command-line intents is saved; none means "not saved".
    KeyValueStore* snapshotStore = nullptr;
    Clock clock = systemClock();
};

} // namespace quillon
