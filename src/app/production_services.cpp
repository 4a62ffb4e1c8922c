#include "app/production_services.h"

#include "app/desktop_notifications.h"

#include <memory>

namespace quillon {

AppServices productionServices(KeyValueStore& snapshotStore) {
    AppServices services;
    // The providers are wired in as they arrive; until then a fetch yields no figures.
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
