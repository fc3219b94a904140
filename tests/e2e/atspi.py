#!/usr/bin/python3
"""Reads and drives the running Vellumix the way a screen reader does, over AT-SPI.

usage: atspi.py unnamed WHAT        list every shown control of Vellumix without a name (exit 1
                                    when there is one); WHAT labels the report
       atspi.py press NAME          press the shown control named NAME (its first action)
       atspi.py focus NAME          give the shown control named NAME the keyboard focus
       atspi.py wait NAME           wait (10 s at most) until a control named NAME is shown
       atspi.py window NAME         print the role and description of the shown window NAME
       atspi.py tree                print the shown objects, for finding one's way

Controls are the objects a person operates: buttons, toggles, check boxes, radio buttons,
combo boxes, text fields, spin boxes, sliders, menu items, tabs and links.
"""
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

R = Atspi.Role
CONTROLS = {
    R.PUSH_BUTTON, R.TOGGLE_BUTTON, R.CHECK_BOX, R.RADIO_BUTTON, R.COMBO_BOX, R.TEXT, R.ENTRY,
    R.PASSWORD_TEXT, R.SPIN_BUTTON, R.SLIDER, R.MENU_ITEM, R.CHECK_MENU_ITEM,
    R.RADIO_MENU_ITEM, R.PAGE_TAB, R.LINK, R.PUSH_BUTTON_MENU,
}


def the_app():
    for _ in range(100):
        desktop = Atspi.get_desktop(0)
        for i in range(desktop.get_child_count()):
            app = desktop.get_child_at_index(i)
            if app is not None and app.get_name() == "Vellumix":
                return app
        time.sleep(0.1)
    sys.exit("Vellumix is not on the accessibility bus")


def shown(obj):
    try:
        return obj.get_state_set().contains(Atspi.StateType.SHOWING)
    except Exception:  # the object went away while walking
        return False


def walk(obj, path=""):
    """Yields (object, path) for every shown object below obj."""
    try:
        count = obj.get_child_count()
    except Exception:
        return
    for i in range(count):
        child = obj.get_child_at_index(i)
        if child is None or not shown(child):
            continue
        here = "%s/%s[%s]" % (path, child.get_role_name(), child.get_name() or "")
        yield child, here
        yield from walk(child, here)


# What a focusable object must not be: a screen reader cannot tell what it does.
NO_ROLE = {R.FILLER, R.UNKNOWN, R.INVALID, R.REDUNDANT_OBJECT}


def problem(obj):
    role = obj.get_role()
    if role in CONTROLS and not (obj.get_name() or "").strip():
        return "unnamed"
    if role in NO_ROLE and obj.get_state_set().contains(Atspi.StateType.FOCUSABLE):
        return "no role"
    return None


def find(name, roles=CONTROLS):
    for _ in range(100):
        for obj, _ in walk(the_app()):
            if obj.get_name() == name and obj.get_role() in roles:
                return obj
        time.sleep(0.1)
    sys.exit("no shown object named %r" % name)


def main():
    verb = sys.argv[1]
    if verb == "unnamed":
        found = [(problem(obj), path) for obj, path in walk(the_app()) if problem(obj)]
        for what, path in found:
            print("%s (%s): %s" % (what, sys.argv[2], path))
        sys.exit(1 if found else 0)
    elif verb == "press":
        obj = find(sys.argv[2])
        Atspi.Action.do_action(obj, 0)
    elif verb == "focus":
        Atspi.Component.grab_focus(find(sys.argv[2]))
    elif verb == "wait":
        find(sys.argv[2])
    elif verb == "window":
        window = find(sys.argv[2], {R.FRAME, R.WINDOW, R.DIALOG})
        print("%s: %s" % (window.get_role_name(), window.get_description()))
    elif verb == "tree":
        for _, path in walk(the_app()):
            print(path)


if __name__ == "__main__":
    main()
