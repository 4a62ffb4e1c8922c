# KDE Plasma 6 on Wayland, headless, for the real-host tests: kwin_wayland with plasmashell and
# its default floating bottom panel, run as a Wayland client filling the one output of a headless
# sway (pixman renderer). KWin's own screenshot interface needs OpenGL, which a headless machine
# lacks; the outer sway's picture of KWin's window is the screen as KWin draws it, taken with
# grim. Quillon runs inside KWin as an X11 client of KWin's XWayland.
#
# Input takes each compositor's own path: the pointer through sway's seat commands, which KWin
# receives as its own pointer over its window; keys through KWin's fake-input protocol
# (kwin_keys.py). Windows' geometry comes from KWin itself, through its scripting interface.
#
# Source it first thing in the host script and call kwin_enter "$@" (sway's user, namespaces and
# bus: sway_session.sh), then report.sh and wayland_checks.sh, then kwin_start and the checks.

source "$DESKTOP_LIB/sway_session.sh"
KWIN_SOCKET=quillon-kwin

kwin_enter() { sway_enter "$@"; }

# The screen as the outer sway shows it: KWin's window, edge to edge. KWin draws a frame only once
# sway has called back for the one before, and sway calls back only when it draws its output,
# which a commit without damage does not make it do: a cursor moved there and back does, so
# that the picture is KWin's latest.
shot() {
    swaymsg -q "seat seat0 cursor move 1 0"
    swaymsg -q "seat seat0 cursor move -1 0"
    sleep 0.3
    WAYLAND_DISPLAY=$SWAY_DISPLAY grim "$1"
}

# Escape, as KWin's own keyboard: input event code 1.
press_escape() { WAYLAND_DISPLAY=$KWIN_SOCKET /usr/bin/python3 "$DESKTOP_LIB/kwin_keys.py" 1; }

# kwin_eval SCRIPT: runs the JavaScript in KWin (its scripting interface) and prints what the
# script passed to say(), one call a line. KWin runs a loaded script in its own time and prints
# into its log, so this waits for the script's last line there.
kwin_eval() {
    local name file id
    name="quillon-$(date +%s%N)"
    file="$XDG_RUNTIME_DIR/$name.js"
    printf 'function say(text) { print("%s:" + text); }\n%s\nsay("end");\n' "$name" "$1" >"$file"
    id=$(dbus-send --session --print-reply --dest=org.kde.KWin /Scripting \
        org.kde.kwin.Scripting.loadScript "string:$file" "string:$name" 2>/dev/null |
        awk '/int32/ {print $2}')
    [ -n "$id" ] && [ "$id" -ge 0 ] || { rm -f "$file"; return 1; }
    dbus-send --session --print-reply --dest=org.kde.KWin "/Scripting/Script$id" \
        org.kde.kwin.Script.run >/dev/null
    local status=0
    wait_until 5 grep -q "$name:end" "$DESKTOP_OUT/kwin.log" || status=1
    dbus-send --session --print-reply --dest=org.kde.KWin /Scripting \
        org.kde.kwin.Scripting.unloadScript "string:$name" >/dev/null
    rm -f "$file"
    grep -a "$name:" "$DESKTOP_OUT/kwin.log" | sed "s/.*$name://" | grep -vx end
    return "$status"
}

# kwin_window_rect TEST [frame|buffer]: "X Y W H" of the first shown window for which the
# JavaScript expression TEST (of `w`) holds: its frame (what KWin places and decorates) or its
# buffer (everything the client draws, a shadow margin included). Fails when none does.
kwin_window_rect() {
    local rect
    rect=$(kwin_eval "workspace.windowList().forEach(function (w) {
    if (!w.minimized && ($1)) {
        var g = w.${2:-frame}Geometry;
        say(Math.round(g.x) + ' ' + Math.round(g.y) + ' ' + Math.round(g.width) + ' ' + Math.round(g.height));
    }
});" | head -n 1)
    [ -n "$rect" ] || return 1
    echo "$rect"
}

# The panel window (the demo's window of panel size), margin and all, as KWin shows it.
panel_frame() { kwin_window_rect "w.pid == $pid_demo && w.bufferGeometry.width >= 300" buffer; }
probe_frame() { kwin_window_rect "w.caption == 'click probe'"; }
move_probe() {
    kwin_eval "workspace.windowList().forEach(function (w) {
    if (w.caption == 'click probe') {
        var g = w.frameGeometry;
        w.frameGeometry = {x: $1, y: $2, width: g.width, height: g.height};
    }
});" >/dev/null
}

# Everything KWin says of the demo's windows: where the panel went and why, for the log.
kwin_demo_windows() {
    kwin_eval "workspace.windowList().forEach(function (w) {
    if (w.pid == $pid_demo) {
        var f = w.frameGeometry, b = w.bufferGeometry, c = w.clientGeometry;
        say('frame ' + f.x + ',' + f.y + ' ' + f.width + 'x' + f.height + ' buffer ' + b.x + ',' +
            b.y + ' ' + b.width + 'x' + b.height + ' client ' + c.x + ',' + c.y + ' ' + c.width +
            'x' + c.height + ' type ' + w.windowType + ' managed ' + w.managed);
    }
});"
}

plasma_script() {
    dbus-send --session --print-reply --dest=org.kde.plasmashell /PlasmaShell \
        org.kde.PlasmaShell.evaluateScript "string:$1"
}

