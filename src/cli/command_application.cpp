#include "cli/command_application.h"

#include <QGuiApplication>

namespace quillon {

std::unique_ptr<QCoreApplication> makeCommandApplication(bool needsGui) {
    if (!needsGui) {
        return makeCoreApplication();
    }
    if (QCoreApplication::instance() != nullptr) {
        return nullptr;
    }
    silenceQtMessages();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    return std::make_unique<QGuiApplication>(commandArgc(), commandArgv());
}

} // namespace quillon
