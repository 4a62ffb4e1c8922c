#!/usr/bin/env bash
# GNOME Shell with both Quillon's own extension and the AppIndicator extension (as Ubuntu ships
# it), headless: Quillon's button is the one item; its StatusNotifierItem stays passive, which
# the AppIndicator extension leaves out of the bar, and shows again once the button goes.
set -uo pipefail
HOST=gnome-appindicator
source "$DESKTOP_LIB/gnome_session.sh"
GNOME_EXTENSIONS=("$QUILLON_EXTENSION" "$APPINDICATOR")
gnome_enter "$@"
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/wayland_checks.sh"
source "$DESKTOP_LIB/gnome_extension_checks.sh"

# Without Quillon's button, the AppIndicator extension shows Quillon's item; with it, again not.
check_item_returns() {
    gnome-extensions disable "$QUILLON_EXTENSION"
    wait_until 5 appindicator_item_shown || { echo "no item in the bar after the button went"; return 1; }
    gnome-extensions enable "$QUILLON_EXTENSION"
    wait_until 5 button_right || { echo "the button did not come back"; return 1; }
    wait_until 5 eval '! appindicator_item_shown' || { echo "the item stayed beside the button"; return 1; }
}

started=$(date +%s)
gnome_start || { report_status; exit; }
BAR_EMPTY_X=$((SCREEN_W / 4)) BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
gnome_extension_checks
check "one item" check_item_returns
EXTENSION_CYCLES=${EXTENSION_CYCLES:-20} check "extension cycles" check_button_cycles
check "shell log clean" check_shell_log
echo "gnome-appindicator host done in $(($(date +%s) - started)) s" >&2
report_status
