#include "app/panel_application.h"

#include "app/unseen_notice.h"
#include "notifications/desktop_notifications.h"
#include "tray/dbus_menu.h"

#include <QApplication>

#include <iostream>

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
      bus_(appState_,
           BusActions{
               // A request over the bus carries no point, as a command from the menu does not.
               // A shell that draws Quillon's button knows where it is, and is asked to place
               // the panel under it.
               .showPanel =
                   [this] {
                       if (tray_.shownByShell()) {
                           bus_.askShellForPanel();
                       } else {
                           panel_.showAt(tray_.anchor().forMenu());
                       }
                   },
               .showPanelUnder = [this](QRect item) { panel_.showUnder(item); },
               .togglePanelUnder = [this](QRect item) { panel_.toggleUnder(item); },
               .hidePanel = [this] { panel_.hide(); },
               .pressedAt = [this](QPoint point) { panel_.pressedAt(point); },
               .quit = [] { QApplication::quit(); },
               .panelVisible = [this] { return panel_.isVisible(); },
               .menuRows = [this] { return menuRows(); },
           }),
      unseen_(
          UnseenNotice::isGnome(qEnvironmentVariable("XDG_CURRENT_DESKTOP")),
          [](const QString& line) { std::cerr << line.toStdString() << '\n'; },
          [](const QString& title, const QString& body) {
              DesktopNotifications().send(title, body);
          }) {
    QObject::connect(&panel_, &PanelWindow::visibleChanged, &bus_, &QuillonBus::announce);
    QObject::connect(&tray_, &TrayIcon::unseen, &tray_, [this] { unseen_(); });
    // The menu's lines carry the reset times too, which change without the title.
    const auto updateMenu = [this] {
        tray_.updateMenu(appState_.claudeUsage(), appState_.codexUsage());
    };
    QObject::connect(&appState_, &AppState::claudeUsageChanged, &tray_, updateMenu);
    QObject::connect(&appState_, &AppState::codexUsageChanged, &tray_, updateMenu);
    updateMenu();
}

QStringList PanelApplication::menuRows() {
    QStringList rows;
    for (const auto& entry : tray_.menu().entries()) {
        if (entry.isFigures()) {
            rows << entry.label;
        }
    }
    return rows;
}

} // namespace quillon
