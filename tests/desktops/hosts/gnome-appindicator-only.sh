#!/usr/bin/env bash
# GNOME Shell with the AppIndicator extension and without Quillon's own, headless on a virtual
# monitor: a Wayland session where Quillon runs through XWayland. The extension draws the item's
# label next to its icon and opens the item's menu on a single click; the panel opens from the
# menu. Shell surfaces (the empty desktop, the top bar) are out of Quillon's sight here.
set -uo pipefail
HOST=gnome-appindicator-only
ITEM_JS="Object.values(Main.panel.statusArea).find(a => a && a._indicator && a._indicator.id === 'quillon')"
source "$DESKTOP_LIB/gnome_session.sh"
GNOME_EXTENSIONS=("$APPINDICATOR")
gnome_enter "$@"
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/wayland_checks.sh"

LABEL_HOST=1 ITEM_OPENS_MENU=1
open_panel() { gnome_open_panel; }
find_item() {
    ITEM=""
    wait_until 20 item_present && ITEM=$(item_box)
}

check_menu() { check_gnome_menu; }

started=$(date +%s)
gnome_start || { report_status; exit; }
BAR_EMPTY_X=$((SCREEN_W / 4)) BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
wayland_checks
check "extension cycles" check_extension_cycles
echo "gnome-appindicator-only host done in $(($(date +%s) - started)) s" >&2
report_status
