#!/usr/bin/env bash
# MATE: marco and mate-panel with its notification area, which hosts StatusNotifierItems and
# shows their label next to the icon.
set -uo pipefail
HOST=mate
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/x11_session.sh"
source "$DESKTOP_LIB/mate_panel.sh"
x11_enter_session "$@"

x11_start_display
mate_start NotificationAreaAppletFactory::NotificationArea
LABEL_HOST=1
x11_checks
report_status
