#!/usr/bin/env bash
# XFCE: xfwm4 (compositing, its default) and xfce4-panel as a top bar whose notification area
# plugin also hosts StatusNotifierItems.
set -uo pipefail
HOST=xfce
source "$DESKTOP_LIB/report.sh"
source "$DESKTOP_LIB/x11_session.sh"
x11_enter_session "$@"

x11_start_display
xml="$XDG_CONFIG_HOME/xfce4/xfconf/xfce-perchannel-xml"
mkdir -p "$xml"
# One top bar: free space, then the notification area, then a little space so that the item
# is not at the very edge of the screen.
cat >"$xml/xfce4-panel.xml" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="true"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="28"/>
      <property name="icon-size" type="uint" value="0"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
        <value type="int" value="3"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
    </property>
    <property name="plugin-3" type="string" value="separator">
      <property name="style" type="uint" value="0"/>
    </property>
  </property>
</channel>
XML
x11_start_wm 10 xfwm4
x11_start_backdrop
spawn panel xfce4-panel
x11_wait_bar top --class xfce4-panel
# The notification area hosts StatusNotifierItems once its watcher is on the bus.
x11_wait_watcher "the panel's StatusNotifierWatcher never appeared"
BAR_EMPTY_X=200 BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
DESK_X=$((SCREEN_W / 2)) DESK_Y=$((SCREEN_H - 40))
x11_checks
report_status
