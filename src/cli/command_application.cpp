#include "cli/command_application.h"

#include <QGuiApplication>

namespace quillon {

std::unique_ptr<QCoreApplication> makeCommandApplication(bool needsGui) {
    static int argc = 1;
    static char name[] = "quillon";
    static char* argv[] = {name, nullptr};
    if (QCoreApplication::instance() != nullptr) {
        return nullptr;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    if (needsGui) {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") &&
            qEnvironmentVariableIsEmpty("DISPLAY") &&
            qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
        return std::make_unique<QGuiApplication>(argc, argv);
    }
    return std::make_unique<QCoreApplication>(argc, argv);
}

} // namespace quillon
