#include "tray/tray_menu.h"

#include <QMenu>

namespace quillon {
namespace {

QString providerName(Provider provider) {
    switch (provider) {
    case Provider::claude:
        return QStringLiteral("Claude");
    case Provider::codex:
        return QStringLiteral("Codex");
    }
    return {};
}

} // namespace

QString providerMenuRow(const UsageData& usage) {
    return QStringLiteral("%1  %2% \u00b7 Resets %3")
        .arg(providerName(usage.provider))
        .arg(usage.fiveHour.percent)
        .arg(QString::fromStdString(usage.fiveHour.resetLabel));
}

std::vector<TrayMenuEntry> trayMenuEntries(const std::optional<UsageData>& claude,
                                           const std::optional<UsageData>& codex) {
    std::vector<TrayMenuEntry> entries;
    if (claude) {
        entries.push_back({11, std::nullopt, providerMenuRow(*claude)});
    }
    if (codex) {
        entries.push_back({12, std::nullopt, providerMenuRow(*codex)});
    }
    entries.push_back({1, TrayCommand::openPanel, QStringLiteral("Open Quillon")});
    entries.push_back({2, TrayCommand::refresh, QStringLiteral("Refresh Usage")});
    entries.push_back({3, std::nullopt, QString()});
    entries.push_back({4, TrayCommand::quit, QStringLiteral("Quit")});
    return entries;
}

void runTrayCommand(const TrayActions& actions, TrayCommand command, QPoint anchor) {
    switch (command) {
    case TrayCommand::openPanel:
        if (actions.showPanel) {
            actions.showPanel(anchor);
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

void fillTrayContextMenu(QMenu& menu, const std::vector<TrayMenuEntry>& entries,
                         const std::function<void(TrayCommand)>& run) {
    menu.clear();
    for (const auto& entry : entries) {
        if (entry.isSeparator()) {
            menu.addSeparator();
            continue;
        }
        QAction* action = menu.addAction(entry.label);
        if (!entry.command) {
            // A line of figures: shown, not chosen.
            action->setEnabled(false);
            continue;
        }
        const TrayCommand command = *entry.command;
        QObject::connect(action, &QAction::triggered, &menu, [run, command] { run(command); });
    }
}

} // namespace quillon
