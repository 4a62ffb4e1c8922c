#!/usr/bin/env python3
"""A StatusNotifierWatcher of the least kind, for checking an installed package.

    watcher.py SECONDS COMMAND...

Owns org.kde.StatusNotifierWatcher on the session bus, says a host is present, then runs
COMMAND in a process group of its own. When an item registers, it reads the item's Id and Title
back from the item itself, prints them, ends COMMAND with SIGTERM and exits 0 if COMMAND then
ends with status 0 within SECONDS. Exits 1 when no item registers within SECONDS, or COMMAND
ends first.
"""
import os
import signal
import subprocess
import sys

from gi.repository import Gio, GLib

WATCHER = "org.kde.StatusNotifierWatcher"
INTERFACE = """
<node>
  <interface name="org.kde.StatusNotifierWatcher">
    <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
    <method name="RegisterStatusNotifierHost"><arg name="service" type="s" direction="in"/></method>
    <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    <property name="ProtocolVersion" type="i" access="read"/>
    <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
    <signal name="StatusNotifierHostRegistered"/>
  </interface>
</node>
"""

seconds = int(sys.argv[1])
command = sys.argv[2:]
loop = GLib.MainLoop()
items = []
outcome = {"status": 1, "child": None}


def finish(status):
    outcome["status"] = status
    loop.quit()


def item_property(bus, service, path, name):
    reply = bus.call_sync(service, path, "org.freedesktop.DBus.Properties", "Get",
                          GLib.Variant("(ss)", ("org.kde.StatusNotifierItem", name)),
                          GLib.VariantType("(v)"), Gio.DBusCallFlags.NONE, 5000, None)
    return reply.unpack()[0]


def check_item(bus, sender, service):
    # An item names itself by a bus name, or by an object path on the caller's connection.
    name, path = (sender, service) if service.startswith("/") else (service, "/StatusNotifierItem")
    try:
        print("item registered: %s, Id %r, Title %r" % (
            service, item_property(bus, name, path, "Id"), item_property(bus, name, path, "Title")),
            flush=True)
        finish(0)
    except GLib.Error as error:
        print("item registered but does not answer: %s" % error.message, flush=True)
        finish(1)
    return False


def on_call(bus, sender, path, interface, method, parameters, invocation):
    if method == "RegisterStatusNotifierItem":
        service = parameters.unpack()[0]
        items.append(service)
        invocation.return_value(None)
        bus.emit_signal(None, "/StatusNotifierWatcher", WATCHER, "StatusNotifierItemRegistered",
                        GLib.Variant("(s)", (service,)))
        GLib.idle_add(check_item, bus, sender, service)
    else:
        invocation.return_value(None)


def on_get(bus, sender, path, interface, name):
    return {"RegisteredStatusNotifierItems": GLib.Variant("as", items),
            "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
            "ProtocolVersion": GLib.Variant("i", 0)}[name]


def child_ended(pid, status):
    print("the command ended before any item registered (status %d)" % os.waitstatus_to_exitcode(status), flush=True)
    outcome["child"] = None
    finish(1)


def on_name(bus, name):
    outcome["child"] = subprocess.Popen(command, start_new_session=True)
    GLib.child_watch_add(GLib.PRIORITY_DEFAULT, outcome["child"].pid, child_ended)


def on_timeout():
    print("no item registered within %d s" % seconds, flush=True)
    finish(1)
    return False


bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
info = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
bus.register_object("/StatusNotifierWatcher", info, on_call, on_get, None)
Gio.bus_own_name_on_connection(bus, WATCHER, Gio.BusNameOwnerFlags.NONE, on_name, None)
GLib.timeout_add_seconds(seconds, on_timeout)
loop.run()

child = outcome["child"]
if child is not None:
    os.killpg(child.pid, signal.SIGTERM)
    try:
        code = child.wait(timeout=seconds)
    except subprocess.TimeoutExpired:
        os.killpg(child.pid, signal.SIGKILL)
        code = child.wait()
        print("the command did not end on SIGTERM", flush=True)
        outcome["status"] = 1
    if code != 0 and outcome["status"] == 0:
        print("the command ended with status %d after SIGTERM" % code, flush=True)
        outcome["status"] = 1
sys.exit(outcome["status"])
