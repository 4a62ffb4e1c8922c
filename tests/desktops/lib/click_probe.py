"""A plain window that records every mouse button press it receives.

    click_probe.py FILE [GEOMETRY]

Each press appends one line to FILE: "press BUTTON X Y ROOT_X ROOT_Y" (window-relative and
root coordinates). GEOMETRY is a Tk geometry such as 300x200+40+600. The window is where the
tests click "outside" the panel: a click there must close the panel and still reach this window.
"""
import sys
import tkinter

def main():
    path = sys.argv[1]
    geometry = sys.argv[2] if len(sys.argv) > 2 else "300x200+40+600"
    root = tkinter.Tk(className="clickprobe")
    root.title("click probe")
    root.geometry(geometry)
    root.configure(background="#2e8b57")
    open(path, "w").close()

    def record(event):
        with open(path, "a") as out:
            out.write(f"press {event.num} {event.x} {event.y} {event.x_root} {event.y_root}\n")

    root.bind_all("<ButtonPress>", record)
    root.mainloop()

if __name__ == "__main__":
    main()
