# The checks that sway adds to those of every Wayland host (wayland_checks.sh): the panel on the
# same pixels at every opening, a shadow that lets clicks through, and the outside clicks that no
# X11 client sees: on a Wayland-native window, on the desktop after such a window had the focus,
# and on the bar. Source it after wayland_checks.sh; set REST_X/REST_Y (where the pointer may rest
# without touching anything) and BAR_EMPTY_AT ("X Y" of the bar with nothing on it).

start_wayland_probe() {
    spawn wayland-probe /usr/bin/python3 "$DESKTOP_LIB/wayland_probe.py" "$DESKTOP_OUT/wayland-probe.txt"
    WAYLAND_PROBE_PROBLEM="the Wayland probe window did not appear (see wayland-probe.log)"
    wait_until 15 wayland_probe_frame || return 1
    read -r WPROBE_X WPROBE_Y WPROBE_W WPROBE_H < <(wayland_probe_frame)
    WAYLAND_PROBE_PROBLEM="the Wayland probe took no click even with no panel open"
    takes_setup_click $((WPROBE_X + WPROBE_W / 2)) $((WPROBE_Y + WPROBE_H / 2)) \
        wayland_probe_presses || return 1
    WAYLAND_PROBE_PROBLEM=""
}

wayland_probe_presses() { wc -l <"$DESKTOP_OUT/wayland-probe.txt" 2>/dev/null || echo 0; }

# "X Y W H" of the visible panel in FILE, found against the picture without it.
visible_panel() {
    local x y w h
    read -r x y w h < <(panel_frame) || return 1
    "${IMAGE[@]}" diff-box "$DESKTOP_OUT/closed.png" "$1" $((x - 30)) $((y - 30)) $((w + 60)) $((h + 60))
}

# Four openings by a click on the item: the window and the visible panel on the same pixels.
check_same_place() {
    local i frame seen first="" all=""
    for i in 1 2 3 4; do
        close_panel
        reopen >/dev/null || { echo "the panel did not open at opening $i"; return 1; }
        wait_still 5 "$DESKTOP_OUT/opening-$i.png" || true
        frame=$(panel_frame) && seen=$(visible_panel "$DESKTOP_OUT/opening-$i.png") ||
            { echo "no panel to measure at opening $i"; return 1; }
        all+=" [$i: window $frame, visible $seen]"
        [ -n "$first" ] || first="$frame / $seen"
        [ "$frame / $seen" = "$first" ] || { echo "the openings differ:$all"; return 1; }
    done
}

# A click beside the visible panel, on the transparent margin where its shadow is drawn, reaches
# the window under it, an X11 one (which XWayland itself could hand it to) and a Wayland-native
# one (which only the compositor can): each probe in turn, moved there, has it, and the panel
# closes.
check_shadow_passes_clicks() {
    [ -z "$PROBE_PROBLEM" ] || { echo "$PROBE_PROBLEM"; return 1; }
    [ -z "$WAYLAND_PROBE_PROBLEM" ] || { echo "$WAYLAND_PROBE_PROBLEM"; return 1; }
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    local x y w h vx vy vw vh
    read -r x y w h < <(panel_frame)
    read -r vx vy vw vh < <(visible_panel "$DESKTOP_OUT/panel.png") ||
        { echo "no visible panel in panel.png"; return 1; }
    SHADOW_MARGIN=$((vx - x))
    [ "$SHADOW_MARGIN" -gt 2 ] ||
        { echo "no margin around the panel (window $x,$y ${w}x$h): nothing to check"; return 0; }
    # Half way into the margin, beside the middle of the panel's left (or right) edge.
    SHADOW_X=$((x + SHADOW_MARGIN / 2)) SHADOW_Y=$((vy + vh / 2)) SHADOW_SIDE=left
    if [ "$SHADOW_X" -lt 0 ]; then
        SHADOW_X=$((vx + vw + SHADOW_MARGIN / 2)) SHADOW_SIDE=right
    fi
    close_panel
    SHADOW_PROBLEMS=""
    shadow_click "X11 window" probe_frame "click probe" probe_presses
    shadow_click "Wayland window" wayland_probe_frame "wayland probe" wayland_probe_presses
    read -r PROBE_X PROBE_Y PROBE_W PROBE_H < <(probe_frame)
    read -r WPROBE_X WPROBE_Y WPROBE_W WPROBE_H < <(wayland_probe_frame)
    [ -z "$SHADOW_PROBLEMS" ] || { echo "${SHADOW_PROBLEMS# }"; return 1; }
}

