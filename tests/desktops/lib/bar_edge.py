"""Where a bar is drawn inside its window, for the real-host tests.

    bar_edge.py IMG X Y W H

prints "X Y W H", the box of what is drawn inside the window at X Y W H: the pixels that differ
from the desktop's colour, read just outside the window's side that faces the screen's middle. A
floating panel's window is larger than the panel it draws; the rest shows the desktop.
"""
import sys

from PIL import Image, ImageChops

CONTRAST = 40


def drawn_box(image, x, y, w, h):
    # The desktop beside the window's edge that faces the middle of the screen.
    if y + h / 2 > image.height / 2:
        desktop = image.getpixel((x + w // 2, max(y - 2, 0)))
    else:
        desktop = image.getpixel((x + w // 2, min(y + h + 1, image.height - 1)))
    crop = image.crop((x, y, x + w, y + h))
    # Every channel counts: a grey panel on a blue desktop differs in red and green.
    found = None
    for channel in ImageChops.difference(crop, Image.new("RGB", crop.size, desktop)).split():
        box = channel.point(lambda v: 255 if v > CONTRAST else 0).getbbox()
        if box is not None:
            found = box if found is None else (min(found[0], box[0]), min(found[1], box[1]),
                                               max(found[2], box[2]), max(found[3], box[3]))
    if found is None:
        return None
    return (x + found[0], y + found[1], found[2] - found[0], found[3] - found[1])


def main(argv):
    image = Image.open(argv[1]).convert("RGB")
    found = drawn_box(image, *(int(v) for v in argv[2:6]))
    if found is None:
        return 1
    print(*found)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
