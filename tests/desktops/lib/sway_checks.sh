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
    # It must take a click while nothing else is open, or its silence later would prove nothing.
    click_at $((WPROBE_X + WPROBE_W / 2)) $((WPROBE_Y + WPROBE_H / 2))
    WAYLAND_PROBE_PROBLEM="the Wayland probe took no click even with no panel open"
    wait_until 3 test "$(wayland_probe_presses)" -gt 0 || return 1
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
# the window under it: the click probe, moved there, has it, and the panel closes.
check_shadow_passes_clicks() {
    [ -z "$PROBE_PROBLEM" ] || { echo "$PROBE_PROBLEM"; return 1; }
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    local x y w h margin vx vy vw vh
    read -r x y w h < <(panel_frame)
    read -r vx vy vw vh < <(visible_panel "$DESKTOP_OUT/panel.png") ||
        { echo "no visible panel in panel.png"; return 1; }
    margin=$((vx - x))
    [ "$margin" -gt 2 ] || { echo "no margin around the panel (window $x,$y ${w}x$h): nothing to check"; return 0; }
    # Half way into the margin, beside the middle of the panel's left (or right) edge.
    local cx=$((x + margin / 2)) cy=$((vy + vh / 2)) side=left
    if [ "$cx" -lt 0 ]; then
        cx=$((vx + vw + margin / 2)) side=right
    fi
    close_panel
    local home_x=$PROBE_X home_y=$PROBE_Y to_x=$((cx - PROBE_W + 20))
    [ "$side" = left ] || to_x=$((cx - 20))
    move_probe "$to_x" $((cy - PROBE_H / 2))
    wait_until 3 eval '[ "$(probe_frame | cut -d" " -f1)" = "$to_x" ]'
    reopen >/dev/null || { move_probe "$home_x" "$home_y"; echo "the panel did not open again"; return 1; }
    local before problem=""
    before=$(probe_presses)
    click_at "$cx" "$cy"
    wait_until 3 panel_hidden || problem+=" the click at $cx,$cy on the shadow ($side of the panel) left the panel open;"
    wait_until 2 test "$(probe_presses)" -gt "$before" ||
        problem+=" the click at $cx,$cy on the shadow never reached the window under it;"
    close_panel
    move_probe "$home_x" "$home_y"
    wait_until 3 eval '[ "$(probe_frame | cut -d" " -f1)" = "$home_x" ]'
    read -r PROBE_X PROBE_Y PROBE_W PROBE_H < <(probe_frame)
    [ -z "$problem" ] || { echo "${problem# }"; return 1; }
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

check_bar_click() {
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    click_at $BAR_EMPTY_AT
    wait_until 3 panel_hidden ||
        { echo "a click on the bar's empty area at ${BAR_EMPTY_AT/ /,} left the panel open"; return 1; }
}
