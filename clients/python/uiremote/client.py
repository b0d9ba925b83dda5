"""TCP client of the UI remote control.

Wire format: the client writes one JSON object per request, e.g.
``{"click": {"objname": "main.okButton", "winobjname": "mainWindow"}, "delay": 500}``, and the
application answers each with an indented JSON object ``{"result": true|false}`` plus ``"value"``
when the control produced one.  Replies carry no terminator and no length prefix.

The application cuts the bytes of each read into messages at a "}" directly followed by "{"
outside strings and at the end of the read, and keeps nothing between reads.  So every request
goes out in one ``sendall`` and the client waits for its reply before sending the next one.
"""

import json
import re
import socket
import threading
import time
from collections import deque
from dataclasses import dataclass, field
from typing import Any

from . import qt
from .scene import SceneMixin
from .errors import (
    UIRemoteAuthError,
    UIRemoteCommandFailed,
    UIRemoteConnectionError,
    UIRemoteProtocolError,
    UIRemoteTimeout,
)

__all__ = ["DEFAULT_PORT", "CONTROL_TYPES", "EXTENSION_TYPES", "Client", "Reply", "ReplyReader", "encode_request"]

DEFAULT_PORT = 34541

#: The control-type words the application understands (matched case-sensitively).
CONTROL_TYPES = (
    "addjoystick",
    "click",
    "dbclick",
    "drag",
    "drop",
    "emitpluginsignal",
    "getpro",
    "getfltmdlitemval",
    "getgrpmdlitemval",
    "getmdlitemval",
    "getwinname",
    "hover",
    "invoke",
    "invokeret",
    "joystickbuttonevent",
    "keyclick",
    "movejoystick",
    "press",
    "setpro",
    "waitsignal",
)

#: The control words of extension mode (on in uiremote-host, off by default in an application).
EXTENSION_TYPES = (
    "spy",
    "spycount",
    "swipe",
    "typetext",
    "waitidle",
    "waitprop",
    "waitspy",
    "wheel",
)

# Extension words that wait, with their default time-out in milliseconds.
_WAIT_DEFAULT_MS = {"waitspy": 5000, "waitprop": 5000, "waitidle": 5000}

_RECV_SIZE = 65536


@dataclass(frozen=True)
class Reply:
    """One reply: ``result`` is the control's success flag, ``value`` its value (``None`` when
    the reply has no "value").  A reply is truthy exactly when ``result`` is true."""

    result: bool
    value: Any = None
    raw: dict = field(default_factory=dict, repr=False, compare=False)

    def __bool__(self):
        return bool(self.result)

    @property
    def has_value(self):
        return "value" in self.raw

    @property
    def error(self):
        """The reason the application gave for a failure (extension mode), else None."""
        return self.raw.get("error")

    def check(self, what=None):
        """Returns the reply itself, or raises :class:`UIRemoteCommandFailed` (carrying the
        application's reason, when it gave one) if it failed."""
        if not self.result:
            message = "%s failed" % (what or "control")
            if self.error:
                message += ": %s" % self.error
            raise UIRemoteCommandFailed(message, reply=self)
        return self

    def to_json(self):
        """The reply as the application sent it (a dict)."""
        if self.raw:
            return dict(self.raw)
        data = {"result": self.result}
        if self.value is not None:
            data["value"] = self.value
        return data

    @classmethod
    def from_json(cls, data):
        if not isinstance(data, dict) or not isinstance(data.get("result"), bool):
            raise UIRemoteProtocolError("not a reply object: %r" % (data,))
        return cls(result=data["result"], value=data.get("value"), raw=data)


# Bytes that matter while looking for the end of a JSON object.
_STRUCTURAL = re.compile(rb'[{}"\\]')
_WHITESPACE = b" \t\r\n"


