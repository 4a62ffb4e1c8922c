#include "app/quillon_main.h"

#include "app/application.h"
#include "cli/command_line.h"
#include "notifications/desktop_notifications.h"
#include "panel/card_renderer.h"

#include <chrono>
#include <iostream>

namespace quillon {
namespace {

// How long a one-shot command waits for the notification service before it exits anyway.
constexpr int notifyTimeoutMs = 3000;

// The panel's card views and the desktop's notification service, for the commands' extras.
CommandExtras commandExtras() {
    return {
        .saveCard =
            [](const std::optional<SharedUsageData>& snapshot, const std::string& path) {
                const UsageCard card(snapshot, std::chrono::system_clock::now());
                return card.savePng(QString::fromStdString(path));
            },
        .notify =
            [](const std::string& title, const std::string& body) {
                return DesktopNotifications().sendAndWait(
                    QString::fromStdString(title), QString::fromStdString(body), notifyTimeoutMs);
            },
    };
}

} // namespace

int quillonMain(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (const auto status =
            runCommandLine(args, {std::cin, std::cout, std::cerr}, commandExtras())) {
        return *status;
    }
    return runApplication(argc, argv);
}

} // namespace quillon
