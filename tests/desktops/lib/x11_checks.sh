# The checks of an X11 host, made as a user makes them: xdotool moves the pointer and clicks
# through the X server, so the host's own input path delivers every click.
# Host settings: LABEL_HOST=1 where the host shows the label next to the icon; BAR_EMPTY_X/Y a
# point on the bar with nothing on it (optional); DESK_X/DESK_Y a point on the desktop away from
# the panel (optional).

GAP=8          # the visible panel's distance from the bar
PANEL_W=360
PANEL_H=500
CENTRE_SLACK=4 # px the panel's centre may be off the item's
GAP_SLACK=2
EDGE_SLACK=8   # px a panel held inside the screen may keep from its edge
SIZE_SLACK=2   # px: the edge line of the panel blends into what is under it

# Takes ITEM ("X Y W H", or empty) as the item in DESKTOP_OUT/closed.png: sets ITEM_X/Y/W/H and
# its centre ITEM_CX/CY, and crops the bar and the item into DESKTOP_OUT/bar.png and item.png.
use_item() {
    "${IMAGE[@]}" crop "$DESKTOP_OUT/closed.png" "$BAR_X" "$BAR_Y" "$BAR_W" "$BAR_H" \
        "$DESKTOP_OUT/bar.png"
    if [ -n "$ITEM" ]; then
        read -r ITEM_X ITEM_Y ITEM_W ITEM_H <<<"$ITEM"
        ITEM_CX=$((ITEM_X + ITEM_W / 2)) ITEM_CY=$((ITEM_Y + ITEM_H / 2))
        "${IMAGE[@]}" crop "$DESKTOP_OUT/closed.png" "$ITEM_X" "$ITEM_Y" "$ITEM_W" "$ITEM_H" \
            "$DESKTOP_OUT/item.png" 8
    fi
}

# What the host's StatusNotifierWatcher lists, where one runs: the items' bus names and paths.
watcher_items() {
    dbus-send --session --print-reply --dest=org.kde.StatusNotifierWatcher \
        /StatusNotifierWatcher org.freedesktop.DBus.Properties.Get \
        string:org.kde.StatusNotifierWatcher string:RegisteredStatusNotifierItems 2>/dev/null
}

check_item_visible() {
    [ -n "$ITEM" ] || { echo "nothing appeared in the bar ($BAR_W x $BAR_H at $BAR_X,$BAR_Y)"; return 1; }
    local drawn
    drawn=$("${IMAGE[@]}" content "$DESKTOP_OUT/closed.png" $ITEM)
    [ "$drawn" -ge 12 ] || { echo "item area $ITEM shows only $drawn drawn pixels"; return 1; }
    if dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner string:org.kde.StatusNotifierWatcher 2>/dev/null |
        grep -q true; then
        watcher_items | grep -q '/StatusNotifierItem' ||
            { echo "the host's StatusNotifierWatcher does not list the item"; return 1; }
    fi
}

check_figures_visible() {
    [ -n "$ITEM" ] || { echo "no item"; return 1; }
    if [ "${LABEL_HOST:-0}" = 1 ]; then
        # The icon sits close to the label: read as letters, it would run into the first word. The
        # label's alphabet is known, and without it tesseract reads X as K now and then.
        local words text
        words=$("${IMAGE[@]}" ocr "$DESKTOP_OUT/closed.png" \
            $((ITEM_X - 4)) "$BAR_Y" $((ITEM_W + 8)) "$BAR_H" --no-picture --chars "CX:%0123456789")
        text=$(awk '{printf "%s ", $1}' <<<"$words")
        case "$text" in
        *C:42%*X:17%*) ;;
        *) echo "label reads '$text', not ' C:42% X:17%'"; return 1 ;;
        esac
        # The icon is drawn left of the label, inside the item, in strong contrast (a theme's
        # pale "missing image" placeholder is not the icon), and icon-sized (a drag handle is not).
        local label_x ink ink_w=0 ink_h=0
        label_x=$(awk '$1 ~ /C:42%/ {print $2; exit}' <<<"$words")
        if [ $((label_x - 2 - ITEM_X)) -ge 8 ] && ink=$("${IMAGE[@]}" ink-box "$DESKTOP_OUT/closed.png" \
            "$ITEM_X" "$BAR_Y" $((label_x - 2 - ITEM_X)) "$BAR_H"); then
            read -r _ _ ink_w ink_h <<<"$ink"
        fi
        [ "$ink_w" -ge 10 ] && [ "$ink_h" -ge 10 ] || { echo "no icon drawn left of the label" \
            "(item at x $ITEM_X, label at x $label_x, strong pixels ${ink_w}x${ink_h})"; return 1; }
    else
        local green yellow red
        read -r green yellow red < <("${IMAGE[@]}" colours "$DESKTOP_OUT/closed.png" $ITEM)
        # The demo's figures (42 % and 17 %) are both in the green band.
        if [ "$green" -lt 6 ] || [ "$red" -gt "$green" ]; then
            echo "icon shows no figures: $green green, $yellow yellow, $red red pixels (item.png)"
            return 1
        fi
    fi
}

