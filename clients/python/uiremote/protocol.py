"""The wire protocol of the UI remote control: control words, replies, framing and requests.

The client writes one JSON object per request, e.g.
``{"click": {"objname": "main.okButton", "winobjname": "mainWindow"}, "delay": 500}``, and the
application answers each with an indented JSON object ``{"result": true|false}`` plus ``"value"``
when the control produced one (and ``"error"``, the reason of a failure, in extension mode).
Replies carry no terminator and no length prefix.

The application cuts the bytes of each read into messages at a "}" directly followed by "{"
outside strings and at the end of the read, and keeps nothing between reads.  So every request
goes out in one write and the client waits for its reply before sending the next one.
"""

import json
import re
from collections import deque
from dataclasses import dataclass, field
from typing import Any

from .errors import UIRemoteCommandFailed, UIRemoteProtocolError

__all__ = ["DEFAULT_PORT", "CONTROL_TYPES", "EXTENSION_TYPES", "Reply", "ReplyReader", "encode_request",
           "expected_duration"]

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
    "describe",
    "evaluate",
    "find",
    "handle",
    "resolve",
    "screenshot",
    "spy",
    "spycount",
    "swipe",
    "tree",
    "typetext",
    "unspy",
    "waitidle",
    "waitprop",
    "waitspy",
    "wheel",
)

# Extension words that wait, with their default time-out in milliseconds.
_WAIT_DEFAULT_MS = {"waitspy": 5000, "waitprop": 5000, "waitidle": 5000, "evaluate": 5000}


@dataclass(frozen=True)
class Reply:
    """One reply: ``result`` is the control's success flag, ``value`` its value (``None`` when
    the reply has no "value").  A reply is truthy exactly when ``result`` is true."""

    result: bool
    value: Any = None
    raw: dict = field(default_factory=dict, repr=False, compare=False)

    def __bool__(self):
        return bool(self.result)

    def __repr__(self):
        text = "Reply(result=%r, value=%r" % (self.result, self.value)
        if self.error is not None:
            text += ", error=%r" % (self.error,)
        return text + ")"

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
