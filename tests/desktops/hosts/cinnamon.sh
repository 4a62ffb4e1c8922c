#!/usr/bin/env bash
# Cinnamon: the real cinnamon-session (muffin and the Cinnamon shell, the settings daemons, nemo's
# desktop), rendered in software, with one bottom panel whose XApp status applet shows
# StatusNotifierItems through xapp-sn-watcher.
set -uo pipefail
HOST=cinnamon
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/x11_session.sh"
x11_enter_session "$@"

x11_start_display
# What a display manager sets for a Cinnamon login; no GPU here, so Mesa renders in software.
export XDG_CURRENT_DESKTOP=X-Cinnamon XDG_SESSION_DESKTOP=cinnamon DESKTOP_SESSION=cinnamon
export LIBGL_ALWAYS_SOFTWARE=1
dbus-update-activation-environment XDG_CURRENT_DESKTOP XDG_SESSION_DESKTOP DESKTOP_SESSION \
    LIBGL_ALWAYS_SOFTWARE

# One bottom panel: the menu button on the left; the status applet and the corner bar on the
# right. Nothing in it changes while the checks look (no clock). A plain background, no screen
# saver.
gsettings set org.cinnamon panels-enabled "['1:0:bottom']"
gsettings set org.cinnamon panels-height "['1:40']"
gsettings set org.cinnamon enabled-applets "['panel1:left:0:menu@cinnamon.org:0', \
'panel1:right:0:xapp-status@cinnamon.org:1', 'panel1:right:1:cornerbar@cinnamon.org:2']"
gsettings set org.cinnamon next-applet-id 3
gsettings set org.cinnamon.desktop.background picture-options none
gsettings set org.cinnamon.desktop.background color-shading-type solid
gsettings set org.cinnamon.desktop.background primary-color '#5b7fa3'
gsettings set org.cinnamon.desktop.session idle-delay 0
gsettings set org.cinnamon.desktop.screensaver lock-enabled false
# nemo draws the desktop only for a normal user unless told that root is one too.
gsettings set org.nemo.preferences treat-root-as-normal true

# Only Cinnamon's own autostart entries (its settings daemons and the SNI bridge), not those
# that other desktops installed on this machine leave for "every desktop but GNOME and KDE";
# and not the power daemon, which crashes without UPower on a system bus.
autostart="$XDG_CONFIG_HOME/cinnamon-autostart"
mkdir -p "$autostart"
for entry in /etc/xdg/autostart/cinnamon-*.desktop /etc/xdg/autostart/xapp-sn-watcher.desktop; do
    [[ "$entry" == */cinnamon-settings-daemon-power.desktop ]] || ln -s "$entry" "$autostart/"
done
spawn session cinnamon-session --session cinnamon --autostart "$autostart"

cinnamon_eval() {
    dbus-send --session --print-reply=literal --dest=org.Cinnamon /org/Cinnamon \
        org.Cinnamon.Eval "string:$1" 2>/dev/null
}
# Cinnamon's panels are drawn in its stage, not in windows of their own: its panel manager
# tells where the bar is, once the shell has finished starting.
cinnamon_bar() {
    local out
    out=$(cinnamon_eval 'Main.runState == 2 ? Main.panelManager.panels.filter(p => p).map(p =>
        [p.actor.x, p.actor.y, p.actor.width, p.actor.height].map(Math.round).join(" "))[0] : ""')
    [[ "$out" =~ \"([0-9]+\ [0-9]+\ [0-9]+\ [0-9]+)\" ]] || return 1
    echo "${BASH_REMATCH[1]}"
}
wait_until 60 cinnamon_bar || host_broken "Cinnamon never finished starting its panel"
read -r BAR_X BAR_Y BAR_W BAR_H < <(cinnamon_bar)
BAR_SIDE=bottom
[ "$BAR_Y" -ge $((SCREEN_H / 2)) ] && [ "$BAR_W" -ge $((SCREEN_W * 8 / 10)) ] ||
    host_broken "Cinnamon's panel is no bottom bar: ${BAR_W}x$BAR_H at $BAR_X,$BAR_Y"
x11_wait_watcher "xapp-sn-watcher never put its StatusNotifierWatcher on the bus"
BAR_EMPTY_X=$((SCREEN_W / 2)) BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
DESK_X=$((SCREEN_W / 2)) DESK_Y=120
x11_checks
report_status
