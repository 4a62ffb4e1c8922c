#!/usr/bin/env bash
# sway with waybar as its bar, headless (sway 1.7 and waybar 0.9 on Debian 12, sway 1.10 and
# waybar 0.12 on Debian 13): a wlroots Wayland session where Quillon runs through XWayland.
# waybar's tray shows the item's icon (no label); a left click activates the item, a right click
# opens its menu. Left of it, waybar's custom module shows `quillon status`. The bar is at the
# top; SWAY_BAR_SIDE=bottom (the host sway-bottom) puts it at the bottom.
set -uo pipefail
HOST=${HOST:-sway}
# The command-line program built beside the demo, for waybar's status module.
QUILLON_BIN="$(cd "$(dirname "$QUILLON_DEMO")/../src/app" && pwd)/quillon"
export QUILLON_BIN
source "$DESKTOP_LIB/sway_session.sh"
sway_enter "$@"
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/wayland_checks.sh"

# The item: what changed in the right half of the bar (the tray's) since before the demo ran.
find_item() {
    local tray_x=$((BAR_X + BAR_W / 2)) tray_w=$((BAR_W / 2))
    ITEM=""
    local deadline=$(($(date +%s) + 20))
    while [ "$(date +%s)" -lt "$deadline" ]; do
        shot "$DESKTOP_OUT/.bar-now.png"
        ITEM=$("${IMAGE[@]}" diff-box "$DESKTOP_OUT/before.png" "$DESKTOP_OUT/.bar-now.png" \
            "$tray_x" "$BAR_Y" "$tray_w" "$BAR_H" --threshold 24) && break
        ITEM=""
        sleep 0.5
    done
    # Measured again once the bar has finished laying out.
    if [ -n "$ITEM" ] && wait_still 10 "$DESKTOP_OUT/.bar-now.png"; then
        ITEM=$("${IMAGE[@]}" diff-box "$DESKTOP_OUT/before.png" "$DESKTOP_OUT/.bar-now.png" \
            "$tray_x" "$BAR_Y" "$tray_w" "$BAR_H" --threshold 24) || ITEM=""
    fi
    rm -f "$DESKTOP_OUT/.bar-now.png"
}

open_panel() {
    click_item
    wait_until 5 panel_shown || { echo "no panel after a click on the item at $ITEM_CX,$ITEM_CY"; return 1; }
    # Off the bar, where waybar's tooltip would cover part of the panel in the pictures; onto the
    # empty desktop, where the pointer moves no focus.
    swaymsg -q "seat seat0 cursor set $REST_X $REST_Y"
}

check_menu() { check_menu_by_sight; }

# waybar's custom module runs `quillon status --watch --format waybar` and shows its text, the
# title, in the left half of the bar (the tray shows no label).
check_status_module() {
    local text="" deadline=$(($(date +%s) + 10))
    while [ "$(date +%s)" -lt "$deadline" ]; do
        shot "$DESKTOP_OUT/bar-module.png"
        text=$("${IMAGE[@]}" ocr "$DESKTOP_OUT/bar-module.png" "$BAR_X" "$BAR_Y" \
            $((BAR_W / 2)) "$BAR_H" | awk '{printf "%s ", $1}')
        case "$text" in *C:42%*X:17%*) return 0 ;; esac
        sleep 0.5
    done
    echo "the bar's left half reads '$text', not ' C:42% X:17%' (bar-module.png)"
    return 1
}

source "$DESKTOP_LIB/sway_checks.sh"

if [ "${SWAY_BAR_SIDE:-top}" = bottom ]; then
    mkdir -p "$XDG_CONFIG_HOME/waybar"
    sed 's/"position": "top"/"position": "bottom"/' "$DESKTOP_LIB/waybar-config.json" \
        >"$XDG_CONFIG_HOME/waybar/config.json"
    export WAYBAR_CONFIG="$XDG_CONFIG_HOME/waybar/config.json"
fi
started=$(date +%s)
sway_start || { report_status; exit; }
# Where the pointer rests between clicks: the empty desktop, away from every window and the panel.
REST_X=$((SCREEN_W / 2)) REST_Y=$((SCREEN_H - 60))
[ "$BAR_SIDE" = top ] || REST_Y=60
# The bar's own click is a check of its own (check_bar_click), not one of the outside clicks: on
# its empty middle, right of the status module, and left of where any panel of this screen goes,
# so that no shadow lies over it.
BAR_EMPTY_AT="300 $((BAR_Y + BAR_H / 2))"
# waybar before 0.10 passes a point relative to its icon with a click on the item, and XWayland
# shows X11 clients no pointer over the bar: nothing tells Quillon where the item is.
case "$(waybar --version 2>/dev/null)" in
*v0.[0-9].*) PLACEMENT_LIMIT="waybar $(waybar --version | awk '{print $2}') passes a point relative to its icon, and X11 sees no pointer over the bar" ;;
esac
start_wayland_probe
wayland_checks
check "same place every time" check_same_place
check "shadow takes no click" check_shadow_passes_clicks
close_panel
check "Wayland window click closes" check_wayland_window_click
close_panel
check "desktop click after a Wayland window closes" check_desktop_after_wayland
close_panel
# waybar's bar takes no focus when clicked, and sway reports nothing of it: no window, workspace
# or seat focus change, no binding; X11 clients see no pointer over it.
known_limit "bar click closes" "neither sway nor waybar tells of a click on the bar" check_bar_click
close_panel
check "status module" check_status_module
echo "sway host done in $(($(date +%s) - started)) s" >&2
report_status
