"""The controls of :class:`uiremote.Client`, one method per control, named as the application's
``describe`` names it.

Each method is written as a request builder: it turns its Python arguments into the request
object.  :func:`control` makes it a method that sends that request and returns the reply,
while the builder itself stays reachable (``Client.click.build``) for those that send later or
elsewhere: :meth:`Client.batch` and the agent tool server.
"""

import base64
import functools
import inspect

from . import qt
from .handles import Handle

__all__ = ["Controls", "control"]


def control(finish=None):
    """Makes a request builder ``build(client, ...) -> dict`` a method that sends the request.
    ``finish(reply)`` turns the reply into what the method returns (default: the reply)."""
    def wrap(build):
        @functools.wraps(build)
        def method(self, *args, **kwargs):
            reply = self.send(build(self, *args, **kwargs))
            return reply if finish is None else finish(reply)

        method.build = build
        return method
    return wrap


def _value(what):
    return lambda reply: reply.check(what).value


def _path(value):
    if value is None or isinstance(value, Handle):  # a handle names its object itself
        return value
    if isinstance(value, (list, tuple)):
        return ".".join(str(part) for part in value)
    return str(value)


def _row_path(value):
    if value is None:
        return None
    if isinstance(value, (list, tuple)):
        return "/".join(str(part) for part in value)
    return str(value)


def point(value, name):
    """An (x, y) pair of integers, or None."""
    if value is None:
        return None
    try:
        x, y = value
    except (TypeError, ValueError):
        raise ValueError("%s must be an (x, y) pair, got %r" % (name, value)) from None
    return int(x), int(y)


def _ms(seconds):
    return None if seconds is None else int(seconds * 1000)


def _modifiers(value):
    return None if value is None else qt.parse_modifiers(value)


def _drop_none(mapping):
    return {key: value for key, value in mapping.items() if value is not None}


