"""Presses keys in a KWin Wayland session through KWin's fake-input protocol, for the real-host
tests.

    kwin_keys.py KEYCODE...

Each KEYCODE (a Linux input event code: 1 is Escape) goes down and up, in order, through
org_kde_kwin_fake_input on the compositor of WAYLAND_DISPLAY; the program returns once KWin has
handled them. KWin takes these as its own keyboard's keys, whatever keymap it runs with, where a
nested KWin would read a virtual keyboard of the outer compositor through its own keymap. KWin
grants the interface only to clients it trusts, or to every client when started with
KWIN_WAYLAND_NO_PERMISSION_CHECKS=1.
"""
import os
import socket
import struct
import sys

from sway_seat import events, request, string_arg

DISPLAY, REGISTRY, FIRST_SYNC, FAKE_INPUT, LAST_SYNC = 1, 2, 3, 4, 5
AUTHENTICATE, KEYBOARD_KEY = 0, 10  # requests of org_kde_kwin_fake_input, version 4
PRESSED, RELEASED = 1, 0


def press(sock, codes):
    request(sock, FAKE_INPUT, AUTHENTICATE, string_arg("Quillon tests") + string_arg("keys"))
    for code in codes:
        request(sock, FAKE_INPUT, KEYBOARD_KEY, struct.pack("<II", code, PRESSED))
        request(sock, FAKE_INPUT, KEYBOARD_KEY, struct.pack("<II", code, RELEASED))
    request(sock, DISPLAY, 0, struct.pack("<I", LAST_SYNC))


def main(argv):
    codes = [int(code) for code in argv[1:]]
    path = os.path.join(os.environ["XDG_RUNTIME_DIR"], os.environ["WAYLAND_DISPLAY"])
    sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    sock.connect(path)
    request(sock, DISPLAY, 1, struct.pack("<I", REGISTRY))  # get_registry
    request(sock, DISPLAY, 0, struct.pack("<I", FIRST_SYNC))
    bound = False
    for obj, opcode, body in events(sock):
        if obj == DISPLAY and opcode == 0:  # error
            print("compositor error:", body[12:].split(b"\0")[0].decode(), file=sys.stderr)
            return 1
        if obj == REGISTRY and opcode == 0 and not bound:
            name, length = struct.unpack_from("<II", body)
            if body[8:8 + length - 1].decode() == "org_kde_kwin_fake_input":
                request(sock, REGISTRY, 0, struct.pack("<I", name)
                        + string_arg("org_kde_kwin_fake_input") + struct.pack("<II", 4, FAKE_INPUT))
                bound = True
        elif obj == FIRST_SYNC and opcode == 0:
            if not bound:
                print("the compositor offers no org_kde_kwin_fake_input", file=sys.stderr)
                return 1
            press(sock, codes)
        elif obj == LAST_SYNC and opcode == 0:
            return 0
    print("the compositor closed the connection", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))
