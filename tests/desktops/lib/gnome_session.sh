# GNOME Shell headless for the real-host tests: the shell on a virtual monitor of its own, in
# mount and network namespaces of its own (its X displays and the abstract sockets of XWayland
# never meet another host's), on a private session bus, with Quillon's own extension installed
# for the session's user and the extensions in GNOME_EXTENSIONS on. Quillon runs there as an X11
# client through XWayland, as it does on a user's GNOME session.
#
# Source it first thing in the host script and call gnome_enter "$@": it re-runs the script in
# the namespaces and on the bus. Then source report.sh and wayland_checks.sh, call gnome_start,
# and the checks. Input goes through the shell's own seat (a Clutter virtual pointer and
# keyboard), screenshots through the shell's screenshot interface; both need --unsafe-mode.

APPINDICATOR=ubuntu-appindicators@ubuntu.com
QUILLON_EXTENSION=quillon@quillon.org
GNOME_EXTENSIONS=("${GNOME_EXTENSIONS[@]:-$QUILLON_EXTENSION}")
SCREEN_W=1280
SCREEN_H=800
GNOME_SHELL=(/usr/bin/python3 "$DESKTOP_LIB/gnome_shell.py")
IMAGE=(/usr/bin/python3 "$DESKTOP_LIB/image.py")
source "$DESKTOP_LIB/processes.sh"
source "$DESKTOP_LIB/namespaces.sh"

gnome_enter() {
    enter_namespaces "$@"
    if [ -z "${DESKTOP_BUS:-}" ]; then
        # No logind: mutter then runs its headless back end without a login session.
        mount -t tmpfs -o mode=755 tmpfs /run/systemd
        export HOME="$DESKTOP_OUT/home"
        export XDG_CONFIG_HOME="$HOME/.config" XDG_CACHE_HOME="$HOME/.cache"
        export XDG_DATA_HOME="$HOME/.local/share" XDG_STATE_HOME="$HOME/.local/state"
        mkdir -p "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME" "$XDG_STATE_HOME"
        XDG_RUNTIME_DIR=$(mktemp -d)
        # The shell's accessibility bridge stays on, as in a user's session: the accessibility
        # bus is where Quillon finds its item in the top bar.
        unset NO_AT_BRIDGE
        export XDG_RUNTIME_DIR XDG_SESSION_TYPE=wayland GSETTINGS_BACKEND=dconf XDG_CURRENT_DESKTOP=GNOME
        unset DISPLAY WAYLAND_DISPLAY XAUTHORITY QT_QPA_PLATFORM GDK_BACKEND
        # The bus and the services it starts write to the log, not among the checks' lines:
        # the script gets the checks' output back as descriptor 3.
        DESKTOP_BUS=1 exec dbus-run-session -- bash "$0" "$@" 3>&1 1>&2
    fi
    exec 1>&3 3>&-
}

shell_eval() { "${GNOME_SHELL[@]}" eval "$1"; }
# shell_true EXPRESSION: succeeds when the expression is truthy in the shell.
shell_true() { shell_eval "!!($1)" 2>/dev/null | grep -qx true; }
shot() { "${GNOME_SHELL[@]}" screenshot "$1"; }
ms_now() { echo $(($(date +%s%N) / 1000000)); }

# Clicks through the shell's seat, as a mouse does: move, then press and release.
click_at() {
    local button=1 # as Clutter numbers them: 1 left, 3 right
    [ "${3:-left}" = right ] && button=3
    shell_eval "globalThis.quillonTestPointer.notify_absolute_motion(GLib.get_monotonic_time(), $1, $2)" >/dev/null
    sleep 0.1
    shell_eval "(() => {
        const p = globalThis.quillonTestPointer, s = imports.gi.Clutter.ButtonState;
        p.notify_button(GLib.get_monotonic_time(), $button, s.PRESSED);
        p.notify_button(GLib.get_monotonic_time() + 1000, $button, s.RELEASED);
    })()" >/dev/null
}

press_escape() {
    shell_eval "(() => {
        const k = globalThis.quillonTestKeyboard, C = imports.gi.Clutter;
        k.notify_keyval(GLib.get_monotonic_time(), C.KEY_Escape, C.KeyState.PRESSED);
        k.notify_keyval(GLib.get_monotonic_time() + 1000, C.KEY_Escape, C.KeyState.RELEASED);
    })()" >/dev/null
}

# The indicator the AppIndicator extension made for Quillon's item, as an expression.
APPINDICATOR_ITEM_JS="Object.values(Main.panel.statusArea).find(a => a && a._indicator && a._indicator.id === 'quillon')"
# Quillon's own button, as an expression.
QUILLON_BUTTON_JS="Main.panel.statusArea.quillon"
# The item the checks click: the host picks one of the two.
ITEM_JS=${ITEM_JS:-$QUILLON_BUTTON_JS}

