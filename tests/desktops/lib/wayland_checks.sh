# The checks of a Wayland host, made as a user makes them, through the compositor's own input
# path. Quillon runs there as an X11 client through XWayland. Source it after report.sh and the
# host's session file, which provides:
#   shot FILE                 a screenshot of the whole screen
#   click_at X Y [right]      a click through the compositor's seat
#   press_escape              the Escape key through the compositor's seat
#   panel_frame               "X Y W H" of the demo's panel window, failing when none is shown
#   probe_frame               "X Y W H" of the click probe's window, failing before it shows
#   move_probe X Y            moves the click probe's window there
#   find_item                 sets ITEM ("X Y W H" of the item in the bar, or empty)
#   open_panel                opens the panel the way a user of this host does
#   check_menu                the host's "menu works" check
#   spawn NAME COMMAND...     a background process that the session ends (pid in pid_NAME)
# and sets SCREEN_W, SCREEN_H, BAR_SIDE (top or bottom), BAR_X BAR_Y BAR_W BAR_H, IMAGE,
# LABEL_HOST=1 where the host shows the label, ITEM_OPENS_MENU=1 where a click on the item opens
# its menu, BAR_EMPTY_X/Y a point on the bar with nothing on it.

# The checks that only look at screenshots and geometry are the X11 hosts' own; the ones that
# click or type are this file's, through the compositor. Definitions below replace those of the
# same name.
source "$DESKTOP_LIB/x11_checks.sh"

# What the X11 checks ask of a window: here the compositor's frame of the panel window.
panel_window() { panel_frame >/dev/null 2>&1 && echo panel; }
x11_geometry() { panel_frame; }

panel_shown() { panel_frame >/dev/null 2>&1; }
panel_hidden() { ! panel_shown; }
click_item() { click_at "$ITEM_CX" "$ITEM_CY" "$@"; }
probe_presses() { wc -l <"$DESKTOP_OUT/probe.txt" 2>/dev/null || echo 0; }

# Waits (up to SECONDS) until two screenshots half a second apart are the same; leaves the last
# one in FILE.
wait_still() {
    local deadline=$(($(date +%s) + $1)) file=$2 prev="$DESKTOP_OUT/.still.png"
    shot "$prev"
    while [ "$(date +%s)" -lt "$deadline" ]; do
        sleep 0.5
        shot "$file"
        if "${IMAGE[@]}" same "$prev" "$file"; then
            rm -f "$prev"
            return 0
        fi
        cp "$file" "$prev"
    done
    rm -f "$prev"
    return 1
}

# The probe sits at the left, below a top bar or above a bottom one, where no panel goes.
start_probe() {
    local want_y=$((SCREEN_H - 160 - 60))
    [ "$BAR_SIDE" = top ] || want_y=60
    spawn probe /usr/bin/python3 "$DESKTOP_LIB/click_probe.py" "$DESKTOP_OUT/probe.txt" "240x160+40+$want_y"
    PROBE_PROBLEM="the click probe window did not appear"
    wait_until 15 probe_frame || return 1
    read -r PROBE_X PROBE_Y PROBE_W PROBE_H < <(probe_frame)
    PROBE_PROBLEM="the click probe took no click even with no panel open"
    takes_setup_click $((PROBE_X + PROBE_W / 2)) $((PROBE_Y + PROBE_H / 2)) probe_presses || return 1
    PROBE_PROBLEM=""
}

# takes_setup_click X Y PRESSES: a probe window must take a click while nothing else is open, or
# its silence later would prove nothing. A window can be shown a moment before its toolkit reads
# input, on a loaded machine: this setup click is made again until the probe answers (PRESSES
# counts what it had; the checks' own clicks are made once).
takes_setup_click() {
    local attempt
    for attempt in 1 2 3; do
        click_at "$1" "$2"
        wait_until 3 test "$("$3")" -gt 0 && return 0
    done
    return 1
}

# A point on the desktop, away from the probe, the bar and the panel window (when one is open).
desktop_point() {
    local px py pw ph x y
    read -r px py pw ph < <(panel_frame 2>/dev/null || echo "0 0 0 0")
    for x in $((SCREEN_W / 2)) 40 $((SCREEN_W - 40)); do
        y=$((SCREEN_H / 3))
        [ "$BAR_SIDE" = top ] || y=$((SCREEN_H * 2 / 3))
        if [ "$x" -lt "$px" ] || [ "$x" -ge $((px + pw)) ] || [ "$y" -lt "$py" ] ||
            [ "$y" -ge $((py + ph)) ]; then
            echo "$x $y"
            return 0
        fi
    done
    return 1
}

