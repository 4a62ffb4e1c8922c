#include "app/panel_application.h"

#include <QApplication>
#include <QCursor>

namespace quillon {

PanelApplication::PanelApplication(const ServicesFactory& makeServices)
    : appState_(authStore_, makeServices(settingsFile_)), panel_(appState_, authStore_),
      tray_(TrayActions{
          .togglePanel = [this](QPoint anchor) { panel_.toggleAt(anchor); },
          .showPanel = [this](QPoint anchor) { panel_.showAt(anchor); },
          .refresh = [this] { appState_.refreshAll(); },
          .quit = [] { QApplication::quit(); },
      }),
      titles_(appState_, [this](const auto& claude,
                                const auto& codex) { tray_.updateMenuBarTitle(claude, codex); }),
      bus_(appState_, [this] { panel_.showAt(QCursor::pos()); }) {}

} // namespace quillon
