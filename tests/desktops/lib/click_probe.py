"""A plain window that records every mouse button press it receives.

    click_probe.py FILE [GEOMETRY] [--desktop]

Each press appends one line to FILE: "press BUTTON X Y ROOT_X ROOT_Y" (window-relative and
root coordinates). GEOMETRY is a Tk geometry such as 300x200+40+600. The window is where the
tests click "outside" the panel: a click there must close the panel and still reach this window.
With --desktop it is a desktop window (the lowest layer, no frame) of one plain colour, as a
desktop program draws one: the backdrop of hosts that have no desktop of their own.
"""
import sys
import tkinter

def main():
    args = [a for a in sys.argv[1:] if a != "--desktop"]
    desktop = "--desktop" in sys.argv
    path = args[0]
    geometry = args[1] if len(args) > 1 else "300x200+40+600"
    root = tkinter.Tk(className="clickdesktop" if desktop else "clickprobe")
    root.title("desktop" if desktop else "click probe")
    if desktop:
        root.withdraw()
        root.wm_attributes("-type", "desktop")
    root.geometry(geometry)
    root.configure(background="#5b7fa3" if desktop else "#2e8b57")
    if desktop:
        root.deiconify()
    open(path, "w").close()

    def record(event):
        with open(path, "a") as out:
            out.write(f"press {event.num} {event.x} {event.y} {event.x_root} {event.y_root}\n")

    root.bind_all("<ButtonPress>", record)
    root.mainloop()

if __name__ == "__main__":
    main()
