"""TCP client of the UI remote control: the connection and its control methods.

The wire format (words, replies, framing) is in :mod:`uiremote.protocol`; the control methods,
one per control the application describes, in :mod:`uiremote.controls`.
"""

import json
import socket
import threading
import time

from . import qt
from .controls import Controls, point
from .errors import UIRemoteAuthError, UIRemoteConnectionError, UIRemoteProtocolError, UIRemoteTimeout
from .protocol import (  # noqa: F401  (the protocol's names, as this module has always offered them)
    CONTROL_TYPES,
    DEFAULT_PORT,
    EXTENSION_TYPES,
    Reply,
    ReplyReader,
    encode_request,
    expected_duration,
)
from .scene import SceneMixin
from .scripting import Handle, ScriptControls  # noqa: F401  (Handle: offered here too)

__all__ = ["DEFAULT_PORT", "CONTROL_TYPES", "EXTENSION_TYPES", "Client", "Batch", "Reply", "ReplyReader",
           "encode_request"]

_RECV_SIZE = 65536


class Client(Controls, ScriptControls, SceneMixin):
    """A connection to one application.

    ``Client(host, port, timeout)`` does not connect by itself: entering the ``with`` block,
    :meth:`connect` or the first request does.  ``timeout`` bounds connecting and each wait
    for a reply (requests with a delay or a signal wait get that much longer).  ``window`` is
    the window name used when a pointer action is given none.

    Every control method (see :class:`~uiremote.controls.Controls`) returns a :class:`Reply`,
    except those that look at the scene (``describe``, ``tree``, ``find``, ``screenshot``),
    which return the value and raise when the control fails.
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
        Only control methods can be batched.  Inside the block they return placeholders (a true
        reply); ``batch.replies`` holds the real replies, in order, afterwards.
        """
        return Batch(self, timeout)

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

    # -- helpers ----------------------------------------------------------------------------

    def exists(self, path, parent=None):
        """Whether ``path`` names an object (reads its "objectName"): the reply, truthy when it
        does; when it does not, its ``error`` says why (extension mode)."""
        return self.get_property(path, "objectName", parent=parent)

    def wait_for_property(self, path, name, expected, timeout=5.0, interval=0.05, parent=None):
        """Waits until a property equals ``expected``.  Returns a :class:`Reply`, truthy on
        success; after ``timeout`` seconds it is falsy, and its ``error`` gives the reason (the
        application's, or the value last read) and its ``value`` the value last read.

        The application waits itself ("waitprop", woken by the property's change signal), so no
        change is missed.  When ``expected`` is callable (``expected(value)`` must become true),
        or the application has no extension mode, the property is read every ``interval``.
        """
        if not callable(expected):
            reply = self.wait_property(path, name, expected, timeout, parent=parent)
            if reply.result or "error" in reply.raw:
                return reply
        deadline = time.monotonic() + timeout
        while True:
            reply = self.get_property(path, name, parent=parent)
            if reply.result:
                matched = expected(reply.value) if callable(expected) else reply.value == expected
                if matched:
                    return reply
            remaining = deadline - time.monotonic()
            if remaining <= 0:
                if reply.result:
                    wanted = "a value that %s accepts" % getattr(expected, "__name__", "the test") \
                        if callable(expected) else json.dumps(expected)
                    reason = "the property %s of %s is %s, not %s, after %g s" % (
                        name, path, json.dumps(reply.value), wanted, timeout)
                else:
                    reason = reply.error or "the property %s of %s cannot be read" % (name, path)
                return Reply(False, reply.value, {"result": False, "error": reason})
            time.sleep(min(interval, remaining))

    def type_keys(self, window=None, text=""):
        """Types ``text`` with "keyclick", key by key: letters, digits, ASCII punctuation, space,
        newline (Return) and tab.  Upper-case letters and shifted punctuation hold Shift; the
        event text comes from the key code, so a letter typed with Shift still carries its
        lower-case text.  Works without extension mode.  Stops at the first key click that
        fails and returns its reply; else the last one's (truthy; ``Reply(True)`` for no text)."""
        keys = [qt.key_for_char(char) for char in text]  # reject untypable text before typing
        reply = Reply(True, None, {"result": True})
        for code, mods in keys:
            reply = self.key_click(window, code, mods or None)
            if not reply:
                return reply
        return reply

    def expect_signal(self, path, signal, count=1, timeout=5.0, parent=None):
        """A ``with`` block that must make ``path`` emit ``signal`` (``count`` times)::

            with app.expect_signal("page.button", "clicked()"):
                app.click("page.button")

        The spy is armed before the block runs, so the signal cannot be missed; leaving the
        block waits for it and raises :class:`UIRemoteCommandFailed` when it does not come."""
        return _ExpectSignal(self, path, signal, count, timeout, parent)

    def drag_and_drop(self, path, from_xy, to_xy, window=None, parent=None):
        """Drags from ``from_xy`` to ``to_xy`` (item-local) and drops there.  Returns the drop's
        reply, or the drag's when the drag failed (truthy on success, else with the reason)."""
        end = point(to_xy, "to_xy")
        dragged = self.drag(path, window, from_xy=from_xy, to_xy=end, parent=parent)
        if not dragged:
            return dragged
        return self.drop(path, window, x=end[0], y=end[1], parent=parent)


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


class Batch:
    """Requests built by the control methods of a client, sent in one write when the ``with``
    block ends (see :meth:`Client.batch`)."""

    def __init__(self, client, timeout=None):
        self._client = client
        self._timeout = timeout
        self.requests = []
        self.replies = None

    def __repr__(self):
        return "<uiremote batch of %d request(s) for %r>" % (len(self.requests), self._client)

    def __enter__(self):
        return self

    def __exit__(self, exc_type, *exc_info):
        if exc_type is None:
            self.replies = self._client.send_many(self.requests, timeout=self._timeout)

    def send(self, request):
        """Adds a request object as it is; returns a placeholder."""
        encode_request(request)  # refuse what could not be sent, at the call that made it
        self.requests.append(request)
        return Reply(True, None)

    def __getattr__(self, name):
        if name.startswith("_"):
            raise AttributeError(name)
        build = getattr(getattr(type(self._client), name, None), "build", None)
        if build is None:
            if hasattr(self._client, name):
                raise TypeError("%s cannot be batched: only control methods can" % name)
            raise AttributeError(name)
        return lambda *args, **kwargs: self.send(build(self._client, *args, **kwargs))
