# sway with waybar headless for the real-host tests: wlroots' headless back end on an output of
# its own, in mount and network namespaces of its own (the X displays of its XWayland never meet
# another host's), on a private session bus. sway refuses to run as root, so as root the session
# runs as an unprivileged user of its own. Quillon runs there as an X11 client through XWayland.
#
# Source it first thing in the host script and call sway_enter "$@": it re-runs the script in the
# namespaces, as that user, on the bus. Then source report.sh and wayland_checks.sh, call
# sway_start, and the checks. Clicks go through sway's own seat (`seat seat0 cursor`), keys
# through a virtual keyboard (wtype), screenshots through grim.

SWAY_USER=quillon-desktops
SCREEN_W=1280
SCREEN_H=800
IMAGE=(/usr/bin/python3 "$DESKTOP_LIB/image.py")
source "$DESKTOP_LIB/processes.sh"
source "$DESKTOP_LIB/namespaces.sh"

sway_enter() {
    enter_namespaces "$@"
    [ -z "${DESKTOP_BUS:-}" ] || return 0
    local as_user=() owner
    owner="$(id -u):$(id -g)"
    if [ "$(id -u)" -eq 0 ]; then
        id -u "$SWAY_USER" >/dev/null 2>&1 ||
            useradd --system --no-create-home --home-dir /nonexistent --shell /usr/sbin/nologin "$SWAY_USER"
        chown -R "$SWAY_USER:" "$DESKTOP_OUT"
        as_user=(setpriv --reuid="$SWAY_USER" --regid="$SWAY_USER" --init-groups)
    fi
    export HOME="$DESKTOP_OUT/home"
    export XDG_CONFIG_HOME="$HOME/.config" XDG_CACHE_HOME="$HOME/.cache"
    export XDG_DATA_HOME="$HOME/.local/share" XDG_STATE_HOME="$HOME/.local/state"
    XDG_RUNTIME_DIR=$(mktemp -d)
    [ ${#as_user[@]} -eq 0 ] || chown "$SWAY_USER:" "$XDG_RUNTIME_DIR"
    export XDG_RUNTIME_DIR XDG_SESSION_TYPE=wayland NO_AT_BRIDGE=1
    export WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman WLR_HEADLESS_OUTPUTS=1
    unset DISPLAY WAYLAND_DISPLAY SWAYSOCK XAUTHORITY QT_QPA_PLATFORM GDK_BACKEND
    DESKTOP_BUS=1 "${as_user[@]}" dbus-run-session -- bash "$0" "$@"
    local status=$?
    # The screenshots and logs go back to whoever runs the tests.
    chown -R "$owner" "$DESKTOP_OUT"
    exit "$status"
}

shot() { grim "$1"; }
ms_now() { echo $(($(date +%s%N) / 1000000)); }

# Clicks through sway's seat: the cursor moves there, then the button goes down and up.
click_at() {
    local button=button1
    [ "${3:-left}" = right ] && button=button3
    swaymsg -q "seat seat0 cursor set $1 $2"
    sleep 0.1
    swaymsg -q "seat seat0 cursor press $button"
    swaymsg -q "seat seat0 cursor release $button"
}

press_escape() { wtype -k Escape; }

# "X Y W H" of the first X11 window of that pid (or that title) in sway's tree, as sway placed it.
tree_rect() {
    swaymsg -t get_tree | /usr/bin/python3 -c '
import json, sys
key, value = sys.argv[1], sys.argv[2]
def walk(node):
    yield node
    for child in node.get("nodes", []) + node.get("floating_nodes", []):
        yield from walk(child)
for node in walk(json.load(sys.stdin)):
    if str(node.get(key)) == value and node.get("visible", True) and node["rect"]["width"] >= int(sys.argv[3]):
        r = node["rect"]
        print(r["x"], r["y"], r["width"], r["height"])
        sys.exit(0)
sys.exit(1)' "$@"
}

# The panel window: sway's tree holds the windows it manages; one that bypasses the window manager
# is only on the X display.
panel_frame() {
    tree_rect pid "$pid_demo" 300 && return 0
    local id
    for id in $(xdotool search --onlyvisible --pid "$pid_demo" 2>/dev/null); do
        xwininfo -id "$id" 2>/dev/null | awk '
            /Absolute upper-left X/ {x=$4} /Absolute upper-left Y/ {y=$4}
            /^ *Width:/ {w=$2} /^ *Height:/ {h=$2}
            END {if (w < 300) exit 1; print x, y, w, h}' && return 0
    done
    return 1
}

probe_frame() { tree_rect name "click probe" 1; }
move_probe() { swaymsg -q "[title=\"^click probe$\"] move absolute position $1 $2"; }

# waybar runs each custom module in a process group of its own, which outlives waybar and the
# session's bus (`quillon status --watch` waits for Quillon through its restarts): they are
# ended by their pids first, then the session's processes.
end_bar_modules() {
    local module
    [ -n "${pid_waybar:-}" ] || return 0
    for module in $(ps -o pid= --ppid "$pid_waybar" 2>/dev/null); do
        kill $(ps -o pid= --ppid "$module" 2>/dev/null) "$module" 2>/dev/null || true
    done
}

# sway_with_seat CONFIG: sway, headless, with that config, and the seat's pointer and keyboard,
# without which no client takes a click or a key. Exports SWAYSOCK and WAYLAND_DISPLAY; fails,
# with a failed first check saying why, when either does not come up.
sway_with_seat() {
    mkdir -p "$XDG_CONFIG_HOME/sway"
    printf '%s\n' "$1" >"$XDG_CONFIG_HOME/sway/config"
    spawn sway sway --config "$XDG_CONFIG_HOME/sway/config"
    wait_until 20 sway_socket || { fail "item visible" "sway did not start (see sway.log)"; return 1; }
    export SWAYSOCK WAYLAND_DISPLAY
    spawn seat /usr/bin/python3 "$DESKTOP_LIB/sway_seat.py"
    wait_until 5 grep -qx ready "$DESKTOP_OUT/seat.log" ||
        { fail "item visible" "no virtual pointer and keyboard (see seat.log)"; return 1; }
}

sway_start() {
    trap 'end_bar_modules; host_cleanup' EXIT
    trap 'exit 130' INT TERM
    local started ready
    started=$(ms_now)
    sway_with_seat "output HEADLESS-1 resolution ${SCREEN_W}x${SCREEN_H} position 0 0 bg #5b7fa3 solid_color
xwayland enable
for_window [title=\"^click probe$\"] floating enable, resize set 240 160, move absolute position 40 $((SCREEN_H - 220))
for_window [title=\"^wayland probe$\"] floating enable, resize set 200 120, move absolute position 60 330" ||
        return 1
    spawn waybar waybar --config "${WAYBAR_CONFIG:-$DESKTOP_LIB/waybar-config.json}"
    wait_until 20 waybar_ready || { fail "item visible" "waybar did not start (see waybar.log)"; return 1; }
    ready=$(ms_now)
    # XWayland starts with the first X11 client; sway tells its clients the display.
    export DISPLAY
    DISPLAY=$(tr '\0' '\n' </proc/"$pid_sway"/environ | sed -n 's/^DISPLAY=//p')
    [ -n "$DISPLAY" ] || DISPLAY=:0
    BAR_SIDE=${SWAY_BAR_SIDE:-top}
    read -r BAR_X BAR_Y BAR_W BAR_H < <(bar_rect)
    echo "sway and waybar ready after $((ready - started)) ms (DISPLAY=$DISPLAY)" >&2
}

sway_socket() {
    SWAYSOCK=$(ls "$XDG_RUNTIME_DIR"/sway-ipc.*.sock 2>/dev/null | head -n 1)
    WAYLAND_DISPLAY=$(cd "$XDG_RUNTIME_DIR" && ls wayland-* 2>/dev/null | grep -v lock | head -n 1)
    [ -n "$SWAYSOCK" ] && [ -n "$WAYLAND_DISPLAY" ] && SWAYSOCK=$SWAYSOCK swaymsg -t get_version
}

# waybar is ready when its bar is on the screen and its tray's watcher is on the bus.
waybar_ready() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner string:org.kde.StatusNotifierWatcher | grep -q true &&
        bar_rect >/dev/null
}

# "X Y W H" of waybar's bar: the band at the top (or the bottom) that sway keeps free of windows.
bar_rect() {
    swaymsg -t get_workspaces | /usr/bin/python3 -c '
import json, sys
height = int(sys.argv[1])
for w in json.load(sys.stdin):
    if w["visible"]:
        r = w["rect"]
        if r["y"] > 0:
            print(0, 0, r["width"], r["y"])
            sys.exit(0)
        if r["y"] + r["height"] < height:
            print(0, r["y"] + r["height"], r["width"], height - r["y"] - r["height"])
            sys.exit(0)
sys.exit(1)' "$SCREEN_H"
}

# The Wayland-native click probe (wayland_probe.py), placed by the rule in sway's configuration.
wayland_probe_frame() { tree_rect name "wayland probe" 1; }
