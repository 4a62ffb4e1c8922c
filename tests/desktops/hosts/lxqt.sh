#!/usr/bin/env bash
# LXQt: Openbox and lxqt-panel as a bottom bar whose Status Notifier plugin hosts the item.
set -uo pipefail
HOST=lxqt
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/x11_session.sh"
x11_enter_session "$@"

x11_start_display
export XDG_CURRENT_DESKTOP=LXQt
dbus-update-activation-environment XDG_CURRENT_DESKTOP
mkdir -p "$XDG_CONFIG_HOME/lxqt"
# One bar: free space, then the Status Notifier plugin (it runs the watcher).
cat >"$XDG_CONFIG_HOME/lxqt/panel.conf" <<'CONF'
[General]
__userfile__=true
panels=panel1

[panel1]
alignment=-1
position=Bottom
panelSize=32
iconSize=22
lineCount=1
plugins=spacer, statusnotifier
width=100
width-percent=true

[spacer]
type=spacer
expandable=true

[statusnotifier]
type=statusnotifier
CONF
x11_start_wm 10 openbox
x11_start_backdrop
spawn panel lxqt-panel
x11_wait_bar bottom --class lxqt-panel
x11_wait_watcher "the panel's StatusNotifierWatcher never appeared"
BAR_EMPTY_X=200 BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
DESK_X=$((SCREEN_W / 2)) DESK_Y=120
x11_checks
report_status
