# MATE's panel under marco: one top bar holding one applet, set in the panel's own settings
# (dconf) before it starts, so that nothing else (a clock) changes in the bar.
# mate_start APPLET_IID: starts marco and mate-panel with that applet at the bar's right end.
mate_start() {
    dconf load /org/mate/panel/ <<CONF
[general]
toplevel-id-list=['top']
object-id-list=['tray']
[toplevels/top]
expand=true
orientation='top'
size=26
[objects/tray]
object-type='applet'
applet-iid='$1'
toplevel-id='top'
position=10
panel-right-stick=true
locked=true
CONF
    # A MATE session's settings daemon hands GTK the desktop's "buttons have icons"
    # (org.mate.interface, on by default), which no daemon runs here to give. Without it GTK
    # hides the image of a button that also has a label, and mate-panel's notification area
    # (before 1.27.2) draws each item as such a button: the item's icon would vanish beside its
    # label. GTK's own settings file gives the session's default instead.
    mkdir -p "$XDG_CONFIG_HOME/gtk-3.0"
    printf '[Settings]\ngtk-button-images=true\n' >"$XDG_CONFIG_HOME/gtk-3.0/settings.ini"
    x11_start_wm 10 marco --no-composite
    x11_start_backdrop
    spawn panel mate-panel
    x11_wait_bar top --class mate-panel
    BAR_EMPTY_X=200 BAR_EMPTY_Y=$((BAR_Y + BAR_H / 2))
    DESK_X=$((SCREEN_W / 2)) DESK_Y=$((SCREEN_H - 40))
}
