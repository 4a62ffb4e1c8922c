#pragma once

#include "app/app_services.h"
#include "app/app_state.h"
#include "app/auth_store.h"
#include "app/unseen_notice.h"
#include "bus/quillon_bus.h"
#include "panel/panel_window.h"
#include "tray/title_subscription.h"
#include "tray/tray_icon.h"

#include <functional>

namespace quillon {

// Everything the panel application is made of once the QApplication exists: the credential
// store, the state with its refresh cycle, the panel (built on first open), the tray item, the
// subscription that keeps its title current, and the application's interface on the session bus.
// The shipped program builds it with the real services; the demo and the whole-application tests
// with services pointed at local servers.
class PanelApplication {
public:
    // Builds the services once the credential store exists; the snapshot store is the settings
    // file.
    using ServicesFactory = std::function<AppServices(KeyValueStore& snapshotStore)>;

    explicit PanelApplication(const ServicesFactory& makeServices);

    AuthStore& authStore() { return authStore_; }
    AppState& appState() { return appState_; }
    PanelWindow& panel() { return panel_; }
    TrayIcon& tray() { return tray_; }
    QuillonBus& bus() { return bus_; }

private:
    // The tray menu's lines of figures, which the bus offers to shells that draw the menu.
    QStringList menuRows();

    AuthStore authStore_;
    SettingsFile settingsFile_;
    AppState appState_;
    PanelWindow panel_;
    TrayIcon tray_;
    TitleSubscription titles_;
    QuillonBus bus_;
    UnseenNotice unseen_;
};

} // namespace quillon
