#include "app/application.h"

#include "app/app_icon.h"
#include "app/display_check.h"
#include "app/panel_application.h"
#include "app/production_services.h"
#include "app/runtime_folder.h"
#include "app/single_instance.h"
#include "app/termination_signals.h"

#include <QApplication>
#include <QQuickWindow>

#include <iostream>

namespace quillon {

void prepareGuiPlatform() {
    adoptRuntimeFolder();
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
    if (const auto problem = displayProblem()) {
        std::cerr << *problem << '\n';
        return 1;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillon"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLON_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(appIcon());

    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &app, &QApplication::quit);

    const PanelApplication parts(
        [](KeyValueStore& snapshotStore) { return productionServices(snapshotStore); });
    return QApplication::exec();
}

} // namespace quillon
