#!/usr/bin/env bash
# KDE Plasma: kwin_x11 and plasmashell, its panel rebuilt through plasmashell's own scripting as
# one top bar holding the system tray (nothing else in it changes while the checks look).
set -uo pipefail
HOST=plasma
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/x11_session.sh"
x11_enter_session "$@"

x11_start_display
export KDE_FULL_SESSION=true XDG_CURRENT_DESKTOP=KDE KDE_SESSION_VERSION=5 LIBGL_ALWAYS_SOFTWARE=1
dbus-update-activation-environment KDE_FULL_SESSION XDG_CURRENT_DESKTOP KDE_SESSION_VERSION
x11_start_wm 20 kwin_x11
spawn shell plasmashell --no-respawn
plasma_script() {
    dbus-send --session --print-reply --dest=org.kde.plasmashell /PlasmaShell \
        org.kde.PlasmaShell.evaluateScript "string:$1"
}
# The first start lays out the default desktop and its bottom panel; replace that panel once
# it exists.
default_panel() { plasma_script 'print(panels().length)' | grep -q 'string "[1-9]'; }
wait_until 40 default_panel || host_broken "plasmashell never laid out its panel"
plasma_script '
panels().forEach(function (p) { p.remove(); });
var bar = new Panel;
bar.location = "top";
bar.height = 28;
bar.addWidget("org.kde.plasma.panelspacer");
bar.addWidget("org.kde.plasma.systemtray");
' >"$DESKTOP_OUT/layout.log" 2>&1
x11_wait_bar top --class plasmashell
x11_wait_watcher "the shell's StatusNotifierWatcher never appeared"
BAR_EMPTY_X=200 BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
DESK_X=$((SCREEN_W / 2)) DESK_Y=$((SCREEN_H - 40))
x11_checks
report_status
