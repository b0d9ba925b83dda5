"""Perform Actions and Release Actions: input sources advance tick by tick, each tick's pointer
moves, presses and releases become ``press``, ``hover`` and ``drop`` on the scene, keys become
``keyclick`` chords, wheel scrolls ``wheel`` notches.

A pointer at an element is aimed at that element (so a press is checked for actionability
there); a pointer at a window point is aimed at the window's root item, whose coordinates are
the window's.  While the button is held, a move is cut into short steps so that controls which
wait for a drag threshold (sliders, flickables) follow it.
"""

import math
import time

from .element_commands import element_of, settle, with_reason
from .elements import element_id_of
from .errors import WebDriverError
from .keys import MODIFIERS, key_click
from .routes import route
from ..qt import Modifier

__all__ = []

_MAX_PAUSE = 60.0
_STEP = 8  # pixels per move while a button is held


class _Pointer:
    def __init__(self):
        self.x = self.y = 0.0
        self.pressed = None  # (path, scene x, scene y of the item's origin) while a button is down


def _state(session):
    state = getattr(session, "_actions", None)
    if state is None:
        state = session._actions = {"pointers": {}, "held": Modifier.NONE, "root": None}
    return state


def _root_item(session, state):
    """The path of the window's root item (scene coordinates are its own)."""
    if state["root"] is None:
        tree = session.client.tree(depth=1)
        for child in tree.get("children", ()):
            rect = child.get("rect")
            if rect and rect["x"] == 0 and rect["y"] == 0 and child.get("path"):
                state["root"] = child["path"]
                break
        else:
            raise WebDriverError("unsupported operation", "the window has no root item to aim at")
    return state["root"]


def _number(action, key, default=0):
    value = action.get(key, default)
    if not isinstance(value, (int, float)) or isinstance(value, bool):
        raise WebDriverError("invalid argument", "%s of a %s action must be a number" % (key, action.get("type")))
    return value


def _origin(session, pointer, action):
    """Scene point an action's x, y name, and the element it lies on when its origin is one."""
    x, y = _number(action, "x"), _number(action, "y")
    origin = action.get("origin", "viewport")
    if origin == "pointer":
        return pointer.x + x, pointer.y + y, None
    if origin == "viewport":
        return x, y, None
    element_id = element_id_of(origin)
    if element_id is None:
        raise WebDriverError("invalid argument", "origin must be \"viewport\", \"pointer\" or an element")
    element = element_of(session, element_id)
    rect = session.elements.node(element).get("rect")
    if not rect:
        raise WebDriverError("move target out of bounds", "%s has no place on the screen" % element.path)
    centre_x, centre_y = rect["x"] + rect["width"] / 2.0, rect["y"] + rect["height"] / 2.0
    return centre_x + x, centre_y + y, (element, rect)


