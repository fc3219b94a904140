#!/usr/bin/python3
"""Reads and clicks the menu a StatusNotifierItem exports (com.canonical.dbusmenu), as a panel
that draws the menu itself does: AboutToShow, GetLayout, then Event(id, "clicked").

usage: dbusmenu.py outline            print the menu, one item a line, submenus indented
       dbusmenu.py click "A > B > C"  click the item labelled C in submenu B of submenu A

Labels are matched whole, after the mnemonic underscores are dropped. Item ids are not in menu
order, so items are only ever found by label.
"""
import sys

from gi.repository import Gio, GLib

WATCHER = "org.kde.StatusNotifierWatcher"
MENU = "com.canonical.dbusmenu"


def call(bus, service, path, interface, method, args, reply):
    return bus.call_sync(service, path, interface, method, args, GLib.VariantType(reply),
                         Gio.DBusCallFlags.NONE, 5000, None).unpack()


def the_menu(bus):
    items = call(bus, WATCHER, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties",
                 "Get", GLib.Variant("(ss)", (WATCHER, "RegisteredStatusNotifierItems")),
                 "(v)")[0]
    if not items:
        sys.exit("no StatusNotifierItem is registered")
    service, _, path = items[0].partition("/")
    path = "/" + path
    menu = call(bus, service, path, "org.freedesktop.DBus.Properties", "Get",
                GLib.Variant("(ss)", ("org.kde.StatusNotifierItem", "Menu")), "(v)")[0]
    return service, menu


def layout(bus, service, menu, parent=0):
    call(bus, service, menu, MENU, "AboutToShow", GLib.Variant("(i)", (parent,)), "(b)")
    return call(bus, service, menu, MENU, "GetLayout",
                GLib.Variant("(iias)", (parent, -1, [])), "(u(ia{sv}av))")[1]


def label(node):
    return node[1].get("label", "").replace("__", "\0").replace("_", "").replace("\0", "_")


def outline(node, depth=0):
    for child in node[2]:
        props = child[1]
        if props.get("type") == "separator":
            text = "-"
        else:
            text = label(child)
            if props.get("enabled", True) is False:
                text += " (disabled)"
            if "icon-data" in props or "icon-name" in props:
                text += " [icon]"
        print("  " * depth + text)
        outline(child, depth + 1)


def find(node, names):
    for child in node[2]:
        if label(child) == names[0]:
            return child if len(names) == 1 else find(child, names[1:])
    sys.exit("no item %r in the exported menu" % names[0])


def main():
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    service, menu = the_menu(bus)
    root = layout(bus, service, menu)
    if sys.argv[1] == "outline":
        outline(root)
        return
    names = sys.argv[2].split(" > ")
    # A panel asks each submenu before it shows it.
    for depth in range(1, len(names)):
        layout(bus, service, menu, find(root, names[:depth])[0])
    root = layout(bus, service, menu)
    item = find(root, names)
    call(bus, service, menu, MENU, "Event",
         GLib.Variant("(isvu)", (item[0], "clicked", GLib.Variant("i", 0), 0)), "()")


if __name__ == "__main__":
    main()
