"""Talks to a running GNOME Shell over its session-bus interfaces, for the real-host tests.

    gnome_shell.py eval CODE         runs CODE in the shell (it must run in unsafe mode) and
                                     prints the value of its last expression (strings bare,
                                     anything else as JSON); exit 1 when the code threw
    gnome_shell.py screenshot FILE   saves the whole screen as a PNG
"""
import json
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402


def call(interface, method, args, reply):
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    path = "/org/gnome/Shell" if interface == "org.gnome.Shell" else "/org/gnome/Shell/Screenshot"
    return bus.call_sync("org.gnome.Shell", path, interface, method, args,
                         GLib.VariantType.new(reply), Gio.DBusCallFlags.NONE, 20000, None).unpack()


def main(argv):
    if len(argv) == 3 and argv[1] == "eval":
        ok, result = call("org.gnome.Shell", "Eval", GLib.Variant("(s)", (argv[2],)), "(bs)")
        if not ok:
            print(result, file=sys.stderr)
            return 1
        value = json.loads(result) if result else ""
        print(value if isinstance(value, str) else json.dumps(value))
        return 0
    if len(argv) == 3 and argv[1] == "screenshot":
        ok, _ = call("org.gnome.Shell.Screenshot", "Screenshot",
                     GLib.Variant("(bbs)", (False, False, argv[2])), "(bs)")
        return 0 if ok else 1
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
