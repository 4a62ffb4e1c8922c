# The machinery every X11 host script shares: a virtual display of its own, a private home,
# the processes it starts (and ends, whatever happens), screenshots, and the checks.
# Source it after report.sh. The host script then calls, in order:
#   x11_enter_session "$@"; x11_start_display; start its host; x11_wait_bar SIDE ...; x11_checks

IMAGE=(/usr/bin/python3 "$DESKTOP_LIB/image.py")
SCREEN_W=1280
SCREEN_H=800
x11_runtime=""
source "$DESKTOP_LIB/processes.sh"

# A home and a runtime folder of this host's own, and a private session bus that starts with
# them, so that nothing the bus starts (settings daemons and the like) reads or writes the
# user's files. Call first, with the script's arguments: it runs the script again on that bus.
x11_enter_session() {
    export HOME="$DESKTOP_OUT/home" XDG_RUNTIME_DIR="$DESKTOP_OUT/run"
    export XDG_CONFIG_HOME="$HOME/.config" XDG_CACHE_HOME="$HOME/.cache"
    export XDG_DATA_HOME="$HOME/.local/share" XDG_STATE_HOME="$HOME/.local/state"
    export XDG_SESSION_TYPE=x11 GDK_BACKEND=x11 QT_QPA_PLATFORM=xcb NO_AT_BRIDGE=1
    unset WAYLAND_DISPLAY DISPLAY SESSION_MANAGER
    [ -z "${DESKTOP_BUS:-}" ] || return 0
    mkdir -p "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME" "$XDG_STATE_HOME" \
        "$XDG_RUNTIME_DIR"
    chmod 700 "$XDG_RUNTIME_DIR"
    DESKTOP_BUS=1 exec dbus-run-session -- bash "$0" "$@"
}

# A display of this host's own, where nothing of another host is seen.
x11_start_display() {
    trap host_cleanup EXIT
    trap 'exit 130' INT TERM
    x11_runtime="$XDG_RUNTIME_DIR/x11"
    mkdir -p "$x11_runtime"
    mkfifo "$x11_runtime/display"
    Xvfb -displayfd 3 -screen 0 "${SCREEN_W}x${SCREEN_H}x24" -nolisten tcp -noreset \
        3>"$x11_runtime/display" >"$DESKTOP_OUT/xvfb.log" 2>&1 &
    host_pids+=("$!")
    local display
    read -r display <"$x11_runtime/display"
    export DISPLAY=":$display"
    dbus-update-activation-environment DISPLAY
    # A colour no panel uses: a black transparent margin shows against it.
    xsetroot -solid '#5b7fa3'
}

# x11_start_wm SECONDS COMMAND...: starts the window manager and waits (up to SECONDS) until it
# has taken the screen.
x11_start_wm() {
    local seconds=$1
    shift
    spawn wm "$@"
    wait_until "$seconds" xprop -root _NET_SUPPORTING_WM_CHECK
}

# x11_wait_watcher DETAIL: waits for the host's StatusNotifierWatcher on the bus; without one
# every check fails with DETAIL and the script ends.
x11_wait_watcher() {
    wait_until 20 dbus-send --session --print-reply --dest=org.kde.StatusNotifierWatcher \
        /StatusNotifierWatcher org.freedesktop.DBus.Peer.Ping ||
        host_broken "$1"
}

shot() { import -window root "$1" 2>/dev/null; }

# Waits (up to SECONDS) until two screenshots half a second apart are the same; leaves the last
# one in FILE.
wait_still() {
    local seconds=$1 file=$2 prev="$x11_runtime/still.png" tries
    tries=$((seconds * 2))
    shot "$prev"
    while [ "$tries" -gt 0 ]; do
        sleep 0.5
        shot "$file"
        "${IMAGE[@]}" same "$prev" "$file" && return 0
        cp "$file" "$prev"
        tries=$((tries - 1))
    done
    return 1
}

# The visible window found by `xdotool search ARGS...` that spans most of the screen's width on
# that side (top or bottom): the bar. Prints "X Y W H".
x11_find_bar() {
    local side=$1 id x y w h
    shift
    for id in $(xdotool search --onlyvisible "$@" 2>/dev/null); do
        read -r x y w h < <(x11_geometry "$id") || continue
        # Wholly on the screen: some bars slide in from its edge.
        [ "$w" -ge $((SCREEN_W * 8 / 10)) ] && [ "$h" -le 80 ] && [ "$y" -ge 0 ] &&
            [ $((y + h)) -le "$SCREEN_H" ] || continue
        if { [ "$side" = top ] && [ "$y" -lt $((SCREEN_H / 2)) ]; } ||
            { [ "$side" = bottom ] && [ "$y" -ge $((SCREEN_H / 2)) ]; }; then
            echo "$x $y $w $h"
            return 0
        fi
    done
    return 1
}

