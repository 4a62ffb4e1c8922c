#!/usr/bin/env bash
# KDE Plasma 6 on Wayland (Debian 13 and later): KWin with plasmashell and its default floating
# bottom panel, nested in a headless sway (lib/kwin_wayland.sh). Quillon runs through KWin's
# XWayland. The system tray shows the item's icon (no label); a left click activates the item
# with the click's screen point, a right click opens its menu.
set -uo pipefail
HOST=plasma-wayland
source "$DESKTOP_LIB/report.sh"
plasma_version=$(dpkg-query -W -f='${Version}' plasma-workspace 2>/dev/null)
plasma_version=${plasma_version#*:}
if ! command -v kwin_wayland >/dev/null || [ "${plasma_version%%.*}" != 6 ]; then
    # Not a failure of Quillon's: this host runs where Plasma 6 does.
    echo "SKIP $HOST: needs Plasma 6 (kwin_wayland, plasmashell 6), which came with Debian 13;" \
        "run it there: make debian13 GOALS=\"test-desktops DESKTOPS=plasma-wayland\""
    exit 0
fi
source "$DESKTOP_LIB/kwin_wayland.sh"
kwin_enter "$@"
source "$DESKTOP_LIB/wayland_checks.sh"
source "$DESKTOP_LIB/plasma_wayland_checks.sh"

# The item: what is new in the tray; the tray moves the items beside it aside.
find_item() { find_item_in_tray new-item; }

open_panel() {
    click_item
    wait_until 5 panel_shown || { echo "no panel after a click on the item at $ITEM_CX,$ITEM_CY"; return 1; }
    sleep 0.4 # the panel's first frame; the placement is measured on the settled picture
}

check_menu() { check_menu_by_sight; }

started=$(date +%s)
kwin_start || { report_status; exit; }
watch_activations
wayland_checks
plasma_wayland_checks
# The middle of the panel, where the task manager has nothing.
BAR_EMPTY_AT="$((SCREEN_W / 2)) $((BAR_Y + BAR_H / 2))"
known_limit "bar click closes" "Plasma's panel is a Wayland surface: the click reaches no X11 client and moves no focus, and KWin's scripting has no pointer-button event" check_bar_click
echo "plasma-wayland host done in $(($(date +%s) - started)) s" >&2
report_status
