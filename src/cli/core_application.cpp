#include "cli/command_application.h"

namespace quillon {
namespace {

char commandName[] = "quillon";
char* commandArguments[] = {commandName, nullptr};
int commandArgumentCount = 1;

} // namespace

int& commandArgc() {
    return commandArgumentCount;
}

char** commandArgv() {
    return commandArguments;
}

void silenceQtMessages() {
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
}

std::unique_ptr<QCoreApplication> makeCoreApplication() {
    if (QCoreApplication::instance() != nullptr) {
        return nullptr;
    }
    silenceQtMessages();
    return std::make_unique<QCoreApplication>(commandArgc(), commandArgv());
}

} // namespace quillon
