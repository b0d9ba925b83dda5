#!/usr/bin/python3
"""Drives every control type of the demo application and prints a transcript.

    demo.py [port]

Each step shows the control, the request sent, the reply, and what changed on screen (read back
with another control). Exits non-zero when any reply differs from what the step expects.
"""
import json
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "clients", "python"))

from uiremote import Client  # noqa: E402

PORT = int(sys.argv[1]) if len(sys.argv) > 1 else 34541
WIN = "demoWindow"


def target(path, **keys):
    return dict({"objname": path, "winobjname": WIN}, **keys)


# (title, request, expected result, expected value or None, (path, property) shown afterwards)
STEPS = [
    ("getpro: read a property", {"getpro": {"objname": "main.okButton", "property": "clicks"}}, True, 0, None),
    ("click: left click at the centre", {"click": target("main.okButton")}, True, None, ("main.okButton", "clicks")),
    ("dbclick: one double click", {"dbclick": target("main.okButton")}, True, None, ("main.okButton", "doubleClicks")),
    ("click: right button with Shift", {"click": target("okButton", parobjname="main", clickbtn="right",
                                                        keyboardModifier=33554432)}, True, None,
     ("main.okButton", "lastButton")),
    ("hover: move the mouse over an item", {"hover": target("main.hoverPad")}, True, None, ("main.hoverPad", "hovered")),
    ("press: hold the left button", {"press": target("main.pressPad")}, True, None, ("main.pressPad", "held")),
    ("drop: release it", {"drop": target("main.pressPad")}, True, None, ("main.pressPad", "held")),
    ("drag: press and move past the drag threshold; the button stays held",
     {"drag": target("main.dragBox", from_x=30, from_y=20, to_x=45, to_y=35)}, True, None, ("main.dragBox", "x")),
    ("hover: move on with the button held: the box follows", {"hover": target("main.dragBox", x=215, y=120)}, True,
     None, ("main.dragBox", "x")),
    ("drop: release the box where it is", {"drop": target("main.dragBox")}, True, None, ("main.dragBox", "y")),
    ("keyclick: type H", {"keyclick": {"winobjname": WIN, "key": 72}}, True, None, ("main.nameField", "text")),
    ("keyclick: type I", {"keyclick": {"winobjname": WIN, "key": 73}}, True, None, ("main.nameField", "text")),
    ("setpro: write a property", {"setpro": {"objname": "main.swatch1", "property": "color", "propval": "#f0ad4e"}},
     True, None, ("main.swatch1", "color")),
    ("getwinname: the item's window", {"getwinname": {"objname": "main.fruitList.fruit_cherry"}}, True, WIN, None),
    ("invoke: call a QML function", {"invoke": {"objname": "main.calculator", "method": "reset"}}, True, None,
     ("main.calculator", "lastCall")),
    ("invokeret: call it and return", {"invokeret": {"objname": "main.calculator", "method": "add", "mthargs": [2, 3]}},
     True, 5, ("main.calculator", "lastCall")),
    ("getpro through a method: an unnamed item", {"getpro": {"objname": "main.calculator", "method": "selected",
                                                             "property": "label"}}, True, "picked by a function", None),
    ("waitsignal: wait for the clock's tick()", {"waitsignal": {"objname": "main.clock", "signal": "tick()",
                                                               "timeout": 2000}}, True, None, ("main.clock", "ticks")),
    ("getmdlitemval: a tree-model value", {"getmdlitemval": {"pluginname": "DevicePlugin", "method": "deviceModel",
                                                             "mdlitemrowpth": "0/1", "mdlitemrolename": "name"}},
     True, "flow", None),
    ("getgrpmdlitemval: a group-model value", {"getgrpmdlitemval": {"pluginname": "DevicePlugin",
                                                                    "method": "deviceModel", "grouprolename": "alarms",
                                                                    "mdlitemrowpth": "0", "mdlitemrolename": "name"}},
     True, "overpressure", None),
    ("getfltmdlitemval: not supported", {"getfltmdlitemval": {"pluginname": "DevicePlugin"}}, False, None, None),
    ("addjoystick: announce devices", {"addjoystick": {"joystick_list": ["pad-1", "pad-2"]}}, True, None,
     ("main.joystickLabel", "text")),
    ("joystickbuttonevent: press button 3", {"joystickbuttonevent": {"model_name": "pad-1", "key_id": 3}}, True, None,
     ("main.joystickLabel", "text")),
    ("movejoystick: move the axes", {"movejoystick": {"pos_x": 0.5, "pos_y": -0.25, "pos_z": 1}}, True, None,
     ("main.joystickLabel", "text")),
    ("emitpluginsignal: ring the alarm", {"emitpluginsignal": {"pluginName": "AlarmPlugin", "signalName": "ring"}},
     True, None, ("main.alarmLabel", "text")),
    ("a failing lookup", {"getpro": {"objname": "main.noSuchThing", "property": "x"}}, False, None, None),
    ("delay: the control runs 300 ms later", {"click": target("main.okButton"), "delay": 300}, True, None,
     ("main.okButton", "clicks")),
]


def main():
    failures = 0
    controls = set()
    with Client("127.0.0.1", PORT, timeout=15.0) as app:
        for number, (title, request, result, value, shown) in enumerate(STEPS, 1):
            reply = app.send(request)
            controls.update(k for k in request if k != "delay")
            ok = reply.result == result and (value is None or reply.value == value)
            failures += 0 if ok else 1
            print("%2d. %s%s" % (number, title, "" if ok else "   <-- UNEXPECTED"))
            print("    request: %s" % json.dumps(request))
            print("    reply:   %s" % json.dumps(reply.to_json()))
            if shown:
                after = app.get_property(shown[0], shown[1])
                print("    on screen: %s.%s = %s" % (shown[0], shown[1], json.dumps(after.value)))
    print("\n%d control types driven, %d steps, %d unexpected" % (len(controls), len(STEPS), failures))
    return 1 if failures or len(controls) != 20 else 0


if __name__ == "__main__":
    sys.exit(main())
