# The checks of Quillon's own GNOME Shell extension, beside the Wayland hosts' common ones.
# Source it after gnome_session.sh and wayland_checks.sh; the host has set ITEM_JS to Quillon's
# button (the default).

LABEL_HOST=1
MENU_CLICK=right
TITLE=" C:42% X:17%"

open_panel() {
    click_item
    wait_until 5 panel_shown || { echo "a click on the button did not open the panel"; return 1; }
    sleep 0.4
}

find_item() {
    ITEM=""
    wait_until 20 button_right && ITEM=$(item_box)
}

check_menu() { check_gnome_menu; }

# The button is shown and reads the title exactly.
button_label() { shell_eval "($ITEM_JS).get_first_child().get_children()[1].text"; }
# One question to the shell, since the cycles below ask it often.
button_right() {
    shell_true "(() => { const b = $ITEM_JS;
        return b && b.mapped && b.get_first_child().get_children()[1].text === '$TITLE'; })()"
}

# The figures as the button draws them: the title in its label, the gauge in its icon, each
# where the shell has put them.
check_figures_visible() {
    [ -n "$ITEM" ] || { echo "no item"; return 1; }
    local lx ly lw lh ix iy iw ih words text ink ink_w=0 ink_h=0
    read -r lx ly lw lh < <(actor_box "($ITEM_JS).get_first_child().get_children()[1]") ||
        { echo "the button shows no label"; return 1; }
    read -r ix iy iw ih < <(actor_box "($ITEM_JS).get_first_child().get_children()[0]") ||
        { echo "the button shows no icon"; return 1; }
    words=$("${IMAGE[@]}" ocr "$DESKTOP_OUT/closed.png" "$lx" "$BAR_Y" $((lw + 4)) "$BAR_H" \
        --no-picture --chars "CX:%0123456789")
    text=$(awk '{printf "%s ", $1}' <<<"$words")
    case "$text" in
    *C:42%*X:17%*) ;;
    *) echo "label reads '$text', not ' C:42% X:17%'"; return 1 ;;
    esac
    [ "$ix" -lt "$lx" ] || { echo "the icon ($ix) is not left of the label ($lx)"; return 1; }
    ink=$("${IMAGE[@]}" ink-box "$DESKTOP_OUT/closed.png" "$ix" "$iy" "$iw" "$ih") &&
        read -r _ _ ink_w ink_h <<<"$ink"
    [ "$ink_w" -ge 10 ] && [ "$ink_h" -ge 10 ] ||
        { echo "no gauge drawn in the icon at $ix,$iy (strong pixels ${ink_w}x${ink_h})"; return 1; }
}

# The item no host but Quillon's extension may show: AppIndicator's for Quillon, when drawn.
appindicator_item_shown() { shell_true "($APPINDICATOR_ITEM_JS) && ($APPINDICATOR_ITEM_JS).mapped"; }

check_item_visible() {
    [ -n "$ITEM" ] || { echo "Quillon's button is not in the top bar (label: '$(button_label 2>&1)')"; return 1; }
    local drawn
    drawn=$("${IMAGE[@]}" content "$DESKTOP_OUT/closed.png" $ITEM)
    [ "$drawn" -ge 12 ] || { echo "button area $ITEM shows only $drawn drawn pixels"; return 1; }
    ! appindicator_item_shown || { echo "a second Quillon item shows beside the button"; return 1; }
}

# The left click toggled the panel and opened no menu.
check_no_menu_on_click() {
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    ! shell_true "($ITEM_JS).menu.isOpen" || { echo "a left click opened the menu too"; return 1; }
}

# A click on "Activities" closes the panel and still opens the overview.
check_overview_click() {
    reopen >/dev/null || { echo "the panel did not open"; return 1; }
    local x y w h
    read -r x y w h < <(actor_box "Main.panel.statusArea.activities")
    click_at $((x + w / 2)) $((y + h / 2))
    wait_until 3 panel_hidden || { echo "a click on Activities left the panel open"; return 1; }
    wait_until 3 shell_true "Main.overview.visible" || { echo "the click on Activities did not reach the shell"; return 1; }
    gnome_settle
}