class ReplyReader:
    """Cuts a byte stream of concatenated JSON reply objects into replies.

    Feed it whatever ``recv`` returned; it never assumes that one read holds one reply.  Each
    byte is scanned once (string and escape state is kept between feeds), complete objects are
    decoded with :meth:`json.JSONDecoder.raw_decode`, and surplus bytes stay for the next reply.
    """

    def __init__(self):
        self._buffer = bytearray()
        self._decoder = json.JSONDecoder()
        self._ready = deque()
        self._pos = 0  # where scanning resumes
        self._start = -1  # start of the object being scanned, -1 between objects
        self._depth = 0
        self._in_string = False
        self._escape = False

    def feed(self, data):
        """Adds received bytes; returns the number of complete replies now waiting."""
        if data:
            self._buffer += data
            self._scan()
        return len(self._ready)

    def pop(self):
        """Returns the oldest complete reply as a :class:`Reply`, or ``None``."""
        if not self._ready:
            return None
        return Reply.from_json(self._ready.popleft())

    def __len__(self):
        return len(self._ready)

    @property
    def pending(self):
        """Bytes received but not yet part of a complete reply."""
        return bytes(self._buffer)

    def clear(self):
        self.__init__()

    def _scan(self):
        buf = self._buffer
        pos = self._pos
        size = len(buf)
        while pos < size:
            if self._start < 0:
                while pos < size and buf[pos] in _WHITESPACE:
                    pos += 1
                if pos == size:
                    break
                if buf[pos] != 0x7B:  # "{"
                    raise UIRemoteProtocolError(
                        "expected a JSON object from the application, got %r" % bytes(buf[pos : pos + 40])
                    )
                self._start = pos
                self._depth = 0
            if self._escape:
                self._escape = False
                pos += 1
                continue
            match = _STRUCTURAL.search(buf, pos)
            if match is None:
                pos = size
                break
            char = buf[match.start()]
            pos = match.end()
            if self._in_string:
                if char == 0x5C:  # backslash: skip the escaped byte
                    self._escape = True
                elif char == 0x22:
                    self._in_string = False
            elif char == 0x22:
                self._in_string = True
            elif char == 0x7B:
                self._depth += 1
            elif char == 0x7D:
                self._depth -= 1
                if self._depth == 0:
                    self._ready.append(self._decode(bytes(buf[self._start : pos])))
                    del buf[:pos]
                    size = len(buf)
                    pos = 0
                    self._start = -1
            else:
                raise UIRemoteProtocolError("unexpected backslash outside a string in a reply")
        self._pos = pos

    def _decode(self, raw):
        try:
            text = raw.decode("utf-8")
            data, end = self._decoder.raw_decode(text)
        except (UnicodeDecodeError, ValueError) as error:
            raise UIRemoteProtocolError("malformed reply %r: %s" % (raw[:200], error)) from None
        if text[end:].strip():
            raise UIRemoteProtocolError("malformed reply %r" % (raw[:200],))
        if not isinstance(data, dict) or not isinstance(data.get("result"), bool):
            raise UIRemoteProtocolError("not a reply object: %r" % (raw[:200],))
        return data


_ESCAPE_PAIR = re.compile(r"\\.", re.DOTALL)


def _protect_quotes(text):
    # The application tells strings apart by counting double quotes and does not know escapes,
    # so an escaped quote inside a string would end the string for it (and the whitespace and
    # braces after it would be treated as structure). A quote written as \u0022 is the same JSON
    # string and contains no quote character.
    return _ESCAPE_PAIR.sub(lambda m: "\\u0022" if m.group(0) == '\\"' else m.group(0), text)


def encode_request(request):
    """Serialises one request object into the bytes that go on the wire."""
    if not isinstance(request, dict):
        raise TypeError("a request is a JSON object (dict), got %s" % type(request).__name__)
    text = json.dumps(request, ensure_ascii=False, separators=(",", ":"), allow_nan=False)
    return _protect_quotes(text).encode("utf-8")


def _positive_int(value):
    if isinstance(value, bool):
        return int(value)
    if isinstance(value, (int, float)):
        return int(value)
    if isinstance(value, str):
        try:
            return int(value.strip())
        except ValueError:
            return 0
    return 0


