#!/usr/bin/env bash
# sway 1.7 with waybar as its bar, headless: a wlroots Wayland session where Quillon runs through
# XWayland. waybar's tray shows the item's icon (no label); a left click activates the item, a
# right click opens its menu. Left of it, waybar's custom module shows `quillon status`.
set -uo pipefail
HOST=sway
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

started=$(date +%s)
sway_start || { report_status; exit; }
BAR_EMPTY_X=$((SCREEN_W / 2)) BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
wayland_checks
check "status module" check_status_module
echo "sway host done in $(($(date +%s) - started)) s" >&2
report_status
