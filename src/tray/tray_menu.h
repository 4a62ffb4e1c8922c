#pragma once

#include "model/instant.h"
#include "model/usage_data.h"

#include <QPoint>
#include <QString>

#include <functional>
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
    // The item's menu is opening: that click was on the item, so an open panel closes, as a
    // click on the item does where it toggles the panel (GNOME opens the menu on every click).
    std::function<void()> hidePanel;
    std::function<void()> refresh;
    std::function<void()> quit;
};

enum class TrayCommand { openPanel, refresh, quit };

// One entry of the item's menu: a command, a line of figures (a label without a command), or a
// separator (neither).
struct TrayMenuEntry {
    int id = 0;
    std::optional<TrayCommand> command;
    QString label;

    bool isSeparator() const { return !command && label.isEmpty(); }
    bool isFigures() const { return !command && !label.isEmpty(); }
    bool operator==(const TrayMenuEntry&) const = default;
};

// The line of one provider's figures at `now`: its name, two blanks, the five-hour percent,
// then " · " and the five-hour reset text where there is one, and " · " and the window's pace
// where there is something to say: "Claude  42% · Resets in 2h 05m · at this pace 64% by the
// reset".
QString providerMenuRow(const UsageData& usage, Instant now);

// The five-hour pace of each provider that has one, a line each ("Claude: at this pace the
// limit is reached at 4:12 PM, 48 min before the reset"); empty when neither has one.
QString paceLines(const std::optional<UsageData>& claude, const std::optional<UsageData>& codex,
                  Instant now);

// One line per provider with figures (Claude first; ids 11 and 12), then "Open Quillon",
// "Refresh Usage", a separator and "Quit" (ids 1 to 4; 0 is the menu itself).
std::vector<TrayMenuEntry> trayMenuEntries(const std::optional<UsageData>& claude,
                                           const std::optional<UsageData>& codex, Instant now);

// Carries out one menu command; "Open Quillon" opens the panel for `anchor`.
void runTrayCommand(const TrayActions& actions, TrayCommand command, QPoint anchor);

// Puts the entries into a context menu for the panels that draw menus themselves; the commands
// go to `run`. Entries already in the menu are replaced.
void fillTrayContextMenu(QMenu& menu, const std::vector<TrayMenuEntry>& entries,
                         const std::function<void(TrayCommand)>& run);

} // namespace quillon