def expected_duration(request):
    """Seconds the application may legitimately take before answering ``request``: its delay
    (any non-control top-level key with a positive integer, as the application reads it) plus
    the time-out of a "waitsignal"."""
    if not isinstance(request, dict):
        return 0.0
    delay = 0
    for key in sorted(request):
        if key in CONTROL_TYPES or key in EXTENSION_TYPES:
            continue
        value = _positive_int(request[key])
        if value > 0:
            delay = value
    wait = 0
    args = request.get("waitsignal")
    if isinstance(args, dict):
        wait = max(0, _positive_int(args.get("timeout")))
    for word, default in _WAIT_DEFAULT_MS.items():
        args = request.get(word)
        if isinstance(args, dict):
            wait = max(wait, _positive_int(args.get("timeout", default)))
    return (delay + wait) / 1000.0


def _path(value):
    if value is None:
        return None
    if isinstance(value, (list, tuple)):
        return ".".join(str(part) for part in value)
    return str(value)


def _row_path(value):
    if value is None:
        return None
    if isinstance(value, (list, tuple)):
        return "/".join(str(part) for part in value)
    return str(value)


def _point(value, name):
    if value is None:
        return None
    try:
        x, y = value
    except (TypeError, ValueError):
        raise ValueError("%s must be an (x, y) pair, got %r" % (name, value)) from None
    return int(x), int(y)


def _drop_none(mapping):
    return {key: value for key, value in mapping.items() if value is not None}


