"""Checks on screenshots, for the real-host tests. Regions are "X Y W H" in image pixels.

    image.py diff-box BEFORE AFTER [X Y W H] [--threshold N]
        the bounding box "X Y W H" of the pixels that changed (exit 1 when none did)
    image.py new-item BEFORE AFTER X Y W H [--threshold N]
        like diff-box, but only the changed part that is new: of the runs of changed columns,
        those whose picture was already somewhere in the region before (other items that moved
        aside) are left out
    image.py same A B                      exit 0 when the two images are identical
    image.py content IMG X Y W H [--threshold N]
                                           the number of pixels that differ by more than N
                                           (40) from the region's most common colour
    image.py ink-box IMG X Y W H [--threshold N]
                                           the box "X Y W H" of the pixels that differ by more
                                           than N (80) from the region's most common colour
    image.py colours IMG X Y W H           counts of strongly green, yellow and red pixels
    image.py crop IMG X Y W H OUT [SCALE]  writes the region, enlarged SCALE times
    image.py ocr IMG [X Y W H] [--no-picture] [--chars CHARS]
                                           the words tesseract reads in the region, one a line:
                                           "WORD X Y W H" in image coordinates; --no-picture
                                           leaves a coloured picture in the region unread;
                                           --chars reads only those characters (a text of known
                                           alphabet, where look-alike letters would be read)
"""
import subprocess
import sys
import tempfile

from PIL import Image, ImageChops


def load(path):
    return Image.open(path).convert("RGB")


def region(image, args):
    if len(args) >= 4:
        x, y, w, h = (int(v) for v in args[:4])
        x0, y0 = max(x, 0), max(y, 0)
        x1, y1 = min(x + w, image.width), min(y + h, image.height)
        return (x0, y0, max(x1, x0), max(y1, y0))
    return (0, 0, image.width, image.height)


def diff_box(before, after, box, threshold):
    """The box of pixels whose largest channel difference exceeds the threshold: faint changes
    such as a compositor's soft shadow stay out of it."""
    a, b = load(before).crop(box), load(after).crop(box)
    diff = ImageChops.difference(a, b)
    channels = diff.split()
    strongest = ImageChops.lighter(ImageChops.lighter(channels[0], channels[1]), channels[2])
    mask = strongest.point(lambda v: 255 if v > threshold else 0)
    found = mask.getbbox()
    if found is None:
        return None
    x0, y0, x1, y1 = found
    return (box[0] + x0, box[1] + y0, x1 - x0, y1 - y0)