# "X Y W H" of a shell actor expression, when it is shown.
actor_box() {
    shell_eval "(() => { const a = $1;
        if (!a || !a.mapped) throw new Error('not shown');
        const [x, y] = a.get_transformed_position(), [w, h] = a.get_transformed_size();
        return [x, y, w, h].map(Math.round).join(' '); })()"
}

item_box() { actor_box "$ITEM_JS"; }
item_present() { item_box >/dev/null 2>&1; }
item_absent() { ! shell_true "($ITEM_JS) && ($ITEM_JS).mapped"; }

# "X Y W H" of the demo's window that is large enough to be the panel (its frame, as mutter
# places it, transparent margin included).
panel_frame() {
    shell_eval "(() => { const r = global.get_window_actors().map(a => a.meta_window)
            .filter(w => w.get_pid() === $pid_demo).map(w => w.get_frame_rect())
            .find(r => r.width >= 300);
        if (!r) throw new Error('no panel window');
        return [r.x, r.y, r.width, r.height].join(' '); })()"
}

menu_open() { shell_true "($ITEM_JS).menu.isOpen"; }
menu_closed() { ! menu_open; }

# The menu's rows as the shell draws them, one a line.
menu_rows() {
    shell_eval "($ITEM_JS).menu._getMenuItems()
        .map(m => m.label ? m.label.text : '----').join('\n')"
}

# "X Y" of the centre of the menu row that reads TEXT.
menu_row_centre() {
    shell_eval "(() => { const m = ($ITEM_JS).menu._getMenuItems()
            .find(m => m.label && m.label.text === '$1' && m.mapped);
        if (!m) throw new Error('no row');
        const [x, y] = m.get_transformed_position(), [w, h] = m.get_transformed_size();
        return [x + w / 2, y + h / 2].map(Math.round).join(' '); })()"
}

# Opens the panel from the item's menu: a click on the item (MENU_CLICK: left where the
# AppIndicator extension draws the item, right on Quillon's own button) opens its menu, a click
# on "Open Quillon" the panel. MENU_ROWS keeps what the menu showed; MENU_SHOT names a
# screenshot of it.
gnome_open_panel() {
    click_item "${MENU_CLICK:-left}"
    wait_until 3 menu_open || { echo "no menu after a click on the item at $ITEM_CX,$ITEM_CY"; return 1; }
    MENU_ROWS=$(menu_rows)
    [ -z "${MENU_SHOT:-}" ] || { sleep 0.3; shot "$MENU_SHOT"; }
    local row
    row=$(menu_row_centre "Open Quillon") || { echo "the menu has no \"Open Quillon\""; return 1; }
    click_at $row
    wait_until 5 panel_shown || { echo "\"Open Quillon\" did not open the panel"; return 1; }
}

# The "menu works" check on GNOME, wherever the item's menu comes from: it opens, reads a row of
# figures per provider, then "Open Quillon", "Refresh Usage", a separator (a row without text
# to the shell) and "Quit", and its "Open Quillon" opens the panel.
check_gnome_menu() {
    [ -n "$ITEM" ] || { echo "no item"; return 1; }
    MENU_SHOT="$DESKTOP_OUT/menu.png" gnome_open_panel >"$DESKTOP_OUT/.menu-open.txt"
    local opened=$? rows missing=""
    rows=$(tr '\n' '|' <<<"$MENU_ROWS")
    grep -q '^Claude .*42%' <<<"$MENU_ROWS" || missing+=" a Claude row with 42%;"
    grep -q '^Codex .*17%' <<<"$MENU_ROWS" || missing+=" a Codex row with 17%;"
    [ "$(tail -n 4 <<<"$MENU_ROWS" | sed 's/^----$//' | tr '\n' '|')" = "Open Quillon|Refresh Usage||Quit|" ] ||
        missing+=" \"Open Quillon\", \"Refresh Usage\", a separator and \"Quit\" at its end;"
    [ "$opened" -eq 0 ] || missing+=" $(cat "$DESKTOP_OUT/.menu-open.txt");"
    rm -f "$DESKTOP_OUT/.menu-open.txt"
    [ -z "$missing" ] || { echo "menu lacks${missing%;}; it reads: ${rows%|}"; return 1; }
}

# Leaves the shell as a session starts it: no overview, no menu, the pointer on the desktop.
gnome_settle() {
    shell_eval "Main.overview.hide()" >/dev/null
    wait_until 5 shell_true "!Main.overview.visible" || true
}

