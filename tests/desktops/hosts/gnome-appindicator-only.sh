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

check_menu() {
    [ -n "$ITEM" ] || { echo "no item"; return 1; }
    MENU_SHOT="$DESKTOP_OUT/menu.png" gnome_open_panel >"$DESKTOP_OUT/.menu-open.txt"
    local opened=$? rows missing=""
    rows=$(tr '\n' '|' <<<"$MENU_ROWS")
    grep -q '^Claude .*42%' <<<"$MENU_ROWS" || missing+=" a Claude row with 42%;"
    grep -q '^Codex .*17%' <<<"$MENU_ROWS" || missing+=" a Codex row with 17%;"
    for entry in "Open Quillon" "Refresh Usage" "Quit"; do
        grep -qx "$entry" <<<"$MENU_ROWS" || missing+=" \"$entry\";"
    done
    [ "$opened" -eq 0 ] || missing+=" $(cat "$DESKTOP_OUT/.menu-open.txt");"
    rm -f "$DESKTOP_OUT/.menu-open.txt"
    [ -z "$missing" ] || { echo "menu lacks${missing%;}; it reads: ${rows%|}"; return 1; }
}

started=$(date +%s)
gnome_start || { report_status; exit; }
BAR_EMPTY_X=$((SCREEN_W / 4)) BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
wayland_checks
check "extension cycles" check_extension_cycles
echo "gnome host done in $(($(date +%s) - started)) s" >&2
report_status