def changed_columns(a, b, threshold):
    diff = ImageChops.difference(a, b).convert("L").point(lambda v: 255 if v > threshold // 3 else 0)
    columns = [diff.crop((x, 0, x + 1, diff.height)).getbbox() is not None for x in range(diff.width)]
    runs, start = [], None
    for x, changed in enumerate(columns + [False]):
        if changed and start is None:
            start = x
        elif not changed and start is not None:
            runs.append((start, x))
            start = None
    # Runs a few columns apart belong to one picture.
    merged = []
    for run in runs:
        if merged and run[0] - merged[-1][1] <= 3:
            merged[-1] = (merged[-1][0], run[1])
        else:
            merged.append(run)
    return merged


def seen_before(before, piece):
    """Whether the piece appears in the before picture at its own height, anywhere along it."""
    width = piece.width
    for x in range(0, before.width - width + 1):
        window = before.crop((x, 0, x + width, before.height))
        stat = ImageChops.difference(window, piece).convert("L").getextrema()
        if stat[1] <= 24:
            return True
    return False


def new_item(before_path, after_path, box, threshold):
    before, after = load(before_path).crop(box), load(after_path).crop(box)
    fresh = []
    for x0, x1 in changed_columns(before, after, threshold):
        piece = after.crop((x0, 0, x1, after.height))
        if not seen_before(before, piece):
            fresh.append((x0, x1))
    if not fresh:
        return None
    x0, x1 = fresh[0][0], fresh[-1][1]
    found = ImageChops.difference(before.crop((x0, 0, x1, before.height)),
                                  after.crop((x0, 0, x1, after.height))).convert("L")
    found = found.point(lambda v: 255 if v > threshold // 3 else 0).getbbox()
    if found is None:
        return None
    return (box[0] + x0 + found[0], box[1] + found[1], found[2] - found[0], found[3] - found[1])


def background(pixels):
    counts = {}
    for p in pixels:
        counts[p] = counts.get(p, 0) + 1
    return max(counts, key=counts.get)


def content(image, box, contrast=40):
    pixels = list(image.crop(box).getdata())
    if not pixels:
        return 0
    bg = background(pixels)
    return sum(1 for p in pixels if max(abs(p[i] - bg[i]) for i in range(3)) > contrast)


def ink_box(image, box, contrast=80):
    crop = image.crop(box)
    bg = background(list(crop.getdata()))
    mask = Image.new("L", crop.size)
    mask.putdata([255 if max(abs(p[i] - bg[i]) for i in range(3)) > contrast else 0
                  for p in crop.getdata()])
    found = mask.getbbox()
    if found is None:
        return None
    return (box[0] + found[0], box[1] + found[1], found[2] - found[0], found[3] - found[1])


def colours(image, box):
    green = yellow = red = 0
    for r, g, b in image.crop(box).getdata():
        if g > 110 and g > r + 50 and g > b + 50:
            green += 1
        elif r > 150 and g > 120 and b < 90 and abs(r - g) < 90:
            yellow += 1
        elif r > 150 and r > g + 80 and r > b + 80:
            red += 1
    return green, yellow, red


def ink(crop, gain=3):
    """Dark ink on white, whatever the theme: each pixel's distance from the crop's background,
    amplified, so that greyed-out menu entries and light text on a dark bar read alike."""
    grey = crop.convert("L")
    bg = background([(v, v, v) for v in grey.getdata()])[0]
    return grey.point(lambda v: 255 - min(255, gain * abs(v - bg)))


def without_picture(crop):
    """The crop with its coloured picture (the columns from its first to its last strongly
    coloured pixel, grown over the marks that touch them) painted in the background colour: a
    tray icon beside a label would otherwise be read as letters, and run into the first word."""
    bg = background(list(crop.getdata()))
    pixels = crop.load()

    def coloured(x):
        return any(max(pixels[x, y]) - min(pixels[x, y]) > 60 for y in range(crop.height))

    def marked(x):
        return any(max(abs(pixels[x, y][i] - bg[i]) for i in range(3)) > 40
                   for y in range(crop.height))

    columns = [x for x in range(crop.width) if coloured(x)]
    if not columns:
        return crop
    left, right = columns[0], columns[-1]
    while left > 0 and marked(left - 1):
        left -= 1
    while right < crop.width - 1 and marked(right + 1):
        right += 1
    crop = crop.copy()
    crop.paste(bg, (left, 0, right + 1, crop.height))
    return crop


def ocr(image, box, scale=4, picture=True, chars=None):
    crop = image.crop(box)
    crop = ink(crop if picture else without_picture(crop))
    crop = crop.resize((crop.width * scale, crop.height * scale), Image.LANCZOS)
    with tempfile.NamedTemporaryFile(suffix=".png") as tmp:
        crop.save(tmp.name)
        only = ["-c", "tessedit_char_whitelist=" + chars] if chars else []
        out = subprocess.run(["tesseract", tmp.name, "-", "--psm", "11", *only, "tsv"],
                             capture_output=True, text=True, check=False).stdout
    words = []
    for line in out.splitlines()[1:]:
        cols = line.split("\t")
        if len(cols) < 12 or not cols[11].strip():
            continue
        left, top, width, height = (int(c) for c in cols[6:10])
        words.append((cols[11].strip(), box[0] + left // scale, box[1] + top // scale,
                      max(width // scale, 1), max(height // scale, 1)))
    return words


def main(argv):
    command, rest = argv[1], argv[2:]
    threshold = None
    if "--threshold" in rest:
        at = rest.index("--threshold")
        threshold = int(rest[at + 1])
        del rest[at:at + 2]
    if command == "diff-box":
        box = region(load(rest[0]), rest[2:])
        found = diff_box(rest[0], rest[1], box, threshold or 48)
        if found is None:
            return 1
        print(*found)
    elif command == "new-item":
        box = region(load(rest[0]), rest[2:])
        found = new_item(rest[0], rest[1], box, threshold or 48)
        if found is None:
            return 1
        print(*found)
    elif command == "same":
        return 0 if ImageChops.difference(load(rest[0]), load(rest[1])).getbbox() is None else 1
    elif command == "content":
        image = load(rest[0])
        print(content(image, region(image, rest[1:]), threshold or 40))
    elif command == "ink-box":
        image = load(rest[0])
        found = ink_box(image, region(image, rest[1:]), threshold or 80)
        if found is None:
            return 1
        print(*found)
    elif command == "colours":
        image = load(rest[0])
        print(*colours(image, region(image, rest[1:])))
    elif command == "crop":
        image = load(rest[0])
        crop = image.crop(region(image, rest[1:5]))
        scale = int(rest[6]) if len(rest) > 6 else 1
        crop.resize((crop.width * scale, crop.height * scale), Image.NEAREST).save(rest[5])
    elif command == "ocr":
        picture = "--no-picture" not in rest
        rest = [arg for arg in rest if arg != "--no-picture"]
        chars = None
        if "--chars" in rest:
            at = rest.index("--chars")
            chars = rest[at + 1]
            del rest[at:at + 2]
        image = load(rest[0])
        for word in ocr(image, region(image, rest[1:]), picture=picture, chars=chars):
            print(*word)
    else:
        print(__doc__, file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