# Opens the panel as the host's user does: a click on the item, or where the host opens the
# item's menu on a click (ITEM_OPENS_MENU=1), that menu's "Open Quillon". Waits for it to draw.
open_panel() {
    if [ "${ITEM_OPENS_MENU:-0}" = 1 ]; then
        open_menu 1 >/dev/null || return 1
        choose_open || return 1
    else
        click_item
    fi
    wait_until 5 panel_shown || return 1
    sleep 0.4 # the bars' animation; the placement is measured on the settled picture
}

# open_menu BUTTON: clicks the item with that button and waits for a menu to appear; leaves its
# words (image.py ocr lines) in DESKTOP_OUT/menu.txt and the picture in DESKTOP_OUT/menu.png.
open_menu() {
    local area=""
    shot "$x11_runtime/menu-before.png"
    click_item "$1"
    local deadline=$(($(date +%s) + 5))
    while [ -z "$area" ] && [ "$(date +%s)" -lt "$deadline" ]; do
        sleep 0.3
        shot "$DESKTOP_OUT/menu.png"
        area=$("${IMAGE[@]}" diff-box "$x11_runtime/menu-before.png" "$DESKTOP_OUT/menu.png") || area=""
    done
    [ -n "$area" ] || { echo "no menu appeared after a click (button $1) on the item"; return 1; }
    sleep 0.5 # menus fade in
    shot "$DESKTOP_OUT/menu.png"
    area=$("${IMAGE[@]}" diff-box "$x11_runtime/menu-before.png" "$DESKTOP_OUT/menu.png")
    "${IMAGE[@]}" ocr "$DESKTOP_OUT/menu.png" $area >"$DESKTOP_OUT/menu.txt"
    echo "$area"
}

# Clicks the open menu's "Open Quillon".
choose_open() {
    local open
    open=$(awk '$1 == "Open" {print $2 + int($4 / 2), $3 + int($5 / 2); exit}' "$DESKTOP_OUT/menu.txt")
    if [ -z "$open" ]; then
        xdotool key Escape
        echo "the menu has no \"Open Quillon\"; it reads: $(awk '{printf "%s ", $1}' "$DESKTOP_OUT/menu.txt")"
        return 1
    fi
    click_at $open
}

check_panel_opens() {
    [ -n "$ITEM" ] || { echo "no item to click"; return 1; }
    local why
    why=$(open_panel) || { echo "no panel after a click on the item at $ITEM_CX,$ITEM_CY ${why}"; return 1; }
    sleep 0.5
    panel_shown || { echo "the panel opened, then closed by itself within a second"; return 1; }
    shot "$DESKTOP_OUT/panel.png"
}

check_panel_placement() {
    local id
    id=$(panel_window) || { echo "the panel is not open"; return 1; }
    placement_of "$DESKTOP_OUT/panel.png" "$(x11_geometry "$id")"
}

