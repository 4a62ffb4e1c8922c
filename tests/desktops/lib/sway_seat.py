"""Gives a headless wlroots compositor's seat a pointer and a keyboard, for the real-host tests.

    sway_seat.py

A seat without devices tells its clients it has neither, and they then ignore every click,
including those of sway's own `seat seat0 cursor press`; and a keyboard that appears only for one
key press (as wtype's does) comes and goes before XWayland has bound it. This creates one virtual
pointer (zwlr_virtual_pointer_manager_v1) and one virtual keyboard (zwp_virtual_keyboard_v1) on the
compositor of WAYLAND_DISPLAY, prints "ready" once the compositor has them, and keeps them until
the compositor goes away or the process is ended. It speaks the Wayland wire protocol directly:
the few requests it needs do not warrant a binding library.
"""
import os
import socket
import struct
import sys

# Object ids: a client must number its objects in the order it creates them.
DISPLAY, REGISTRY, FIRST_SYNC = 1, 2, 3
POINTER, KEYBOARD, LAST_SYNC = 7, 8, 9  # after the three bound globals, 4 to 6
WANTED = ("wl_seat", "zwlr_virtual_pointer_manager_v1", "zwp_virtual_keyboard_manager_v1")
# The smallest keymap a keyboard may have: one key, Escape.
KEYMAP = """xkb_keymap {
xkb_keycodes "test" { minimum = 8; maximum = 9; <K1> = 9; };
xkb_types "test" { include "complete" };
xkb_compatibility "test" { include "complete" };
xkb_symbols "test" { key <K1> { [ Escape ] }; };
};
"""


def string_arg(text):
    data = text.encode() + b"\0"
    return struct.pack("<I", len(data)) + data + b"\0" * (-len(data) % 4)


def request(sock, obj, opcode, payload=b"", fds=()):
    message = struct.pack("<II", obj, (8 + len(payload)) << 16 | opcode) + payload
    if fds:
        socket.send_fds(sock, [message], list(fds))
    else:
        sock.sendall(message)


def events(sock):
    buffer = b""
    while True:
        chunk = sock.recv(4096)
        if not chunk:
            return
        buffer += chunk
        while len(buffer) >= 8:
            obj, word = struct.unpack_from("<II", buffer)
            size = word >> 16
            if len(buffer) < size:
                break
            yield obj, word & 0xFFFF, buffer[8:size]
            buffer = buffer[size:]


def create_devices(sock, ids):
    request(sock, ids["zwlr_virtual_pointer_manager_v1"], 0, struct.pack("<II", 0, POINTER))
    request(sock, ids["zwp_virtual_keyboard_manager_v1"], 0,
            struct.pack("<II", ids["wl_seat"], KEYBOARD))
    keymap = KEYMAP.encode() + b"\0"
    fd = os.memfd_create("keymap")
    os.write(fd, keymap)
    request(sock, KEYBOARD, 0, struct.pack("<II", 1, len(keymap)), fds=[fd])  # xkb v1
    os.close(fd)
    request(sock, DISPLAY, 0, struct.pack("<I", LAST_SYNC))


def main():
    path = os.path.join(os.environ["XDG_RUNTIME_DIR"], os.environ["WAYLAND_DISPLAY"])
    sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    sock.connect(path)
    request(sock, DISPLAY, 1, struct.pack("<I", REGISTRY))  # get_registry
    request(sock, DISPLAY, 0, struct.pack("<I", FIRST_SYNC))
    ids = {}
    for obj, opcode, body in events(sock):
        if obj == DISPLAY and opcode == 0:  # error
            print("compositor error:", body[12:].split(b"\0")[0].decode(), file=sys.stderr)
            return 1
        if obj == REGISTRY and opcode == 0:  # global: name, interface, version
            name, length = struct.unpack_from("<II", body)
            interface = body[8:8 + length - 1].decode()
            if interface in WANTED and interface not in ids:
                ids[interface] = FIRST_SYNC + 1 + len(ids)
                request(sock, REGISTRY, 0, struct.pack("<I", name) + string_arg(interface)
                        + struct.pack("<II", 1, ids[interface]))  # bind
        elif obj == FIRST_SYNC and opcode == 0:
            if len(ids) != len(WANTED):
                print("the compositor lacks", *sorted(set(WANTED) - set(ids)), file=sys.stderr)
                return 1
            create_devices(sock, ids)
        elif obj == LAST_SYNC and opcode == 0:
            print("ready", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
