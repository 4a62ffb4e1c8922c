#!/usr/bin/env bash
# Stock GNOME Shell (no tray at all) with Quillon's own extension, headless on a virtual monitor:
# a Wayland session where Quillon runs through XWayland. The extension's button shows the icon
# and the title, toggles the panel on a left click and opens the menu on a right click.
set -uo pipefail
HOST=gnome
source "$DESKTOP_LIB/gnome_session.sh"
gnome_enter "$@"
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/wayland_checks.sh"
source "$DESKTOP_LIB/gnome_extension_checks.sh"

started=$(date +%s)
gnome_start || { report_status; exit; }
BAR_EMPTY_X=$((SCREEN_W / 4)) BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
gnome_extension_checks
check "extension cycles" check_button_cycles
check "Quillon restarts" check_quillon_restarts
check "unseen says so" check_unseen_notice
check "shell log clean" check_shell_log
echo "gnome host done in $(($(date +%s) - started)) s" >&2
report_status
