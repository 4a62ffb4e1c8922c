#pragma once

#include "model/instant.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quillon {

// A history of raised alerts, bounded by maxHistorySize. It is part of the model only: nothing
// creates one, and throttling decisions do not consult it.
class SmartNotificationEngine {
public:
    // One raised alert.
    struct NotificationRecord {
        std::string provider;
        std::int64_t percent = 0;
        std::int64_t threshold = 0;
        Instant timestamp;

        bool operator==(const NotificationRecord&) const = default;
    };

    static constexpr std::int64_t maxHistorySize = 50;

    SmartNotificationEngine() = default;
    // One shared engine, never a copy.
    SmartNotificationEngine(const SmartNotificationEngine&) = delete;
    SmartNotificationEngine& operator=(const SmartNotificationEngine&) = delete;

    std::vector<NotificationRecord> notificationHistory;
};

} // namespace quillon
