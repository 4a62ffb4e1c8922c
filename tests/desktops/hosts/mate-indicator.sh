#!/usr/bin/env bash
# MATE with the Ayatana indicator applet: mate-panel's indicator applet shows the items that
# ayatana-indicator-application collects, label next to the icon, menu on a click.
set -uo pipefail
HOST=mate-indicator
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/x11_session.sh"
source "$DESKTOP_LIB/mate_panel.sh"
x11_enter_session "$@"

x11_start_display
spawn indicators /usr/libexec/ayatana-indicator-application/ayatana-indicator-application-service
mate_start IndicatorAppletCompleteFactory::IndicatorAppletComplete
LABEL_HOST=1
# The applet opens the item's menu on a left click; its right click is the panel's own menu.
ITEM_OPENS_MENU=1 MENU_BUTTON=1
x11_checks
report_status
