"""A Wayland-native window that records every mouse button press it receives.

    wayland_probe.py FILE

The Wayland counterpart of click_probe.py, for compositors where Quillon runs through XWayland:
a click on such a window is one no X11 client sees. GTK 3 on its Wayland back end, titled
"wayland probe"; the compositor's rules place it. Each press appends one line to FILE:
"press BUTTON X Y" (window-relative coordinates; a Wayland client learns no screen position).
"""
import os
import sys

os.environ["GDK_BACKEND"] = "wayland"
import gi  # noqa: E402

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402


def main():
    path = sys.argv[1]
    open(path, "w").close()
    window = Gtk.Window(title="wayland probe")
    window.set_default_size(200, 120)
    window.override_background_color(Gtk.StateFlags.NORMAL, Gdk.RGBA(0.55, 0.27, 0.55, 1))
    window.add_events(Gdk.EventMask.BUTTON_PRESS_MASK)

    def record(_widget, event):
        with open(path, "a") as out:
            out.write(f"press {event.button} {int(event.x)} {int(event.y)}\n")
        return False

    window.connect("button-press-event", record)
    window.connect("destroy", Gtk.main_quit)
    window.show_all()
    Gtk.main()


if __name__ == "__main__":
    main()
