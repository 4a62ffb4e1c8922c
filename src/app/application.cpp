#include "app/application.h"

#include "app/app_icon.h"
#include "app/app_state.h"
#include "app/auth_store.h"
#include "app/panel_window.h"
#include "app/production_services.h"
#include "app/single_instance.h"
#include "app/termination_signals.h"
#include "app/title_subscription.h"
#include "app/tray_icon.h"

#include <QApplication>
#include <QQuickWindow>

#include <iostream>

namespace quillon {

void prepareGuiPlatform() {
    if (qgetenv("XDG_SESSION_TYPE") == "wayland" &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

int runApplication(int argc, char** argv) {
    const SingleInstance instance;
    if (!instance.isFirst()) {
        std::cerr << "Quillon is already running.\n";
        return 0;
    }

    prepareGuiPlatform();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillon"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLON_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(appIcon());

    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &app, &QApplication::quit);

    AuthStore authStore;
    SettingsFile settingsFile;
    AppState appState(authStore, productionServices(settingsFile));
    // Builds its window and views only when first opened.
    PanelWindow panel(appState, authStore);
    TrayIcon tray(TrayActions{
        .togglePanel = [&panel](QPoint anchor) { panel.toggleAt(anchor); },
        .showPanel = [&panel](QPoint anchor) { panel.showAt(anchor); },
        .refresh = [&appState] { appState.refreshAll(); },
        .quit = [] { QApplication::quit(); },
    });
    const TitleSubscription titles(appState, [&tray](const auto& claude, const auto& codex) {
        tray.updateMenuBarTitle(claude, codex);
    });
    return QApplication::exec();
}

} // namespace quillon
