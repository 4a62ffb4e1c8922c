#pragma once

#include <QPoint>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QMenu;

namespace quillon {

// What the panel item can ask of the application.
struct TrayActions {
    // A click on the item: show the panel for that point, or hide it.
    std::function<void(QPoint)> togglePanel;
    // "Open Quillon": show the panel for that point.
    std::function<void(QPoint)> showPanel;
    std::function<void()> refresh;
    std::function<void()> quit;
};

enum class TrayCommand { openPanel, refresh, quit };

// One entry of the item's menu; an entry without a command is a separator.
struct TrayMenuEntry {
    int id = 0;
    std::optional<TrayCommand> command;
    QString label;
};

// "Open Quillon", "Refresh Usage", a separator, "Quit"; ids from 1 up (0 is the menu itself).
const std::vector<TrayMenuEntry>& trayMenuEntries();

// Carries out one menu command; "Open Quillon" opens the panel at the mouse pointer.
void runTrayCommand(const TrayActions& actions, TrayCommand command);

// The same entries as a context menu for the panels that draw menus themselves.
std::unique_ptr<QMenu> buildTrayContextMenu(const TrayActions& actions);

} // namespace quillon