kwin_ready() {
    [ -S "$XDG_RUNTIME_DIR/$KWIN_SOCKET" ] && dbus-send --session --print-reply --dest=org.kde.KWin \
        /Scripting org.freedesktop.DBus.Introspectable.Introspect
}
default_panel() { plasma_script 'print(panels().length)' | grep -q 'string "[1-9]'; }
watcher_ready() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner string:org.kde.StatusNotifierWatcher | grep -q true
}
bar_window() { kwin_window_rect "w.dock"; }

# The wallpaper has its plain colour, and the panel is drawn.
desktop_laid_out() {
    shot "$DESKTOP_OUT/desktop.png"
    local wx wy ww wh
    read -r wx wy ww wh < <(bar_window) || return 1
    [ "$(/usr/bin/python3 -c 'import sys; from PIL import Image
print(*Image.open(sys.argv[1]).convert("RGB").getpixel((2, 2)))' "$DESKTOP_OUT/desktop.png")" = "91 127 163" ] &&
        /usr/bin/python3 "$DESKTOP_LIB/bar_edge.py" "$DESKTOP_OUT/desktop.png" "$wx" "$wy" "$ww" "$wh" &&
        return 0
    sleep 1 # plasmashell draws in software, on a busy machine slowly: leave it the processor
    return 1
}

# Starts sway, KWin inside it, and plasmashell inside KWin; sets the session's variables (see
# wayland_checks.sh) with BAR_Y at the floating panel's drawn top edge, measured in a screenshot.
kwin_start() {
    trap host_cleanup EXIT
    trap 'exit 130' INT TERM
    local started ready
    started=$(ms_now)
    # One window, KWin's, filling the output edge to edge.
    sway_with_seat "output HEADLESS-1 resolution ${SCREEN_W}x${SCREEN_H} position 0 0 bg #000000 solid_color
xwayland disable
default_border none
default_floating_border none" || return 1
    SWAY_DISPLAY=$WAYLAND_DISPLAY
    export XDG_CURRENT_DESKTOP=KDE KDE_SESSION_VERSION=6 KDE_FULL_SESSION=true
    export QT_FORCE_STDERR_LOGGING=1 QT_LOGGING_RULES="kwin_scripting.debug=true"
    export KWIN_WAYLAND_NO_PERMISSION_CHECKS=1 LIBGL_ALWAYS_SOFTWARE=1 QT_QUICK_BACKEND=software
    # What the bus starts for plasmashell (the activity manager, say) is KWin's client too.
    dbus-update-activation-environment WAYLAND_DISPLAY="$KWIN_SOCKET" XDG_CURRENT_DESKTOP \
        KDE_SESSION_VERSION KDE_FULL_SESSION LIBGL_ALWAYS_SOFTWARE QT_QUICK_BACKEND
    spawn kwin env WAYLAND_DISPLAY="$WAYLAND_DISPLAY" kwin_wayland --socket "$KWIN_SOCKET" \
        --xwayland --no-lockscreen --width "$SCREEN_W" --height "$SCREEN_H" \
        plasmashell
    wait_until 30 kwin_ready || { fail "item visible" "KWin did not start (see kwin.log)"; return 1; }
    # From here on every client is KWin's.
    export WAYLAND_DISPLAY=$KWIN_SOCKET
    wait_until 60 default_panel || { fail "item visible" "plasmashell laid out no panel (see kwin.log)"; return 1; }
    plasma_script '
var d = desktops()[0];
d.wallpaperPlugin = "org.kde.color";
d.currentConfigGroup = ["Wallpaper", "org.kde.color", "General"];
d.writeConfig("Color", "91,127,163");
panels().forEach(function (p) {
    p.widgets("org.kde.plasma.digitalclock").forEach(function (w) { w.remove(); });
});
' >"$DESKTOP_OUT/layout.log" 2>&1
    # A plain wallpaper, on which the panel's drawn edge shows, and no clock: the item is found
    # by what changes in the tray, and a clock turning its minute beside it would change too.
    wait_until 20 watcher_ready || { fail "item visible" "no StatusNotifierWatcher (see kwin.log)"; return 1; }
    wait_until 20 bar_window || { fail "item visible" "KWin shows no panel (see kwin.log)"; return 1; }
    ready=$(ms_now)
    export DISPLAY
    # KWin's XWayland, the only X display in this session's own /tmp.
    DISPLAY=:$(ls /tmp/.X11-unix | sed -n 's/^X//p' | head -n 1)
    BAR_SIDE=bottom
    wait_until 60 desktop_laid_out || { fail "item visible" "plasmashell never drew its desktop (desktop.png)"; return 1; }
    wait_still 10 "$DESKTOP_OUT/desktop.png" || true
    local wx wy ww wh
    read -r wx wy ww wh < <(bar_window)
    read -r BAR_X BAR_Y BAR_W BAR_H < <(/usr/bin/python3 "$DESKTOP_LIB/bar_edge.py" \
        "$DESKTOP_OUT/desktop.png" "$wx" "$wy" "$ww" "$wh") ||
        { fail "item visible" "no panel drawn in window $ww x $wh at $wx,$wy (desktop.png)"; return 1; }
    echo "KWin and plasmashell ready after $((ready - started)) ms (DISPLAY=$DISPLAY);" \
        "panel window $ww x $wh at $wx,$wy, drawn $BAR_W x $BAR_H at $BAR_X,$BAR_Y" >&2
}
