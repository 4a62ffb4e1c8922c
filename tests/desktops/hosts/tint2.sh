#!/usr/bin/env bash
# A plain XEmbed system tray: tint2 as a bottom bar with its tray at the right end, under
# Openbox. No StatusNotifierWatcher runs, so the application shows a classic tray icon.
set -uo pipefail
HOST=tint2
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/x11_session.sh"
x11_enter_session "$@"

x11_start_display
mkdir -p "$XDG_CONFIG_HOME/tint2"
cat >"$XDG_CONFIG_HOME/tint2/tint2rc" <<'RC'
panel_items = FS
panel_size = 100% 32
panel_position = bottom center horizontal
panel_layer = top
panel_dock = 0
strut_policy = follow_size
panel_background_id = 1
rounded = 0
border_width = 0
background_color = #2b2b2b 100
border_color = #2b2b2b 100
systray_padding = 4 4 4
systray_icon_size = 22
systray_background_id = 0
RC
x11_start_wm 10 openbox
x11_start_backdrop
spawn tint2 tint2 -c "$XDG_CONFIG_HOME/tint2/tint2rc"
x11_wait_bar bottom --class tint2
BAR_EMPTY_X=200 BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
DESK_X=$((SCREEN_W / 2)) DESK_Y=120
x11_checks
report_status
