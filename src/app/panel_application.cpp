#include "app/panel_application.h"

#include <QApplication>

namespace quillon {

PanelApplication::PanelApplication(const ServicesFactory& makeServices)
    : appState_(authStore_, makeServices(settingsFile_)), panel_(appState_, authStore_),
      tray_(TrayActions{
          .togglePanel = [this](QPoint anchor) { panel_.toggleAt(anchor); },
          .showPanel = [this](QPoint anchor) { panel_.showAt(anchor); },
          .hidePanel = [this] { panel_.hide(); },
          .refresh = [this] { appState_.refreshAll(); },
          .quit = [] { QApplication::quit(); },
      }),
      titles_(appState_, [this](const auto& claude,
                                const auto& codex) { tray_.updateMenuBarTitle(claude, codex); }),
      // A request over the bus carries no point, as a command from the menu does not.
      bus_(appState_, [this] { panel_.showAt(tray_.anchor().forMenu()); }) {
    // The menu's lines carry the reset times too, which change without the title.
    const auto updateMenu = [this] {
        tray_.updateMenu(appState_.claudeUsage(), appState_.codexUsage());
    };
    QObject::connect(&appState_, &AppState::claudeUsageChanged, &tray_, updateMenu);
    QObject::connect(&appState_, &AppState::codexUsageChanged, &tray_, updateMenu);
    updateMenu();
}

} // namespace quillon