# shadow_click WHAT FRAME TITLE PRESSES: moves the window titled TITLE (FRAME gives its "X Y W H",
# PRESSES its count of presses) under the shadow's point, clicks there with the panel open, and
# puts the window back.
shadow_click() {
    local what=$1 frame=$2 title=$3 presses=$4 home_x home_y fw fh to_x to_y before
    read -r home_x home_y fw fh < <("$frame")
    to_x=$((SHADOW_X - fw + 20)) to_y=$((SHADOW_Y - fh / 2))
    [ "$SHADOW_SIDE" = left ] || to_x=$((SHADOW_X - 20))
    swaymsg -q "[title=\"^$title\$\"] move absolute position $to_x $to_y"
    wait_until 3 eval '[ "$("$frame" | cut -d" " -f1)" = "$to_x" ]'
    if reopen >/dev/null; then
        before=$("$presses")
        click_at "$SHADOW_X" "$SHADOW_Y"
        wait_until 3 panel_hidden ||
            SHADOW_PROBLEMS+=" a click on the shadow at $SHADOW_X,$SHADOW_Y over the $what left the panel open;"
        wait_until 2 test "$("$presses")" -gt "$before" ||
            SHADOW_PROBLEMS+=" a click on the shadow at $SHADOW_X,$SHADOW_Y never reached the $what under it;"
    else
        SHADOW_PROBLEMS+=" the panel did not open with the $what under its shadow;"
    fi
    close_panel
    swaymsg -q "[title=\"^$title\$\"] move absolute position $home_x $home_y"
    wait_until 3 eval '[ "$("$frame" | cut -d" " -f1)" = "$home_x" ]'
}

# A click on a Wayland-native window closes the panel and reaches that window.
check_wayland_window_click() {
    [ -z "$WAYLAND_PROBE_PROBLEM" ] || { echo "$WAYLAND_PROBE_PROBLEM"; return 1; }
    # The X11 probe has the focus first, as after any click on an X11 window.
    click_at $((PROBE_X + PROBE_W / 2)) $((PROBE_Y + PROBE_H / 2))
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    local before problem="" cx=$((WPROBE_X + WPROBE_W / 2)) cy=$((WPROBE_Y + WPROBE_H / 2))
    before=$(wayland_probe_presses)
    click_at "$cx" "$cy"
    wait_until 3 panel_hidden || problem+=" a click on the Wayland window at $cx,$cy left the panel open;"
    wait_until 2 test "$(wayland_probe_presses)" -gt "$before" ||
        problem+=" the click never reached the Wayland window;"
    [ -z "$problem" ] || { echo "${problem# }"; return 1; }
}

# With a Wayland-native window focused, the panel opens; a click on the empty desktop closes it.
check_desktop_after_wayland() {
    [ -z "$WAYLAND_PROBE_PROBLEM" ] || { echo "$WAYLAND_PROBE_PROBLEM"; return 1; }
    click_at $((WPROBE_X + WPROBE_W / 2)) $((WPROBE_Y + WPROBE_H / 2))
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    local desk
    desk=$(desktop_point) || { echo "no free desktop point"; return 1; }
    click_at $desk
    wait_until 3 panel_hidden ||
        { echo "a click on the desktop at ${desk/ /,} after the Wayland window had the focus left the panel open"; return 1; }
}

