#include "tray/tray_menu.h"

#include <QCursor>
#include <QMenu>

namespace quillon {

const std::vector<TrayMenuEntry>& trayMenuEntries() {
    static const std::vector<TrayMenuEntry> entries{
        {1, TrayCommand::openPanel, QStringLiteral("Open Quillon")},
        {2, TrayCommand::refresh, QStringLiteral("Refresh Usage")},
        {3, std::nullopt, QString()},
        {4, TrayCommand::quit, QStringLiteral("Quit")},
    };
    return entries;
}

void runTrayCommand(const TrayActions& actions, TrayCommand command) {
    switch (command) {
    case TrayCommand::openPanel:
        if (actions.showPanel) {
            actions.showPanel(QCursor::pos());
        }
        return;
    case TrayCommand::refresh:
        if (actions.refresh) {
            actions.refresh();
        }
        return;
    case TrayCommand::quit:
        if (actions.quit) {
            actions.quit();
        }
        return;
    }
}

std::unique_ptr<QMenu> buildTrayContextMenu(const TrayActions& actions) {
    auto menu = std::make_unique<QMenu>();
    for (const auto& entry : trayMenuEntries()) {
        if (!entry.command) {
            menu->addSeparator();
            continue;
        }
        const TrayCommand command = *entry.command;
        QObject::connect(menu->addAction(entry.label), &QAction::triggered, menu.get(),
                         [actions, command] { runTrayCommand(actions, command); });
    }
    return menu;
}

} // namespace quillon