# Disables and enables Quillon's extension COUNT times: the button goes with it and comes back
# right each time.
check_button_cycles() {
    local count=${EXTENSION_CYCLES:-50} cycle
    for ((cycle = 1; cycle <= count; cycle++)); do
        gnome-extensions disable "$QUILLON_EXTENSION"
        wait_until 3 item_absent || { echo "the button stayed after disabling the extension (cycle $cycle)"; return 1; }
        gnome-extensions enable "$QUILLON_EXTENSION"
        wait_until 3 button_right || { echo "the button was not right after cycle $cycle: '$(button_label 2>&1)'"; return 1; }
    done
}

# Ends the demo with a terminating signal, as the end of a session does, even while it is still
# starting; fails (after the kill a crash amounts to) when it is still running 5 s later.
stop_demo() {
    local ended=0
    kill "$pid_demo" 2>/dev/null
    wait_until 5 eval '[ -z "$(ps -o stat= -p "$pid_demo" | grep -v Z)" ]' || ended=1
    [ "$ended" -eq 0 ] || kill -9 "$pid_demo" 2>/dev/null
    wait "$pid_demo" 2>/dev/null
    return "$ended"
}

# Ends and starts the demo COUNT times: the button goes while it is away and comes back right.
check_quillon_restarts() {
    local count=${QUILLON_RESTARTS:-20} round
    for ((round = 1; round <= count; round++)); do
        stop_demo || { echo "the demo went on running after SIGTERM (round $round)"; return 1; }
        wait_until 3 item_absent || { echo "the button stayed while Quillon was not running (round $round)"; return 1; }
        spawn demo "$QUILLON_DEMO"
        wait_until 10 button_right || { echo "the button was not right after restart $round: '$(button_label 2>&1)'"; return 1; }
    done
    close_panel
}

# With neither the button nor any tray, Quillon says so: one line on standard error that names
# the extension, and one notification in the shell's message tray.
check_unseen_notice() {
    gnome-extensions disable "$QUILLON_EXTENSION"
    wait_until 3 item_absent || { echo "the button stayed after disabling the extension"; return 1; }
    stop_demo || { echo "the demo went on running after SIGTERM"; return 1; }
    spawn demo "$QUILLON_DEMO"
    local problems="" lines
    wait_until 10 grep -q "gnome-extensions enable $QUILLON_EXTENSION" "$DESKTOP_OUT/demo.log" ||
        problems+=" no line on standard error names the extension;"
    wait_until 5 shell_true "Main.messageTray.getSources().some(s => s.notifications.some(
            n => n.title === 'Quillon is running but not shown'))" ||
        problems+=" no notification in the message tray;"
    sleep 1
    lines=$(grep -c 'nothing on this desktop can show' "$DESKTOP_OUT/demo.log")
    [ "$lines" -eq 1 ] || problems+=" $lines lines instead of one;"
    gnome-extensions enable "$QUILLON_EXTENSION"
    wait_until 5 button_right || problems+=" the button did not come back;"
    close_panel
    [ -z "$problems" ] || { echo "${problems# }"; return 1; }
}

# ShowPanel() over the bus, as a shortcut or a script asks for the panel: Quillon asks the shell
# where its button is, and the panel opens under the button as after a click.
check_bus_show_panel() {
    close_panel
    dbus-send --session --print-reply --dest=org.quillon.Quillon /org/quillon/Quillon \
        org.quillon.Quillon1.ShowPanel >/dev/null || { echo "ShowPanel() failed"; return 1; }
    wait_until 5 panel_shown || { echo "ShowPanel() opened no panel"; return 1; }
    sleep 0.5
    shot "$DESKTOP_OUT/panel-by-bus.png"
    placement_of "$DESKTOP_OUT/panel-by-bus.png" "$(x11_geometry panel)"
}

# Nothing of the extension's in the shell's log: no error, no warning.
check_shell_log() {
    local lines
    lines=$(grep -i -E 'quillon' "$DESKTOP_OUT/shell.log" | grep -i -E 'error|warn|critical|exception' | head -n 3)
    [ -z "$lines" ] || { echo "the shell's log: $(tr '\n' ' ' <<<"$lines")"; return 1; }
}

# The Wayland hosts' checks, with this button's own for the item and its figures (above), then
# what only a shell's own button can do.
gnome_extension_checks() {
    wayland_checks
    check "no menu on a left click" check_no_menu_on_click
    close_panel
    check "overview click closes" check_overview_click
    close_panel
    check "bus opens under the button" check_bus_show_panel
    close_panel
}