class Client(SceneMixin):
    """A connection to one application.

    ``Client(host, port, timeout)`` does not connect by itself: entering the ``with`` block,
    :meth:`connect` or the first request does.  ``timeout`` bounds connecting and each wait
    for a reply (requests with a delay or a signal wait get that much longer).  ``window`` is
    the window name used when a pointer action is given none.

    Every control method returns a :class:`Reply`.  Keyword arguments left at ``None`` are not
    sent: the application treats absent keys differently from present ones (for example "x"
    without "y" clicks the centre).
    """

    def __init__(self, host="127.0.0.1", port=DEFAULT_PORT, timeout=10.0, *, window=None, actionable=True,
                 token=None):
        self.host = host
        self.token = token
        self.port = int(port)
        self.timeout = float(timeout)
        self.window = window
        #: Pointer actions first check that a person could act on the item (visible, enabled,
        #: inside the window, not covered); an application without extension mode ignores it.
        self.actionable = actionable
        self._sock = None
        self._reader = ReplyReader()
        self._lock = threading.RLock()

    # -- connection -----------------------------------------------------------------------

    def __enter__(self):
        self.connect()
        return self

    def __exit__(self, *exc_info):
        self.close()

    def __repr__(self):
        state = "connected" if self.connected else "not connected"
        return "<uiremote.Client %s:%d %s>" % (self.host, self.port, state)

    @property
    def connected(self):
        return self._sock is not None

    def connect(self, timeout=None):
        """Opens the connection (no-op when open). Raises :class:`UIRemoteConnectionError`."""
        with self._lock:
            if self._sock is not None:
                return self
            limit = self.timeout if timeout is None else float(timeout)
            try:
                sock = socket.create_connection((self.host, self.port), timeout=limit)
            except OSError as error:
                raise UIRemoteConnectionError(
                    "cannot connect to %s:%d: %s" % (self.host, self.port, error)
                ) from None
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self._sock = sock
            self._reader = ReplyReader()
            if self.token is not None:
                self._authenticate(limit)
            return self

    def _authenticate(self, timeout):
        """Presents the token: the first message of an application started with UIREMOTE_TOKEN."""
        try:
            reply = self._exchange(encode_request({"auth": {"token": str(self.token)}}), 1, timeout)[0]
        except (UIRemoteConnectionError, UIRemoteTimeout) as error:
            raise UIRemoteAuthError(
                "%s:%d refused the token (%s)" % (self.host, self.port, error)
            ) from None
        if not reply.result:
            self.close()
            raise UIRemoteAuthError("%s:%d refused the token" % (self.host, self.port))

    def close(self):
        with self._lock:
            if self._sock is not None:
                try:
                    self._sock.close()
                finally:
                    self._sock = None
                    self._reader = ReplyReader()

    # -- raw requests ---------------------------------------------------------------------

    def send(self, request, *, timeout=None):
        """Sends one request object (a dict) and returns its :class:`Reply`.

        ``timeout`` replaces the reply wait for this request; by default it is the client's
        timeout plus the request's delay and signal-wait time.
        """
        return self._exchange(encode_request(request), 1, self._reply_timeout([request], timeout))[0]

    def send_many(self, requests, *, timeout=None):
        """Sends several request objects in one write and returns their replies, in order.

        The application splits them at the "}{" boundaries and runs them one after another.
        Keep batches small: a write that the application receives in two reads is cut apart.
        """
        requests = list(requests)
        if not requests:
            return []
        data = b"".join(encode_request(request) for request in requests)
        return self._exchange(data, len(requests), self._reply_timeout(requests, timeout))

    def batch(self, timeout=None):
        """Collects control calls and sends them in one write when the ``with`` block ends.

            with app.batch() as batch:
                batch.invoke("main.loader", "start")
                batch.wait_signal("main.loader", "loaded()", 5000)
            assert all(batch.replies)

        The application takes the requests one after another with nothing in between, so a
        signal wait set up this way cannot miss a signal that the first call causes soon after.
        Inside the block the calls return placeholders; ``batch.replies`` holds the real
        replies, in order, afterwards.
        """
        return _Batch(self, timeout)

    def send_text(self, text, *, replies=1, timeout=None):
        """Sends ``text`` exactly as given (no checking) and reads ``replies`` replies.

        Returns one :class:`Reply`, or a list of them when ``replies`` is not 1.
        """
        data = text.encode("utf-8") if isinstance(text, str) else bytes(text)
        limit = self.timeout if timeout is None else float(timeout)
        result = self._exchange(data, replies, limit)
        return result[0] if replies == 1 else result

    def _reply_timeout(self, requests, timeout):
        if timeout is not None:
            return float(timeout)
        return self.timeout + sum(expected_duration(request) for request in requests)

    def _exchange(self, data, count, timeout):
        with self._lock:
            self.connect()
            sock = self._sock
            deadline = time.monotonic() + timeout
            try:
                sock.settimeout(max(timeout, 0.001))
                sock.sendall(data)
            except socket.timeout:
                self.close()
                raise UIRemoteTimeout("timed out sending the request to %s:%d" % (self.host, self.port)) from None
            except OSError as error:
                self.close()
                raise UIRemoteConnectionError("sending to %s:%d failed: %s" % (self.host, self.port, error)) from None
            replies = []
            while len(replies) < count:
                reply = self._reader.pop()
                if reply is not None:
                    replies.append(reply)
                    continue
                remaining = deadline - time.monotonic()
                if remaining <= 0:
                    self.close()
                    raise UIRemoteTimeout(
                        "no reply from %s:%d within %.3g s" % (self.host, self.port, timeout)
                    )
                try:
                    sock.settimeout(remaining)
                    chunk = sock.recv(_RECV_SIZE)
                except socket.timeout:
                    self.close()
                    raise UIRemoteTimeout(
                        "no reply from %s:%d within %.3g s" % (self.host, self.port, timeout)
                    ) from None
                except OSError as error:
                    self.close()
                    raise UIRemoteConnectionError(
                        "connection to %s:%d failed: %s" % (self.host, self.port, error)
                    ) from None
                if not chunk:
                    self.close()
                    raise UIRemoteConnectionError(
                        "%s:%d closed the connection before replying" % (self.host, self.port)
                    )
                try:
                    self._reader.feed(chunk)
                except UIRemoteProtocolError:
                    self.close()
                    raise
            return replies

    _POINTER_WORDS = ("click", "dbclick", "hover", "press", "drag", "drop")

    def _control(self, word, args, delay=None, timeout=None):
        request = {word: _drop_none(args)}
        if word in self._POINTER_WORDS and self.actionable and "actionable" not in request[word]:
            request[word]["actionable"] = True
        if delay is not None:
            request["delay"] = int(delay)
        return self.send(request, timeout=timeout)

    def _window(self, window):
        return self.window if window is None else window

    @staticmethod
    def _target(path, parent=None, method=None, args=None):
        target = {"objname": _path(path), "parobjname": _path(parent), "method": method}
        if args is not None:
            target["mthargs"] = list(args)
        return target

    # -- pointer actions ------------------------------------------------------------------

    def click(self, path, window=None, button=None, x=None, y=None, modifiers=None, parent=None,
              delay=None, *, method=None, args=None):
        """Clicks an item: at its centre, or at item-local (x, y) when both are given.

        ``button`` is "left" (the default), "right" or "mid"; ``modifiers`` a
        :class:`~uiremote.qt.Modifier` set (or "ctrl+shift").  ``method``/``args`` target the
        object returned by that method of ``path`` instead of ``path`` itself.
        """
        return self._pointer("click", path, window, button, x, y, modifiers, parent, delay, method, args)

    def double_click(self, path, window=None, button=None, x=None, y=None, modifiers=None, parent=None,
                     delay=None, *, method=None, args=None):
        """Double-clicks an item (one press/release/double-click/release sequence)."""
        return self._pointer("dbclick", path, window, button, x, y, modifiers, parent, delay, method, args)

    dbclick = double_click

    def _pointer(self, word, path, window, button, x, y, modifiers, parent, delay, method, args):
        data = self._target(path, parent, method, args)
        data.update(
            winobjname=self._window(window),
            clickbtn=None if button is None else qt.button_word(button),
            x=x,
            y=y,
            keyboardModifier=None if modifiers is None else qt.parse_modifiers(modifiers),
        )
        return self._control(word, data, delay)

    def hover(self, path, window=None, x=None, y=None, parent=None, delay=None, *, method=None, args=None):
        """Moves the mouse over an item (centre, or item-local (x, y))."""
        data = self._target(path, parent, method, args)
        data.update(winobjname=self._window(window), x=x, y=y)
        return self._control("hover", data, delay)

    def press(self, path, window=None, x=None, y=None, parent=None, delay=None, *, method=None, args=None):
        """Presses the left button on an item and keeps it held; release it with :meth:`drop`."""
        data = self._target(path, parent, method, args)
        data.update(winobjname=self._window(window), x=x, y=y)
        return self._control("press", data, delay)

    def drag(self, path, window=None, from_xy=None, to_xy=None, x=None, y=None, parent=None, delay=None,
             *, method=None, args=None):
        """Presses the left button and moves once, leaving the button held.

        With ``from_xy`` and ``to_xy`` the gesture goes between those item-local points;
        otherwise from the item's centre to (x, y), or to the centre itself.
        """
        data = self._target(path, parent, method, args)
        start = _point(from_xy, "from_xy")
        end = _point(to_xy, "to_xy")
        data.update(winobjname=self._window(window), x=x, y=y)
        if start is not None:
            data.update(from_x=start[0], from_y=start[1])
        if end is not None:
            data.update(to_x=end[0], to_y=end[1])
        return self._control("drag", data, delay)

    def drop(self, path, window=None, x=None, y=None, parent=None, delay=None, *, method=None, args=None):
        """Releases the left button over an item (centre, or item-local (x, y))."""
        data = self._target(path, parent, method, args)
        data.update(winobjname=self._window(window), x=x, y=y)
        return self._control("drop", data, delay)

    # -- keyboard ---------------------------------------------------------------------------

    def key_click(self, window=None, key=None, modifiers=None, delay=None):
        """Types one key into a window (to its focused item).

        ``key`` is a ``Qt::Key`` code, a :class:`~uiremote.qt.Key`, a key name ("Return") or one
        character ("a"; "A" also holds Shift).
        """
        if key is None:
            raise TypeError("key_click() needs a key")
        mods = qt.parse_modifiers(modifiers) if modifiers is not None else None
        if isinstance(key, str) and len(key) == 1:
            code, extra = qt.key_for_char(key)
            if extra:
                mods = (mods or 0) | extra
        else:
            code = qt.parse_key(key)
        data = {"winobjname": self._window(window), "key": code, "keyboardModifier": mods}
        return self._control("keyclick", data, delay)

    keyclick = key_click

    # -- properties, methods, signals -------------------------------------------------------

    def get_property(self, path, name, parent=None, method=None, args=None, delay=None):
        """Reads a property; the reply's ``value`` holds it."""
        data = self._target(path, parent, method, args)
        data["property"] = name
        return self._control("getpro", data, delay)

    def set_property(self, path, name, value, parent=None, method=None, args=None, delay=None):
        """Writes a property (the application converts the JSON value to the property's type)."""
        data = self._target(path, parent, method, args)
        data["property"] = name
        request = {"setpro": _drop_none(data)}
        request["setpro"]["propval"] = value
        if delay is not None:
            request["delay"] = int(delay)
        return self.send(request)

    def get_window_name(self, path, parent=None, method=None, args=None, delay=None):
        """The object name of the window that shows an item, in ``value``."""
        return self._control("getwinname", self._target(path, parent, method, args), delay)

    def invoke(self, path, method, *args, parent=None, delay=None):
        """Calls a method (QML functions and QVariant-taking invokables) with up to ten arguments."""
        data = {"objname": _path(path), "parobjname": _path(parent), "method": method}
        if args:
            data["mthargs"] = list(args)
        return self._control("invoke", data, delay)

    def invoke_ret(self, path, method, *args, parent=None, delay=None):
        """Calls a method and returns what it returned in ``value``."""
        data = {"objname": _path(path), "parobjname": _path(parent), "method": method}
        if args:
            data["mthargs"] = list(args)
        return self._control("invokeret", data, delay)

    invokeret = invoke_ret

    def wait_signal(self, path, signal, timeout_ms=None, parent=None, delay=None):
        """Waits until the object emits ``signal`` (full signature, e.g. "clicked()").

        Only emissions after the request arrives count.  ``result`` is false on time-out.
        The reply wait is extended by ``timeout_ms``.
        """
        data = {"objname": _path(path), "parobjname": _path(parent), "signal": signal,
                "timeout": None if timeout_ms is None else int(timeout_ms)}
        return self._control("waitsignal", data, delay)

    waitsignal = wait_signal

    # -- host models ------------------------------------------------------------------------

    def get_model_value(self, plugin, method, row_path, role, delay=None):
        """Reads a value from a host plugin's tree model; ``row_path`` is "1/0" or [1, 0]."""
        data = {"pluginname": plugin, "method": method, "mdlitemrowpth": _row_path(row_path),
                "mdlitemrolename": role}
        return self._control("getmdlitemval", data, delay)

    def get_group_model_value(self, plugin, method, group, row_path, role, delay=None):
        """Like :meth:`get_model_value`, in the model of the group ``group``."""
        data = {"pluginname": plugin, "method": method, "grouprolename": group,
                "mdlitemrowpth": _row_path(row_path), "mdlitemrolename": role}
        return self._control("getgrpmdlitemval", data, delay)

    def get_filter_model_value(self, plugin=None, method=None, row_path=None, role=None, group=None,
                               delay=None):
        """The filter-model query. The application accepts it but does not support it: it
        always answers with a failed reply."""
        data = {"pluginname": plugin, "method": method, "grouprolename": group,
                "mdlitemrowpth": _row_path(row_path), "mdlitemrolename": role}
        return self._control("getfltmdlitemval", data, delay)

    # -- host plugin bridge -----------------------------------------------------------------

    def add_joystick(self, devices, delay=None):
        """Announces the attached joystick devices to the host's joystick plugin."""
        if isinstance(devices, str):
            devices = [devices]
        return self._control("addjoystick", {"joystick_list": [str(d) for d in devices]}, delay)

    def joystick_button_event(self, model, key_id, delay=None):
        """Presses button ``key_id`` of joystick ``model`` through the joystick plugin."""
        return self._control("joystickbuttonevent", {"model_name": model, "key_id": key_id}, delay)

    def move_joystick(self, x=None, y=None, z=None, delay=None):
        """Moves the joystick axes (absent axes read as 0.0)."""
        data = {"pos_x": None if x is None else float(x), "pos_y": None if y is None else float(y),
                "pos_z": None if z is None else float(z)}
        return self._control("movejoystick", data, delay)

    def emit_plugin_signal(self, plugin, signal, delay=None):
        """Makes a host plugin emit an argument-less signal (or run such a method)."""
        return self._control("emitpluginsignal", {"pluginName": plugin, "signalName": signal}, delay)

    # -- helpers ----------------------------------------------------------------------------

    def exists(self, path, parent=None):
        """True when ``path`` names an object (reads its "objectName")."""
        return bool(self.get_property(path, "objectName", parent=parent))

    def wait_for_property(self, path, name, expected, timeout=5.0, interval=0.05, parent=None):
        """Waits until a property equals ``expected``.  Returns True on success, False when
        ``timeout`` seconds have passed.

        The application waits itself ("waitprop", woken by the property's change signal), so no
        change is missed.  When ``expected`` is callable (``expected(value)`` must become true),
        or the application has no extension mode, the property is read every ``interval``.
        """
        if not callable(expected):
            data = self._target(path, parent)
            data.update(property=name, timeout=int(timeout * 1000))
            request = {"waitprop": _drop_none(data)}
            request["waitprop"]["value"] = expected
            reply = self.send(request)
            if reply.result or "error" in reply.raw:
                return bool(reply.result)
        deadline = time.monotonic() + timeout
        while True:
            reply = self.get_property(path, name, parent=parent)
            if reply.result:
                matched = expected(reply.value) if callable(expected) else reply.value == expected
                if matched:
                    return True
            remaining = deadline - time.monotonic()
            if remaining <= 0:
                return False
            time.sleep(min(interval, remaining))

    def type_text(self, window=None, text="", *, path=None, parent=None):
        """Types ``text`` exactly as given, any Unicode text, one key press per character with
        that character as its text, into the focused item of ``window`` (extension mode).  With
        ``path`` the item is clicked first to take the focus.  Returns True on success."""
        data = {"winobjname": self._window(window) if path is None else window, "text": str(text)}
        if path is not None:
            data.update(self._target(path, parent))
        return bool(self._control("typetext", data))

    def type_keys(self, window=None, text=""):
        """Types ``text`` with "keyclick", key by key: letters, digits, ASCII punctuation, space,
        newline (Return) and tab.  Upper-case letters and shifted punctuation hold Shift; the
        event text comes from the key code, so a letter typed with Shift still carries its
        lower-case text.  Works without extension mode.  Returns True when every key click
        succeeded (stops at the first failure)."""
        keys = [qt.key_for_char(char) for char in text]  # reject untypable text before typing
        for code, mods in keys:
            if not self.key_click(window, code, mods or None):
                return False
        return True

    # -- gestures, spies and waits (extension mode) -----------------------------------------

    def wheel(self, path, dy=0, dx=0, window=None, x=None, y=None, modifiers=None, parent=None):
        """Turns the mouse wheel over an item by ``dy``/``dx`` degrees (15 per notch; positive
        ``dy`` turns it away from the user, scrolling back up)."""
        data = self._target(path, parent)
        data.update(winobjname=window, x=x, y=y, dx=dx, dy=dy,
                    keyboardModifier=None if modifiers is None else qt.parse_modifiers(modifiers))
        return self._control("wheel", data)

    def swipe(self, path, start="center", end="left", window=None, steps=None, duration=None, button=None,
              parent=None):
        """Presses at ``start``, moves in ``steps`` timed steps over ``duration`` ms to ``end``
        and releases.  Points are item-local (x, y) pairs or places: "center", "left", "right",
        "top", "bottom", "topleft", "topright", "bottomleft", "bottomright"."""
        data = self._target(path, parent)
        data.update(winobjname=window, steps=steps, duration=duration,
                    button=None if button is None else qt.button_word(button))
        data["from"] = start if isinstance(start, str) else list(_point(start, "start"))
        data["to"] = end if isinstance(end, str) else list(_point(end, "end"))
        return self._control("swipe", data)

    def spy(self, path, signal, parent=None):
        """Arms a spy on a signal ("clicked" or "clicked()"); the reply's ``value`` is its id."""
        data = self._target(path, parent)
        data["signal"] = signal
        return self._control("spy", data)

    def spy_count(self, spy_id):
        """How often a spy's signal fired: ``value`` is {"count": n, "args": [[...], ...]}."""
        return self._control("spycount", {"id": int(spy_id)})

    def unspy(self, spy_id):
        """Disarms a spy."""
        return self._control("unspy", {"id": int(spy_id)})

    def wait_spy(self, spy_id, count=1, timeout=5.0):
        """Waits until a spy has seen ``count`` emissions in all; ``value`` is the count."""
        return self._control("waitspy", {"id": int(spy_id), "count": int(count), "timeout": int(timeout * 1000)})

    def expect_signal(self, path, signal, count=1, timeout=5.0, parent=None):
        """A ``with`` block that must make ``path`` emit ``signal`` (``count`` times)::

            with app.expect_signal("page.button", "clicked()"):
                app.click("page.button")

        The spy is armed before the block runs, so the signal cannot be missed; leaving the
        block waits for it and raises :class:`UIRemoteCommandFailed` when it does not come."""
        return _ExpectSignal(self, path, signal, count, timeout, parent)

    def wait_idle(self, window=None, timeout=5.0):
        """Waits until nothing moves in a window any more (no animation, transition, flick or
        stack-view change) and a frame has been rendered since."""
        return self._control("waitidle", {"winobjname": window, "timeout": int(timeout * 1000)})

    def drag_and_drop(self, path, from_xy, to_xy, window=None, parent=None):
        """Drags from ``from_xy`` to ``to_xy`` (item-local) and drops there.  True on success."""
        end = _point(to_xy, "to_xy")
        if not self.drag(path, window, from_xy=from_xy, to_xy=end, parent=parent):
            return False
        return bool(self.drop(path, window, x=end[0], y=end[1], parent=parent))


