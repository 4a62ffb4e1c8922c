#include "app/application.h"

#include "app/app_state.h"
#include "app/auth_store.h"
#include "app/production_services.h"
#include "app/termination_signals.h"

#include <QApplication>

namespace quillon {

int runApplication(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillon"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLON_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);

    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &app,
                     &QApplication::quit);

    AuthStore authStore;
    SettingsFile settingsFile;
    AppState appState(authStore, productionServices(settingsFile));
    return QApplication::exec();
}

} // namespace quillon