class Controls:
    """The control methods; the class using it provides ``send``, ``window`` and ``actionable``.

    Keyword arguments left at ``None`` are not sent: the application treats absent keys
    differently from present ones (for example "x" without "y" clicks the centre).
    """

    _POINTER_WORDS = ("click", "dbclick", "hover", "press", "drag", "drop")

    def request(self, control_name, **kwargs):
        """The request of the control whose method is ``control_name``, from keyword arguments
        named as the method's parameters (its ``*args`` given as a list)."""
        build = getattr(type(self), control_name).build
        params = list(inspect.signature(build).parameters.values())[1:]
        star = next((p for p in params if p.kind is p.VAR_POSITIONAL), None)
        if star is None or star.name not in kwargs:
            return build(self, **kwargs)
        head = [kwargs.pop(p.name, None) for p in params[:params.index(star)]]
        return build(self, *head, *kwargs.pop(star.name), **kwargs)

    def _request(self, word, args, delay=None, actionable=None, **always):
        """``{word: args}`` without the ``None`` values (``always`` is sent even when null)."""
        data = _drop_none(args)
        data.update(always)
        if isinstance(data.get("objname"), Handle):
            data["handle"] = int(data.pop("objname"))
        if word in self._POINTER_WORDS:
            actionable = self.actionable if actionable is None else actionable
            if actionable:
                data["actionable"] = True
        request = {word: data}
        if delay is not None:
            request["delay"] = int(delay)
        return request

    def _window(self, window):
        return self.window if window is None else window

    @staticmethod
    def _target(path, parent=None, method=None, args=None):
        target = {"objname": _path(path), "parobjname": _path(parent), "method": method}
        if args is not None:
            target["mthargs"] = list(args)
        return target

    # -- pointer actions ------------------------------------------------------------------

    @control()
    def click(self, path, window=None, button=None, x=None, y=None, modifiers=None, parent=None,
              delay=None, *, method=None, args=None, actionable=None):
        """Clicks an item: at its centre, or at item-local (x, y) when both are given.

        ``button`` is "left" (the default), "right" or "mid"; ``modifiers`` a
        :class:`~uiremote.qt.Modifier` set (or "ctrl+shift").  ``method``/``args`` target the
        object returned by that method of ``path`` instead of ``path`` itself.  ``actionable``
        (default: the client's) first checks that a person could click the item.
        """
        return self._click("click", path, window, button, x, y, modifiers, parent, delay, method, args, actionable)

    @control()
    def double_click(self, path, window=None, button=None, x=None, y=None, modifiers=None, parent=None,
                     delay=None, *, method=None, args=None, actionable=None):
        """Double-clicks an item (one press/release/double-click/release sequence)."""
        return self._click("dbclick", path, window, button, x, y, modifiers, parent, delay, method, args, actionable)

    def _click(self, word, path, window, button, x, y, modifiers, parent, delay, method, args, actionable):
        data = self._target(path, parent, method, args)
        data.update(winobjname=self._window(window), clickbtn=None if button is None else qt.button_word(button),
                    x=x, y=y, keyboardModifier=_modifiers(modifiers))
        return self._request(word, data, delay, actionable)

    def _at(self, word, path, window, x, y, parent, delay, method, args, actionable):
        data = self._target(path, parent, method, args)
        data.update(winobjname=self._window(window), x=x, y=y)
        return self._request(word, data, delay, actionable)

    @control()
    def hover(self, path, window=None, x=None, y=None, parent=None, delay=None, *, method=None, args=None,
              actionable=None):
        """Moves the mouse over an item (centre, or item-local (x, y))."""
        return self._at("hover", path, window, x, y, parent, delay, method, args, actionable)

    @control()
    def press(self, path, window=None, x=None, y=None, parent=None, delay=None, *, method=None, args=None,
              actionable=None):
        """Presses the left button on an item and keeps it held; release it with :meth:`drop`."""
        return self._at("press", path, window, x, y, parent, delay, method, args, actionable)

    @control()
    def drag(self, path, window=None, from_xy=None, to_xy=None, x=None, y=None, parent=None, delay=None,
             *, method=None, args=None, actionable=None):
        """Presses the left button and moves once, leaving the button held.

        With ``from_xy`` and ``to_xy`` the gesture goes between those item-local points;
        otherwise from the item's centre to (x, y), or to the centre itself.
        """
        data = self._target(path, parent, method, args)
        start, end = point(from_xy, "from_xy"), point(to_xy, "to_xy")
        data.update(winobjname=self._window(window), x=x, y=y)
        if start is not None:
            data.update(from_x=start[0], from_y=start[1])
        if end is not None:
            data.update(to_x=end[0], to_y=end[1])
        return self._request("drag", data, delay, actionable)

    @control()
    def drop(self, path, window=None, x=None, y=None, parent=None, delay=None, *, method=None, args=None,
             actionable=None):
        """Releases the left button over an item (centre, or item-local (x, y))."""
        return self._at("drop", path, window, x, y, parent, delay, method, args, actionable)

    # -- keyboard ---------------------------------------------------------------------------

    @control()
    def key_click(self, window=None, key=None, modifiers=None, delay=None):
        """Types one key into a window (to its focused item).

        ``key`` is a ``Qt::Key`` code, a :class:`~uiremote.qt.Key`, a key name ("Return") or one
        character ("a"; "A" also holds Shift).
        """
        if key is None:
            raise TypeError("key_click() needs a key")
        mods = _modifiers(modifiers)
        if isinstance(key, str) and len(key) == 1:
            code, extra = qt.key_for_char(key)
            if extra:
                mods = (mods or 0) | extra
        else:
            code = qt.parse_key(key)
        return self._request("keyclick", {"winobjname": self._window(window), "key": code,
                                          "keyboardModifier": mods}, delay)

    @control()
    def type_text(self, window=None, text="", *, path=None, parent=None):
        """Types ``text`` exactly as given, any Unicode text, one key press per character with
        that character as its text, into the focused item of ``window`` (extension mode).  With
        ``path`` the item is clicked first to take the focus.  Returns the reply (true on success)."""
        data = {"winobjname": self._window(window) if path is None else window, "text": str(text)}
        if path is not None:
            data.update(self._target(path, parent))
        return self._request("typetext", data)

    # -- properties, methods, signals -------------------------------------------------------

    @control()
    def get_property(self, path, name, parent=None, method=None, args=None, delay=None):
        """Reads a property; the reply's ``value`` holds it."""
        return self._request("getpro", dict(self._target(path, parent, method, args), property=name), delay)

    @control()
    def set_property(self, path, name, value, parent=None, method=None, args=None, delay=None):
        """Writes a property (the application converts the JSON value to the property's type)."""
        data = dict(self._target(path, parent, method, args), property=name)
        return self._request("setpro", data, delay, propval=value)

    @control()
    def get_window_name(self, path, parent=None, method=None, args=None, delay=None):
        """The object name of the window that shows an item, in ``value``."""
        return self._request("getwinname", self._target(path, parent, method, args), delay)

    @control()
    def invoke(self, path, method, *args, parent=None, delay=None):
        """Calls a method (QML functions and QVariant-taking invokables) with up to ten arguments."""
        return self._request("invoke", self._target(path, parent, method, list(args) or None), delay)

    @control()
    def invoke_ret(self, path, method, *args, parent=None, delay=None):
        """Calls a method and returns what it returned in ``value``."""
        return self._request("invokeret", self._target(path, parent, method, list(args) or None), delay)

    @control()
    def wait_signal(self, path, signal, timeout_ms=None, parent=None, delay=None):
        """Waits until the object emits ``signal`` (full signature, e.g. "clicked()").

        Only emissions after the request arrives count.  ``result`` is false on time-out.
        The reply wait is extended by ``timeout_ms``.
        """
        data = dict(self._target(path, parent), signal=signal,
                    timeout=None if timeout_ms is None else int(timeout_ms))
        return self._request("waitsignal", data, delay)

    @control()
    def wait_property(self, path, name, value, timeout=None, parent=None):
        """Waits (in the application, woken by the change signal) until a property equals
        ``value``; ``timeout`` in seconds (default 5).  ``value`` holds the value reached."""
        data = dict(self._target(path, parent), property=name, timeout=_ms(timeout))
        return self._request("waitprop", data, value=value)

    # -- host models and the host plugin bridge ----------------------------------------------

    @control()
    def get_model_value(self, plugin, method, row_path, role, delay=None):
        """Reads a value from a host plugin's tree model; ``row_path`` is "1/0" or [1, 0]."""
        return self._request("getmdlitemval", {"pluginname": plugin, "method": method,
                                               "mdlitemrowpth": _row_path(row_path), "mdlitemrolename": role}, delay)

    @control()
    def get_group_model_value(self, plugin, method, group, row_path, role, delay=None):
        """Like :meth:`get_model_value`, in the model of the group ``group``."""
        return self._request("getgrpmdlitemval", {"pluginname": plugin, "method": method, "grouprolename": group,
                                                  "mdlitemrowpth": _row_path(row_path), "mdlitemrolename": role},
                             delay)

    @control()
    def get_filter_model_value(self, plugin=None, method=None, row_path=None, role=None, group=None, delay=None):
        """The filter-model query. The application accepts it but does not support it: it
        always answers with a failed reply."""
        return self._request("getfltmdlitemval", {"pluginname": plugin, "method": method, "grouprolename": group,
                                                  "mdlitemrowpth": _row_path(row_path), "mdlitemrolename": role},
                             delay)

    @control()
    def add_joystick(self, devices, delay=None):
        """Announces the attached joystick devices to the host's joystick plugin."""
        if isinstance(devices, str):
            devices = [devices]
        return self._request("addjoystick", {"joystick_list": [str(d) for d in devices]}, delay)

    @control()
    def joystick_button_event(self, model, key_id, delay=None):
        """Presses button ``key_id`` of joystick ``model`` through the joystick plugin."""
        return self._request("joystickbuttonevent", {"model_name": model, "key_id": key_id}, delay)

    @control()
    def move_joystick(self, x=None, y=None, z=None, delay=None):
        """Moves the joystick axes (absent axes read as 0.0)."""
        data = {"pos_x": x, "pos_y": y, "pos_z": z}
        return self._request("movejoystick", {k: None if v is None else float(v) for k, v in data.items()}, delay)

    @control()
    def emit_plugin_signal(self, plugin, signal, delay=None):
        """Makes a host plugin emit an argument-less signal (or run such a method)."""
        return self._request("emitpluginsignal", {"pluginName": plugin, "signalName": signal}, delay)

    # -- looking at the scene (extension mode; these raise when the control fails) -----------

    @control(finish=_value("describe"))
    def describe(self):
        """The controls the application understands, with their arguments (a list of rows)."""
        return {"describe": {}}

    @control(finish=_value("tree"))
    def tree(self, path=None, depth=None, parent=None):
        """The live object tree (below ``path`` when given, ``depth`` levels deep)."""
        return self._request("tree", {"objname": _path(path), "parobjname": _path(parent), "depth": depth})

    @control(finish=_value("find"))
    def find(self, property=None, value=None, type=None, path=None, parent=None, *, any_value=None, under=None):
        """The paths of the objects whose ``property`` equals ``value`` (of ``type``, below
        ``path``; ``under`` is an older name of it).  Without ``value`` every object that has
        the property matches; pass ``any_value=False`` with ``value=None`` to look for null."""
        data = {"property": property, "type": type, "objname": _path(path if path is not None else under),
                "parobjname": _path(parent)}
        if value is not None or any_value is False:
            return self._request("find", data, value=value)
        return self._request("find", data)

    @control(finish=lambda reply: base64.b64decode(reply.check("screenshot").value))
    def screenshot(self, window=None, path=None, parent=None):
        """The window as rendered now (cropped to the item at ``path``), as PNG bytes."""
        return self._request("screenshot", {"winobjname": window, "objname": _path(path), "parobjname": _path(parent)})

    # -- gestures, spies and waits (extension mode) -----------------------------------------

    @control()
    def wheel(self, path, dy=None, dx=None, window=None, x=None, y=None, modifiers=None, parent=None):
        """Turns the mouse wheel over an item by ``dy``/``dx`` degrees (15 per notch; positive
        ``dy`` turns it away from the user, scrolling back up)."""
        data = self._target(path, parent)
        data.update(winobjname=window, x=x, y=y, dx=dx, dy=dy, keyboardModifier=_modifiers(modifiers))
        return self._request("wheel", data)

    @control()
    def swipe(self, path, start="center", end="left", window=None, steps=None, duration=None, button=None,
              parent=None):
        """Presses at ``start``, moves in ``steps`` timed steps over ``duration`` ms to ``end``
        and releases.  Points are item-local (x, y) pairs or places: "center", "left", "right",
        "top", "bottom", "topleft", "topright", "bottomleft", "bottomright"."""
        data = self._target(path, parent)
        data.update(winobjname=window, steps=steps, duration=duration,
                    button=None if button is None else qt.button_word(button))
        data["from"] = start if isinstance(start, str) else list(point(start, "start"))
        data["to"] = end if isinstance(end, str) else list(point(end, "end"))
        return self._request("swipe", data)

    @control()
    def spy(self, path, signal, parent=None):
        """Arms a spy on a signal ("clicked" or "clicked()"); the reply's ``value`` is its id."""
        return self._request("spy", dict(self._target(path, parent), signal=signal))

    @control()
    def spy_count(self, spy_id):
        """How often a spy's signal fired: ``value`` is {"count": n, "args": [[...], ...]}."""
        return self._request("spycount", {"id": int(spy_id)})

    @control()
    def unspy(self, spy_id):
        """Disarms a spy."""
        return self._request("unspy", {"id": int(spy_id)})

    @control()
    def wait_spy(self, spy_id, count=1, timeout=5.0):
        """Waits until a spy has seen ``count`` emissions in all; ``value`` is the count."""
        return self._request("waitspy", {"id": int(spy_id), "count": int(count), "timeout": _ms(timeout)})

    @control()
    def wait_idle(self, window=None, timeout=5.0, *, path=None, ignore=None):
        """Waits until nothing moves in a window any more (no animation, transition, flick or
        stack-view change) and a frame has been rendered since; with ``path``, only what moves
        below that item counts; ``ignore`` leaves out what never stops (names, ids or types such
        as "BusyIndicator")."""
        return self._request("waitidle", {"winobjname": window, "objname": _path(path),
                                          "ignore": list(ignore) if ignore else None, "timeout": _ms(timeout)})

    # The control words, as other names of their methods.
    dbclick = double_click
    keyclick = key_click
    invokeret = invoke_ret
    waitsignal = wait_signal