# find_item_in_tray COMMAND: sets ITEM to what `image.py COMMAND` (diff-box, or new-item where
# the tray moves the other items aside) finds new in the bar's right half, the tray's, since
# before.png; measured again once the bar has finished laying out. Empty when nothing appeared.
find_item_in_tray() {
    local tray_x=$((BAR_X + BAR_W / 2)) tray_w=$((BAR_W / 2)) now="$DESKTOP_OUT/item-search.png"
    ITEM=""
    local deadline=$(($(date +%s) + 20))
    while [ "$(date +%s)" -lt "$deadline" ]; do
        shot "$now"
        ITEM=$("${IMAGE[@]}" "$1" "$DESKTOP_OUT/before.png" "$now" \
            "$tray_x" "$BAR_Y" "$tray_w" "$BAR_H" --threshold 24) && break
        ITEM=""
        sleep 0.5
    done
    if [ -n "$ITEM" ] && wait_still 10 "$now"; then
        ITEM=$("${IMAGE[@]}" "$1" "$DESKTOP_OUT/before.png" "$now" \
            "$tray_x" "$BAR_Y" "$tray_w" "$BAR_H" --threshold 24) || ITEM=""
    fi
}

# Starts the demo, closes the panel it opens at start with a click elsewhere, and finds the item.
start_demo() {
    wait_still 15 "$DESKTOP_OUT/before.png" || true
    spawn demo "$QUILLON_DEMO"
    if wait_until 20 panel_shown; then
        click_at $((PROBE_X + PROBE_W / 2)) $((PROBE_Y + PROBE_H / 2))
        wait_until 3 panel_hidden || press_escape
        wait_until 3 panel_hidden || true
    fi
    find_item
    wait_still 10 "$DESKTOP_OUT/closed.png" || true
    use_item
}

watcher_lists_item() { watcher_items | grep -q 'StatusNotifierItem'; }

check_item_visible() {
    watcher_lists_item || { echo "the host's StatusNotifierWatcher does not list the item"; return 1; }
    [ -n "$ITEM" ] || { echo "the item is not in the bar ($BAR_W x $BAR_H at $BAR_X,$BAR_Y)"; return 1; }
    local drawn
    drawn=$("${IMAGE[@]}" content "$DESKTOP_OUT/closed.png" $ITEM)
    [ "$drawn" -ge 12 ] || { echo "item area $ITEM shows only $drawn drawn pixels"; return 1; }
}

check_panel_opens() {
    [ -n "$ITEM" ] || { echo "no item to click"; return 1; }
    open_panel || return 1
    wait_still 5 "$DESKTOP_OUT/panel.png" || true
}

# Opens the panel unless it is open; waits out the 300 ms in which an item click only closes.
reopen() {
    panel_shown && return 0
    sleep 0.4
    open_panel
}

# Outside clicks note what went wrong in OUTSIDE_PROBLEMS, so that the detail names all of it.
outside_problem() { OUTSIDE_PROBLEMS+=" $*;"; }

# close_by WHAT X Y: clicks there while the panel is open; the panel must hide.
close_by() {
    reopen >/dev/null || { outside_problem "the panel did not open again before the click on the $1"; return 1; }
    click_at "$2" "$3"
    wait_until 3 panel_hidden || { outside_problem "a click on the $1 at $2,$3 left the panel open"; return 1; }
}

# probe_covered: succeeds when the open panel's window covers the middle of the probe.
probe_covered() {
    local x y w h cx=$((PROBE_X + PROBE_W / 2)) cy=$((PROBE_Y + PROBE_H / 2))
    read -r x y w h < <(panel_frame 2>/dev/null) || return 1
    [ "$cx" -ge "$x" ] && [ "$cx" -lt $((x + w)) ] && [ "$cy" -ge "$y" ] && [ "$cy" -lt $((y + h)) ]
}

# A click on the probe is an outside click only where the panel does not cover it: a misplaced
# panel may, and then the probe moves to the other side of the screen first.
probe_clear() {
    probe_covered || return 0
    local x y w h to=40
    read -r x y w h < <(panel_frame)
    [ $((x + w / 2)) -ge $((SCREEN_W / 2)) ] || to=$((SCREEN_W - PROBE_W - 40))
    move_probe "$to" "$PROBE_Y"
    wait_until 3 eval '[ "$(probe_frame | cut -d" " -f1)" = "$to" ]'
    read -r PROBE_X PROBE_Y PROBE_W PROBE_H < <(probe_frame)
    ! probe_covered || { outside_problem "the panel window ($x,$y ${w}x$h) covers the click probe"; return 1; }
}

