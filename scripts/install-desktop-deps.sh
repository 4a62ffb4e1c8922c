#!/usr/bin/env bash
# Installs the Debian packages that the real panel hosts of `make test-desktops` need, when any
# are missing: those of the hosts named, or of all. Quiet and quick when everything is there.
set -euo pipefail

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
# GNOME Shell with the AppIndicator extension, XWayland for the X11 clients, python3-gi to talk
# to the shell, iproute2 for the loopback of its own network namespace.
gnome=(gnome-shell gnome-shell-extension-appindicator xwayland dconf-gsettings-backend
    python3-gi iproute2)
# sway with waybar's tray, XWayland for the X11 clients, grim for screenshots, wtype for keys,
# setpriv and useradd to run it as a user of its own (sway refuses root).
sway=(sway swaybg waybar xwayland grim wtype iproute2 util-linux passwd)
# ---- end of Wayland hosts ----

hosts=("$@")
[ ${#hosts[@]} -gt 0 ] || hosts=(gnome plasma xfce mate mate-indicator sway tint2 cinnamon lxqt)
packages=("${common[@]}")
for host in "${hosts[@]}"; do
    declare -n host_packages="${host//-/_}"
    packages+=("${host_packages[@]}")
    unset -n host_packages
done

missing=()
for package in $(printf '%s\n' "${packages[@]}" | sort -u); do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
echo "Installing ${missing[*]}" >&2
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