# The panel the demo opens at start, before any click: where a click on the item opens it.
check_first_panel() {
    [ -n "$FIRST_PANEL" ] || { echo "the demo opened no panel at start"; return 1; }
    placement_of "$DESKTOP_OUT/first-panel.png" "$FIRST_PANEL"
}

# placement_of SHOT "X Y W H": the panel window at that geometry, pictured in SHOT, lies centred
# on the item and GAP px from the bar.
placement_of() {
    local x y w h rx ry rw rh visible vx vy vw vh
    read -r x y w h <<<"$2"
    # Look around the window but never at the bar, where the item may change its look.
    rx=$((x - 30)) ry=$((y - 30)) rw=$((w + 60)) rh=$((h + 60))
    if [ "$BAR_SIDE" = top ] && [ "$ry" -lt $((BAR_Y + BAR_H)) ]; then
        rh=$((rh - (BAR_Y + BAR_H - ry))) ry=$((BAR_Y + BAR_H))
    elif [ "$BAR_SIDE" = bottom ] && [ $((ry + rh)) -gt "$BAR_Y" ]; then
        rh=$((BAR_Y - ry))
    fi
    visible=$("${IMAGE[@]}" diff-box "$DESKTOP_OUT/closed.png" "$1" \
        "$rx" "$ry" "$rw" "$rh") || { echo "nothing drawn around window $w x $h at $x,$y"; return 1; }
    read -r vx vy vw vh <<<"$visible"
    local where="visible ${vw}x${vh} at $vx,$vy (window ${w}x${h} at $x,$y), item centre x $ITEM_CX"
    # Centred on the item. Near a screen edge the product lets the panel overhang it, so the
    # screen cuts the centred panel; a window manager may instead push it inside the screen,
    # close to that edge. Either is right; anything else is not.
    local want_left=$((ITEM_CX - PANEL_W / 2)) problems="" dh=$((vh - PANEL_H))
    local clip_left=$want_left clip_right=$((want_left + PANEL_W))
    [ "$clip_left" -ge 0 ] || clip_left=0
    [ "$clip_right" -le "$SCREEN_W" ] || clip_right=$SCREEN_W
    local cut_x=$((vx - clip_left)) cut_w=$((vw - (clip_right - clip_left)))
    if [ "${dh#-}" -gt "$SIZE_SLACK" ]; then
        problems+=" size is not ${PANEL_W}x${PANEL_H};"
    fi
    if [ "$clip_right" -ne $((want_left + PANEL_W)) ] || [ "$clip_left" -ne "$want_left" ]; then
        if [ "${cut_x#-}" -le "$CENTRE_SLACK" ] && [ "${cut_w#-}" -le "$SIZE_SLACK" ]; then
            where+=" (centred, cut by the screen edge)"
        else
            local pushed_left=$want_left
            [ "$pushed_left" -ge 0 ] || pushed_left=0
            [ "$pushed_left" -le $((SCREEN_W - PANEL_W)) ] || pushed_left=$((SCREEN_W - PANEL_W))
            local dw=$((vw - PANEL_W)) off=$((vx - pushed_left))
            [ "${dw#-}" -le "$SIZE_SLACK" ] || problems+=" size is not ${PANEL_W}x${PANEL_H};"
            [ "${off#-}" -le $((CENTRE_SLACK + EDGE_SLACK)) ] ||
                problems+=" neither centred on the item nor pushed to the screen's edge (off by $off px);"
        fi
    else
        local dw=$((vw - PANEL_W)) off=$((vx + vw / 2 - ITEM_CX))
        [ "${dw#-}" -le "$SIZE_SLACK" ] || problems+=" size is not ${PANEL_W}x${PANEL_H};"
        [ "${off#-}" -le "$CENTRE_SLACK" ] || problems+=" centre off by $off px;"
    fi
    local gap
    if [ "$BAR_SIDE" = top ]; then
        gap=$((vy - (BAR_Y + BAR_H)))
        where+=", bar bottom y $((BAR_Y + BAR_H))"
    else
        gap=$((BAR_Y - (vy + vh)))
        where+=", bar top y $BAR_Y"
    fi
    [ $((gap - GAP)) -le "$GAP_SLACK" ] && [ $((GAP - gap)) -le "$GAP_SLACK" ] ||
        problems+=" ${gap} px from the bar, not $GAP;"
    [ -z "$problems" ] || { echo "${problems# } $where"; return 1; }
}