def _move(session, state, pointer, action):
    x, y, target = _origin(session, pointer, action)
    pointer.target = target
    if pointer.pressed is None:
        pointer.x, pointer.y = x, y
        return
    path, origin_x, origin_y = pointer.pressed
    steps = max(1, min(12, int(math.hypot(x - pointer.x, y - pointer.y) // _STEP)))
    start_x, start_y = pointer.x, pointer.y
    window = _window(session, path)
    for step in range(1, steps + 1):
        px = start_x + (x - start_x) * step / steps
        py = start_y + (y - start_y) * step / steps
        reply = session.client.hover(path, window, x=int(round(px - origin_x)), y=int(round(py - origin_y)))
        if not reply.result:
            raise WebDriverError("move target out of bounds", reply.error or "the pointer cannot go there")
    pointer.x, pointer.y = x, y


def _aim(session, state, pointer):
    """(path, x and y of the item's origin in the scene) for the pointer's current point."""
    target = getattr(pointer, "target", None)
    if target is not None:
        element, rect = target
        return element.handle, rect["x"], rect["y"]
    return _root_item(session, state), 0, 0


def _window(session, path):
    reply = session.client.get_window_name(path)
    return reply.value if reply.result and reply.value else session.window


def _down(session, state, pointer, action):
    button = action.get("button", 0)
    if button != 0:
        pointer.button = button
        return  # other buttons click on release
    path, origin_x, origin_y = _aim(session, state, pointer)
    with_reason(session.client.press(path, _window(session, path), x=int(round(pointer.x - origin_x)), y=int(round(pointer.y - origin_y))),
                "press")
    pointer.pressed = (path, origin_x, origin_y)


def _up(session, state, pointer, action):
    button = action.get("button", 0)
    if button != 0:
        path, origin_x, origin_y = _aim(session, state, pointer)
        with_reason(session.client.click(path, _window(session, path), button={1: "mid", 2: "right"}.get(button, "left"),
                                         x=int(round(pointer.x - origin_x)), y=int(round(pointer.y - origin_y))),
                    "click")
        return
    if pointer.pressed is None:
        return
    path, origin_x, origin_y = pointer.pressed
    pointer.pressed = None
    reply = session.client.drop(path, _window(session, path), x=int(round(pointer.x - origin_x)), y=int(round(pointer.y - origin_y)))
    if not reply.result and "destroyed" not in (reply.error or ""):
        raise WebDriverError("element not interactable", reply.error or "release failed")


def _key(session, state, action):
    value = action.get("value")
    if not isinstance(value, str) or len(value) != 1:
        raise WebDriverError("invalid argument", "a key action's value must be one character")
    if value in MODIFIERS:
        if action["type"] == "keyDown":
            state["held"] |= MODIFIERS[value]
        else:
            state["held"] &= ~MODIFIERS[value]
        return
    if action["type"] == "keyDown":
        reply = key_click(session.client, session.window, value, state["held"])
        if not (reply if isinstance(reply, bool) else reply.result):
            raise WebDriverError("element not interactable", getattr(reply, "error", None) or "key not typed")


def _scroll(session, state, action):
    pointer = _Pointer()
    x, y, target = _origin(session, pointer, action)
    dx, dy = _number(action, "deltaX"), _number(action, "deltaY")

    def degrees(pixels):  # one notch of 15 degrees for each 100 pixels, at least one
        return 0 if not pixels else -int(math.copysign(max(15, round(abs(pixels) * 15 / 100 / 15) * 15), pixels))

    pointer.target = target
    path, origin_x, origin_y = _aim(session, state, pointer)
    with_reason(session.client.wheel(path, window=_window(session, path), dy=degrees(dy), dx=degrees(dx),
                                     x=int(round(x - origin_x)), y=int(round(y - origin_y))), "wheel")


def _pause(action):
    duration = _number(action, "duration", 0)
    if duration > 0:
        time.sleep(min(duration / 1000.0, _MAX_PAUSE))


@route("POST", "/session/{sid}/actions")
def _perform(session, params, body):
    sources = (body or {}).get("actions")
    if not isinstance(sources, list):
        raise WebDriverError("invalid argument", "Perform Actions needs an \"actions\" list")
    state = _state(session)
    for source in sources:
        if not isinstance(source, dict) or source.get("type") not in ("pointer", "key", "wheel", "none") \
                or not isinstance(source.get("actions"), list):
            raise WebDriverError("invalid argument", "each input source needs a type and an actions list")
    ticks = max((len(source["actions"]) for source in sources), default=0)
    for tick in range(ticks):
        longest = 0
        for source in sources:
            if tick >= len(source["actions"]):
                continue
            action = source["actions"][tick]
            kind = action.get("type") if isinstance(action, dict) else None
            if kind == "pause":
                longest = max(longest, _number(action, "duration", 0))
            elif source["type"] == "pointer" and kind in ("pointerMove", "pointerDown", "pointerUp", "pointerCancel"):
                pointer = state["pointers"].setdefault(source.get("id", "mouse"), _Pointer())
                {"pointerMove": _move, "pointerDown": _down, "pointerUp": _up,
                 "pointerCancel": _up}[kind](session, state, pointer, action)
            elif source["type"] == "key" and kind in ("keyDown", "keyUp"):
                _key(session, state, action)
            elif source["type"] == "wheel" and kind == "scroll":
                _scroll(session, state, action)
            else:
                raise WebDriverError("invalid argument", "%r is no action of a %s source" % (kind, source["type"]))
        if longest:
            _pause({"duration": longest})
    settle(session)


@route("DELETE", "/session/{sid}/actions")
def _release(session, params, body):
    state = _state(session)
    for pointer in state["pointers"].values():
        if pointer.pressed is not None:
            _up(session, state, pointer, {"button": 0})
    state["pointers"].clear()
    state["held"] = Modifier.NONE
