#!/usr/bin/env bash
# Installs the Debian packages that the real panel hosts of `make test-desktops` need, when any
# are missing: those of the hosts named, or of all. Quiet and quick when everything is there.
set -euo pipefail
source "$(dirname "$0")/lib/apt.sh"

# What every host's checks use: a virtual display, screenshots, clicks, the click probe, image
# checks and text recognition for labels and menus.
common=(
    xvfb xauth dbus dbus-bin x11-utils x11-xserver-utils xdotool imagemagick
    python3 python3-tk python3-pil tesseract-ocr tesseract-ocr-eng
)

# ---- X11 hosts ----
plasma=(plasma-workspace plasma-desktop kwin-x11)
xfce=(xfwm4 xfce4-panel xfconf)
mate=(marco mate-panel dconf-cli dconf-service)
mate_indicator=(marco mate-panel dconf-cli dconf-service mate-indicator-applet ayatana-indicator-application)
tint2=(tint2 openbox)
cinnamon=(cinnamon cinnamon-session xapp-sn-watcher)
lxqt=(lxqt-panel openbox)
# ---- end of X11 hosts ----

# ---- Wayland hosts ----
# GNOME Shell with Quillon's extension (and the AppIndicator extension for the hosts that add
# it), XWayland for the X11 clients, python3-gi to talk to the shell, iproute2 for the loopback
# of its own network namespace.
gnome=(gnome-shell gnome-shell-extension-appindicator xwayland dconf-gsettings-backend
    python3-gi iproute2)
gnome_appindicator=("${gnome[@]}")
gnome_appindicator_only=("${gnome[@]}")
# The sway hosts' Wayland-native click probe: GTK 3, through its introspection, on Wayland.
wayland_probe=(python3-gi gir1.2-gtk-3.0)
# sway with waybar's tray, XWayland for the X11 clients, grim for screenshots, wtype for keys,
# setpriv and useradd to run it as a user of its own (sway refuses root).
sway=(sway swaybg waybar xwayland grim wtype iproute2 util-linux passwd)
# KDE Plasma 6 on Wayland: KWin and plasmashell nested in a headless sway (grim for the
# screenshots, its seat for the pointer), dbus-monitor to see the item's activations. Plasma 6
# came with Debian 13; on an older release the host says it needs that, and nothing is installed.
plasma_wayland=()
if [ "$(. /etc/os-release && echo "${VERSION_ID%%.*}")" -ge 13 ] 2>/dev/null; then
    plasma_wayland=(kwin-wayland plasma-workspace plasma-desktop xwayland sway grim dbus-bin
        iproute2 util-linux passwd)
fi
# ---- end of Wayland hosts ----
sway+=("${wayland_probe[@]}")
# sway with waybar at the bottom of the screen.
sway_bottom=("${sway[@]}")

hosts=("$@")
[ ${#hosts[@]} -gt 0 ] || hosts=(gnome gnome-appindicator gnome-appindicator-only plasma xfce mate mate-indicator sway tint2 cinnamon lxqt)
[ "$#" -gt 0 ] || hosts+=(sway-bottom)
packages=("${common[@]}")
for host in "${hosts[@]}"; do
    declare -n host_packages="${host//-/_}"
    packages+=("${host_packages[@]}")
    unset -n host_packages
done

install_missing "${packages[@]}"