# x11_wait_bar SIDE ARGS...: waits for the bar and sets BAR_SIDE, BAR_X/Y/W/H; without a bar
# every check fails and the script ends.
x11_wait_bar() {
    local side=$1 bar
    wait_until 30 x11_find_bar "$@" && bar=$(x11_find_bar "$@") ||
        host_broken "no bar at the $side of the screen (xdotool search ${*:2})"
    BAR_SIDE=$side
    read -r BAR_X BAR_Y BAR_W BAR_H <<<"$bar"
}

# Every check fails with the same reason, and the script ends: the host never came up.
host_broken() {
    local name
    for name in "${CHECK_NAMES[@]}"; do fail "$name" "$1"; done
    exit 1
}

# "X Y W H" of a window in root coordinates.
x11_geometry() {
    xwininfo -id "$1" 2>/dev/null | awk '
        /Absolute upper-left X/ {x=$4} /Absolute upper-left Y/ {y=$4}
        /^ *Width:/ {w=$2} /^ *Height:/ {h=$2}
        END {if (w == "") exit 1; print x, y, w, h}'
}

# The demo's visible window that is large enough to be the panel.
panel_window() {
    local id w
    for id in $(xdotool search --onlyvisible --pid "$pid_demo" 2>/dev/null); do
        w=$(xwininfo -id "$id" 2>/dev/null | awk '/^ *Width:/ {print $2}')
        if [ "${w:-0}" -ge 300 ]; then
            echo "$id"
            return 0
        fi
    done
    return 1
}
panel_shown() { panel_window >/dev/null; }
panel_hidden() { ! panel_window >/dev/null; }

click_at() { xdotool mousemove --sync "$1" "$2" click "${3:-1}"; }
press_escape() { xdotool key Escape; }
click_item() { click_at "$ITEM_CX" "$ITEM_CY" "${1:-1}"; }
probe_presses() { wc -l <"$DESKTOP_OUT/probe.txt" 2>/dev/null || echo 0; }

# The probe sits on the side of the screen away from the tray, below a top bar or above a bottom
# one, where no panel ever goes.
x11_start_probe() {
    PROBE_W=240 PROBE_H=160 PROBE_X=40
    if [ "$BAR_SIDE" = top ]; then PROBE_Y=$((SCREEN_H - PROBE_H - 60)); else PROBE_Y=60; fi
    spawn probe /usr/bin/python3 "$DESKTOP_LIB/click_probe.py" "$DESKTOP_OUT/probe.txt" \
        "${PROBE_W}x${PROBE_H}+${PROBE_X}+${PROBE_Y}"
    wait_until 10 xdotool search --onlyvisible --classname clickprobe
}

# A plain desktop window under everything, for hosts without a desktop of their own: a known
# colour behind the panel (compositors paint no root colour), and a place whose clicks are
# recorded in DESKTOP_OUT/desktop.txt.
x11_start_backdrop() {
    spawn backdrop /usr/bin/python3 "$DESKTOP_LIB/click_probe.py" "$DESKTOP_OUT/desktop.txt" \
        "${SCREEN_W}x${SCREEN_H}+0+0" --desktop
    wait_until 10 xdotool search --onlyvisible --classname clickdesktop
}

# Starts the demo, pictures the panel it opens at start (FIRST_PANEL: its window "X Y W H") and
# closes it, and finds the item in the bar: the part of the bar that changed since before the
# demo ran.
x11_start_demo() {
    local before="$x11_runtime/bar-before.png"
    wait_still 20 "$before" || true
    spawn demo "$QUILLON_DEMO"
    FIRST_PANEL=""
    if wait_until 20 panel_shown; then
        sleep 0.8 # the bars' animation
        FIRST_PANEL=$(x11_geometry "$(panel_window)")
        shot "$DESKTOP_OUT/first-panel.png"
        xdotool key Escape
        wait_until 2 panel_hidden || click_at $((PROBE_X + PROBE_W / 2)) $((PROBE_Y + PROBE_H / 2))
        wait_until 3 panel_hidden || true
    fi
    ITEM=""
    local deadline=$(($(date +%s) + 20))
    while [ "$(date +%s)" -lt "$deadline" ]; do
        shot "$x11_runtime/bar-now.png"
        if ITEM=$("${IMAGE[@]}" new-item "$before" "$x11_runtime/bar-now.png" \
            "$BAR_X" "$BAR_Y" "$BAR_W" "$BAR_H" --threshold 24); then
            break
        fi
        ITEM=""
        sleep 0.5
    done
    # Let the bar finish laying out (icons slide in on some hosts), then measure again.
    wait_still 10 "$DESKTOP_OUT/closed.png" || true
    ITEM=$("${IMAGE[@]}" new-item "$before" "$DESKTOP_OUT/closed.png" \
        "$BAR_X" "$BAR_Y" "$BAR_W" "$BAR_H" --threshold 24) || ITEM=""
    use_item
}

source "$DESKTOP_LIB/x11_checks.sh"