class _ExpectSignal:
    """The spy of :meth:`Client.expect_signal`; ``reply`` holds the wait's reply afterwards."""

    def __init__(self, client, path, signal, count, timeout, parent):
        self._client = client
        self._args = (path, signal, parent)
        self._count = count
        self._timeout = timeout
        self.spy_id = None
        self.reply = None

    def __enter__(self):
        path, signal, parent = self._args
        self.spy_id = self._client.spy(path, signal, parent=parent).check("spy on %s %s" % (path, signal)).value
        return self

    def __exit__(self, exc_type, *exc_info):
        try:
            if exc_type is None:
                self.reply = self._client.wait_spy(self.spy_id, self._count, self._timeout)
                self.reply.check("waiting for %s %s" % self._args[:2])
        finally:
            try:
                self._client.unspy(self.spy_id)  # disarmed once the block is done
            except (UIRemoteConnectionError, UIRemoteTimeout):
                pass  # the connection is gone, and the spy with it


class _Batch(Client):
    """Records requests made through the control methods; sends them all on leaving ``with``."""

    def __init__(self, client, timeout):
        super().__init__(client.host, client.port, client.timeout, window=client.window,
                         actionable=client.actionable)
        self._target_client = client
        self._batch_timeout = timeout
        self.requests = []
        self.replies = None

    def __repr__(self):
        return "<uiremote batch of %d request(s) for %r>" % (len(self.requests), self._target_client)

    def __enter__(self):
        return self

    def __exit__(self, exc_type, *exc_info):
        if exc_type is None:
            self.replies = self._target_client.send_many(self.requests, timeout=self._batch_timeout)

    def send(self, request, *, timeout=None):
        encode_request(request)  # refuse what could not be sent, at the call that made it
        self.requests.append(request)
        return Reply(True, None)

    def connect(self, timeout=None):
        raise TypeError("a batch sends nothing before its with block ends")

    def send_many(self, requests, *, timeout=None):
        raise TypeError("send_many() cannot be batched")

    def send_text(self, text, *, replies=1, timeout=None):
        raise TypeError("send_text() cannot be batched")

    def exists(self, path, parent=None):
        raise TypeError("exists() needs a reply and cannot be batched")

    def wait_for_property(self, *args, **kwargs):
        raise TypeError("wait_for_property() needs replies and cannot be batched")

    def batch(self, timeout=None):
        raise TypeError("batches do not nest")
