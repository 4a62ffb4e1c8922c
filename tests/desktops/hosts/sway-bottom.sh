#!/usr/bin/env bash
# The sway host with waybar at the bottom of the screen: the panel opens above the bar.
HOST=sway-bottom SWAY_BAR_SIDE=bottom
export HOST SWAY_BAR_SIDE
exec bash "$(dirname "$0")/sway.sh" "$@"