# close_by WHAT X Y: clicks there while the panel is open; the panel must hide.
close_by() {
    click_at "$2" "$3"
    wait_until 3 panel_hidden || { echo "a click on the $1 at $2,$3 left the panel open"; return 1; }
}

reopen() {
    [ -n "$ITEM" ] || { echo "no item to click"; return 1; }
    sleep 0.5 # past the 300 ms in which a click on the item only closes
    local why
    panel_shown || why=$(open_panel) || { echo "the panel did not open again ${why}"; return 1; }
}

check_outside_click() {
    panel_shown || reopen || return 1
    local before
    before=$(probe_presses)
    close_by "click probe window" $((PROBE_X + PROBE_W / 2)) $((PROBE_Y + PROBE_H / 2)) || return 1
    wait_until 2 test "$(probe_presses)" -gt "$before" ||
        { echo "the panel closed, but the click never reached the window under it"; return 1; }
    if [ -n "${DESK_X:-}" ]; then
        reopen || return 1
        before=$(wc -l <"$DESKTOP_OUT/desktop.txt" 2>/dev/null || echo 0)
        close_by desktop "$DESK_X" "$DESK_Y" || return 1
        # Where the backdrop is the desktop, it must have had the click too.
        if [ -f "$DESKTOP_OUT/desktop.txt" ]; then
            wait_until 2 test "$(wc -l <"$DESKTOP_OUT/desktop.txt")" -gt "$before" ||
                { echo "the panel closed, but the click never reached the desktop"; return 1; }
        fi
    fi
    if [ -n "${BAR_EMPTY_X:-}" ]; then
        reopen || return 1
        close_by "bar" "$BAR_EMPTY_X" "$BAR_EMPTY_Y" || return 1
    fi
}

check_escape() {
    reopen || return 1
    press_escape
    wait_until 3 panel_hidden || { echo "Escape left the panel open"; return 1; }
}

check_item_click_closes() {
    reopen || return 1
    click_item
    wait_until 3 panel_hidden || { echo "a click on the item left the panel open"; return 1; }
    sleep 1
    panel_hidden || { echo "the panel opened again after the click that closed it"; return 1; }
    # Where the click opens the item's menu, that menu stays open: close it.
    [ "${ITEM_OPENS_MENU:-0}" = 1 ] && press_escape
    return 0
}

check_menu() {
    [ -n "$ITEM" ] || { echo "no item"; return 1; }
    panel_hidden || { xdotool key Escape; wait_until 3 panel_hidden; }
    sleep 0.5
    local area text missing=""
    area=$(open_menu "${MENU_BUTTON:-3}") || { echo "$area"; return 1; }
    text=$(awk '{printf "%s ", $1}' "$DESKTOP_OUT/menu.txt")
    for entry in Claude Codex "Open Quillon" "Refresh Usage" Quit; do
        [[ "$text" == *"$entry"* ]] || missing+=" \"$entry\""
    done
    choose_open || return 1
    wait_until 5 panel_shown || { echo "\"Open Quillon\" did not open the panel"; return 1; }
    sleep 0.4
    shot "$DESKTOP_OUT/menu-opened.png"
    [ -z "$missing" ] || { echo "menu lacks$missing; it reads: $text"; return 1; }
}

x11_checks() {
    x11_start_probe || host_broken "the click probe window did not appear"
    x11_start_demo
    check "item visible" check_item_visible
    check "figures visible" check_figures_visible
    check "panel opens" check_panel_opens
    check "panel placement" check_panel_placement
    check "first panel under the item" check_first_panel
    check "outside click closes" check_outside_click
    check "escape closes" check_escape
    check "item click closes" check_item_click_closes
    check "menu works" check_menu
}
