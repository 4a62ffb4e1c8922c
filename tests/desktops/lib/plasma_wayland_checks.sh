# The checks a floating Plasma 6 panel adds to the Wayland hosts' own (wayland_checks.sh):
# successive openings land on the same pixels, a click on the item while the panel is open
# reaches Plasma, and the panel's shadow takes no click. Source it after wayland_checks.sh.

# The host's calls of the item's Activate, one a line in DESKTOP_OUT/activations.txt: Plasma
# calls it for every left click on the item that reaches it.
watch_activations() {
    spawn activations dbus-monitor --session \
        "type='method_call',interface='org.kde.StatusNotifierItem',member='Activate'"
}
activations() { grep -c 'member=Activate' "$DESKTOP_OUT/activations.log" 2>/dev/null || echo 0; }

# "X Y W H" of the visible panel in SHOT: what differs from closed.png around the window.
visible_panel() {
    local x y w h
    read -r x y w h < <(panel_frame) || return 1
    # Never the bar, where the item changes its look while the panel is open.
    local bottom=$((y + h + 30))
    [ "$bottom" -le "$BAR_Y" ] || bottom=$BAR_Y
    "${IMAGE[@]}" diff-box "$DESKTOP_OUT/closed.png" "$1" $((x - 30)) $((y - 30)) \
        $((w + 60)) $((bottom - y + 30))
}

# What the X server knows of the demo's shown windows (where Quillon asked them to go) and the
# work area it was told: for the log.
x11_demo_windows() {
    local id
    xprop -root _NET_WORKAREA | tr -d '\n'
    printf '; X outputs: %s' "$(xrandr | awk '/ connected/ {printf "%s ", $1}')"
    printf '; Plasma leaves free of %s: %s' "$(xrandr | awk '/ connected/ {print $1; exit}')" \
        "$(dbus-send --session --print-reply --dest=org.kde.plasmashell /StrutManager \
            org.kde.PlasmaShell.StrutManager.availableScreenRect \
            "string:$(xrandr | awk '/ connected/ {print $1; exit}')" | awk '/int32/ {printf "%s ", $2}')"
    for id in $(xdotool search --onlyvisible --pid "$pid_demo" 2>/dev/null); do
        printf '; window %s: %s %s' "$id" \
            "$(xwininfo -id "$id" | awk '/Absolute upper-left|Width:|Height:/ {printf "%s ", $NF}')" \
            "$(xprop -id "$id" WM_NORMAL_HINTS _GTK_FRAME_EXTENTS | tr -s ' \n\t' ' ')"
    done
}

# Opens the panel several times, a click on the item each time, and closes it with Escape in
# between: the window and the visible panel must be where they were the first time.
check_same_place() {
    local round first_window="" first_seen="" window seen problems=""
    for round in 1 2 3 4; do
        close_panel
        sleep 0.4
        open_panel >/dev/null || { echo "opening $round: no panel"; return 1; }
        wait_still 3 "$DESKTOP_OUT/opening-$round.png" || true
        window=$(panel_frame) seen=$(visible_panel "$DESKTOP_OUT/opening-$round.png") || seen="none"
        echo "opening $round: window $window, visible $seen; KWin: $(kwin_demo_windows | tr '\n' ';');" \
            "X: $(x11_demo_windows)" >>"$DESKTOP_OUT/openings.txt"
        if [ "$round" -eq 1 ]; then
            first_window=$window first_seen=$seen
        elif [ "$window" != "$first_window" ] || [ "$seen" != "$first_seen" ]; then
            problems+=" opening $round: window $window, visible $seen;"
        fi
    done
    close_panel
    [ -z "$problems" ] ||
        { echo "first opening: window $first_window, visible $first_seen;${problems%;}"; return 1; }
}

# A click on the item while the panel is open closes it, reaches Plasma (which calls Activate),
# and does not open it again.
check_item_click_reaches_host() {
    close_panel
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    local before
    before=$(activations)
    click_item
    wait_until 3 panel_hidden || { echo "a click on the item left the panel open"; return 1; }
    wait_until 2 test "$(activations)" -gt "$before" ||
        { echo "the panel closed, but Plasma never had the click (no Activate)"; return 1; }
    sleep 1
    panel_hidden || { echo "the panel opened again after the click that closed it"; return 1; }
}

# A click beside the panel, within its window's shadow margin, reaches the window under it: the
# click probe, moved there for this check and back after it.
check_shadow_takes_no_click() {
    close_panel
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    local x y w h vx vy vw vh px py pw ph
    read -r x y w h < <(panel_frame)
    read -r vx vy vw vh < <(visible_panel "$DESKTOP_OUT/panel.png") ||
        { vx=$((x + (w - PANEL_W) / 2)) vy=$((y + (h - PANEL_H) / 2)); }
    read -r px py pw ph < <(probe_frame)
    local margin=$((vx - x))
    [ "$margin" -gt 4 ] || { close_panel; return 0; } # no margin, nothing to take a click
    # The probe's right part under the left margin, its middle at the panel's middle height.
    local click_x=$((vx - margin / 2)) click_y=$((vy + vh / 2))
    move_probe $((click_x + 20 - pw)) $((click_y - ph / 2))
    wait_until 3 eval '[ "$(probe_frame | cut -d" " -f1)" = "$((click_x + 20 - pw))" ]'
    panel_shown || reopen >/dev/null || { echo "the panel closed when the probe moved"; return 1; }
    shot "$DESKTOP_OUT/shadow-click.png"
    local before
    before=$(probe_presses)
    click_at "$click_x" "$click_y"
    local problem=""
    wait_until 5 test "$(probe_presses)" -gt "$before" ||
        problem="a click at $click_x,$click_y, in the panel window's margin (window ${w}x$h at $x,$y), never reached the window under it"
    wait_until 3 panel_hidden || problem+="${problem:+; }the click beside the panel left it open"
    move_probe "$px" "$py"
    wait_until 3 eval '[ "$(probe_frame | cut -d" " -f1)" = "$px" ]'
    [ -z "$problem" ] || { echo "$problem"; return 1; }
}

plasma_wayland_checks() {
    check "same place at every opening" check_same_place
    close_panel
    check "item click reaches the host" check_item_click_reaches_host
    close_panel
    check "shadow takes no click" check_shadow_takes_no_click
    close_panel
}
