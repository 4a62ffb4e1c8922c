#include "tray/tray_menu.h"

#include "model/pace.h"

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

namespace {

QString fiveHourPace(const UsageData& usage, Instant now) {
    return QString::fromStdString(pacePhrase(usage.fiveHour, WindowKind::fiveHour, now));
}

} // namespace

QString providerMenuRow(const UsageData& usage, Instant now) {
    QString row =
        QStringLiteral("%1  %2%").arg(providerName(usage.provider)).arg(usage.fiveHour.percent);
    const QString separator = QStringLiteral(" \u00b7 ");
    if (!usage.fiveHour.resetLabel.empty()) {
        row += separator + QString::fromStdString(usage.fiveHour.resetLabel);
    }
    if (const QString pace = fiveHourPace(usage, now); !pace.isEmpty()) {
        row += separator + pace;
    }
    return row;
}

QString paceLines(const std::optional<UsageData>& claude, const std::optional<UsageData>& codex,
                  Instant now) {
    QStringList lines;
    for (const auto* usage : {&claude, &codex}) {
        if (!*usage) {
            continue;
        }
        if (const QString pace = fiveHourPace(**usage, now); !pace.isEmpty()) {
            lines << QStringLiteral("%1: %2").arg(providerName((*usage)->provider), pace);
        }
    }
    return lines.join(QLatin1Char('\n'));
}

std::vector<TrayMenuEntry> trayMenuEntries(const std::optional<UsageData>& claude,
                                           const std::optional<UsageData>& codex, Instant now) {
    std::vector<TrayMenuEntry> entries;
    if (claude) {
        entries.push_back({11, std::nullopt, providerMenuRow(*claude, now)});
    }
    if (codex) {
        entries.push_back({12, std::nullopt, providerMenuRow(*codex, now)});
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