check_outside_click() {
    [ -z "$PROBE_PROBLEM" ] || { echo "$PROBE_PROBLEM"; return 1; }
    OUTSIDE_PROBLEMS=""
    local before desk
    reopen >/dev/null && probe_clear
    before=$(probe_presses)
    close_by "click probe window" $((PROBE_X + PROBE_W / 2)) $((PROBE_Y + PROBE_H / 2))
    wait_until 2 test "$(probe_presses)" -gt "$before" ||
        outside_problem "the click on the probe never reached it"
    # Where the desktop is free depends on where the panel is.
    if reopen >/dev/null && desk=$(desktop_point); then
        close_by desktop $desk
    fi
    if [ -n "${BAR_EMPTY_X:-}" ]; then
        close_by bar "$BAR_EMPTY_X" "$BAR_EMPTY_Y"
    fi
    [ -z "$OUTSIDE_PROBLEMS" ] || { echo "${OUTSIDE_PROBLEMS# }"; return 1; }
}

# The "menu works" check of a host that draws the item's menu itself on a right click: what the
# menu reads comes from the screen, and its "Open Quillon" is clicked where it is drawn.
check_menu_by_sight() {
    [ -n "$ITEM" ] || { echo "no item"; return 1; }
    sleep 0.4
    shot "$DESKTOP_OUT/.menu-before.png"
    click_item right
    local area="" deadline=$(($(date +%s) + 5))
    while [ -z "$area" ] && [ "$(date +%s)" -lt "$deadline" ]; do
        sleep 0.3
        shot "$DESKTOP_OUT/menu.png"
        area=$("${IMAGE[@]}" diff-box "$DESKTOP_OUT/.menu-before.png" "$DESKTOP_OUT/menu.png") ||
            area=""
    done
    [ -n "$area" ] || { echo "no menu appeared after a right click on the item"; return 1; }
    wait_still 3 "$DESKTOP_OUT/menu.png" || true
    area=$("${IMAGE[@]}" diff-box "$DESKTOP_OUT/.menu-before.png" "$DESKTOP_OUT/menu.png")
    rm -f "$DESKTOP_OUT/.menu-before.png"
    local words text missing="" open
    words=$("${IMAGE[@]}" ocr "$DESKTOP_OUT/menu.png" $area)
    text=$(awk '{printf "%s ", $1}' <<<"$words")
    [[ "$text" =~ Claude[^%]*42% ]] || missing+=" a Claude row with 42%;"
    [[ "$text" =~ Codex[^%]*17% ]] || missing+=" a Codex row with 17%;"
    for entry in "Open Quillon" "Refresh Usage" "Quit"; do
        [[ "$text" == *"$entry"* ]] || missing+=" \"$entry\";"
    done
    open=$(awk '$1 == "Open" {print $2 + int($4 / 2), $3 + int($5 / 2); exit}' <<<"$words")
    if [ -z "$open" ]; then
        press_escape
        echo "menu ($area) has no \"Open Quillon\"; it reads: $text"
        return 1
    fi
    click_at $open
    wait_until 5 panel_shown || missing+=" \"Open Quillon\" did not open the panel;"
    [ -z "$missing" ] || { echo "menu lacks${missing%;}; it reads: $text"; return 1; }
}

# Leaves no panel open for the next check, whatever the last one left: Escape (the first may
# only close a menu of the host), then a click on the probe, wherever it now is.
# A click on the bar's empty area (BAR_EMPTY_AT, "X Y") closes the panel.
check_bar_click() {
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    click_at $BAR_EMPTY_AT
    wait_until 3 panel_hidden ||
        { echo "a click on the bar's empty area at ${BAR_EMPTY_AT/ /,} left the panel open"; return 1; }
}

close_panel() {
    local _
    for _ in 1 2 3; do
        panel_hidden && return 0
        press_escape
        wait_until 1 panel_hidden && return 0
    done
    read -r PROBE_X PROBE_Y PROBE_W PROBE_H < <(probe_frame)
    click_at $((PROBE_X + PROBE_W / 2)) $((PROBE_Y + PROBE_H / 2))
    wait_until 2 panel_hidden
}

wayland_checks() {
    start_probe
    start_demo
    check "item visible" check_item_visible
    check "figures visible" check_figures_visible
    check "panel opens" check_panel_opens
    # A host that passes no point Quillon can place the panel by sets PLACEMENT_LIMIT to why.
    if [ -n "${PLACEMENT_LIMIT:-}" ]; then
        known_limit "panel placement" "$PLACEMENT_LIMIT" check_panel_placement
    else
        check "panel placement" check_panel_placement
    fi
    check "outside click closes" check_outside_click
    close_panel
    check "escape closes" check_escape
    close_panel
    check "item click closes" check_item_click_closes
    close_panel
    check "menu works" check_menu
    close_panel
}