gnome_start() {
    trap host_cleanup EXIT
    trap 'exit 130' INT TERM
    local started ready
    started=$(ms_now)
    # A system bus of its own: the shell's status icons look up services there.
    spawn system-bus dbus-daemon --session --nofork --address="unix:path=$XDG_RUNTIME_DIR/system_bus"
    export DBUS_SYSTEM_BUS_ADDRESS="unix:path=$XDG_RUNTIME_DIR/system_bus"
    wait_until 5 test -S "$XDG_RUNTIME_DIR/system_bus"
    "$REPO/gnome-shell/build.sh" "$XDG_DATA_HOME/gnome-shell/extensions/$QUILLON_EXTENSION" auto
    local enabled
    enabled=$(printf "'%s', " "${GNOME_EXTENSIONS[@]}")
    gsettings set org.gnome.shell enabled-extensions "[${enabled%, }]"
    gsettings set org.gnome.shell disable-user-extensions false
    gsettings set org.gnome.shell welcome-dialog-last-shown-version '99'
    gsettings set org.gnome.desktop.interface enable-animations false
    gsettings set org.gnome.desktop.notifications show-banners false
    gsettings set org.gnome.desktop.session idle-delay 0
    spawn shell gnome-shell --headless --wayland --virtual-monitor "${SCREEN_W}x${SCREEN_H}" --unsafe-mode
    wait_until 60 shell_true "!Main.layoutManager._startingUp" ||
        { fail "item visible" "GNOME Shell did not start (see shell.log)"; return 1; }
    ready=$(ms_now)
    gnome_settle
    shell_eval "(() => { const C = imports.gi.Clutter, seat = C.get_default_backend().get_default_seat();
        globalThis.quillonTestPointer = seat.create_virtual_device(C.InputDeviceType.POINTER_DEVICE);
        globalThis.quillonTestKeyboard = seat.create_virtual_device(C.InputDeviceType.KEYBOARD_DEVICE);
    })()" >/dev/null
    # The X11 display the shell's own clients get.
    DISPLAY=$(shell_eval "GLib.getenv('DISPLAY')")
    WAYLAND_DISPLAY=$(shell_eval "GLib.getenv('WAYLAND_DISPLAY')")
    XAUTHORITY=$(shell_eval "GLib.getenv('XAUTHORITY') || ''")
    export DISPLAY WAYLAND_DISPLAY
    [ -z "$XAUTHORITY" ] && unset XAUTHORITY || export XAUTHORITY
    read -r BAR_X BAR_Y BAR_W BAR_H < <(actor_box "Main.panel")
    BAR_SIDE=top
    if [[ " ${GNOME_EXTENSIONS[*]} " == *" $APPINDICATOR "* ]]; then
        wait_until 10 watcher_present || fail "item visible" "the extension's StatusNotifierWatcher never appeared"
    fi
    echo "gnome-shell ready after $((ready - started)) ms (DISPLAY=$DISPLAY)" >&2
}

watcher_present() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner string:org.kde.StatusNotifierWatcher | grep -q true
}

# "X Y W H" of the probe window, as mutter placed it.
probe_frame() {
    shell_eval "(() => { const w = global.get_window_actors().map(a => a.meta_window)
            .find(w => w.get_title() === 'click probe');
        if (!w) throw new Error('no probe');
        const r = w.get_frame_rect(); return [r.x, r.y, r.width, r.height].join(' '); })()"
}

move_probe() {
    shell_eval "global.get_window_actors().map(a => a.meta_window)
        .find(w => w.get_title() === 'click probe').move_frame(true, $1, $2)" >/dev/null
}

# Disables and enables the extension (the AppIndicator one unless named) as the screen lock
# does, COUNT times, and counts the cycles after which the item did not come back within a few
# seconds.
check_extension_cycles() {
    local EXTENSION=${1:-$APPINDICATOR}
    local count=${EXTENSION_CYCLES:-50} missing=0 cycle gone_in_a_row=0 first=""
    for ((cycle = 1; cycle <= count; cycle++)); do
        gnome-extensions disable "$EXTENSION"
        wait_until 3 item_absent || { echo "the item stayed after disabling the extension"; return 1; }
        gnome-extensions enable "$EXTENSION"
        if wait_until 3 item_present; then
            gone_in_a_row=0
            continue
        fi
        missing=$((missing + 1)) gone_in_a_row=$((gone_in_a_row + 1))
        [ -n "$first" ] || first=$cycle
        # Lost for five cycles running: it does not come back, and the cycles left count as lost.
        if [ "$gone_in_a_row" -ge 5 ]; then
            missing=$((missing + count - cycle))
            break
        fi
    done
    [ "$missing" -eq 0 ] || { echo "the item was missing after $missing of $count cycles (first after cycle $first)"; return 1; }
}
