"""Fixtures of the soak and bad-input tests.

Every test runs its own uiremote-host on qml/robustness.qml (through the uiremote pytest plugin)
and talks to it over raw TCP sockets, so that it controls exactly which bytes go out in which
write. Replies are cut with the client package's ReplyReader.

Measured figures (times, reply counts, memory) are collected with the ``figures`` fixture and
printed in one block at the end of the run ("robustness figures").
"""

import os
import socket
import struct
import sys
import time
from pathlib import Path

import pytest

CLIENT_DIR = Path(__file__).resolve().parents[2] / "clients" / "python"
if str(CLIENT_DIR) not in sys.path:
    sys.path.insert(0, str(CLIENT_DIR))

from uiremote import Reply, ReplyReader  # noqa: E402

pytest_plugins = ["uiremote.pytest.plugin"]

SCENE = Path(__file__).resolve().parent / "qml" / "robustness.qml"
WINDOW = "robustWindow"

# A control whose reply is known: {"result": true, "value": 3} as long as nobody writes props.count.
PROBE = b'{"getpro":{"objname":"props","property":"count"}}'
PROBE_REPLY = Reply(True, 3)

FALSE = Reply(False)


class NoReply(AssertionError):
    """Fewer replies than expected arrived in time."""


class Connection:
    """One raw TCP connection to the application.

    ``send`` writes its bytes with one ``sendall`` (one write for anything that fits the socket
    buffer); ``replies(n)`` waits, up to a deadline, until n replies have been read. Nothing is
    retried and nothing is sent that the caller did not give.
    """

    def __init__(self, port, timeout=10.0, host="127.0.0.1"):
        self.port = port
        self.timeout = timeout
        self.reader = ReplyReader()
        self.sock = socket.create_connection((host, port), timeout=timeout)
        self.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.closed_by_peer = False

    def send(self, data):
        self.sock.settimeout(self.timeout)
        self.sock.sendall(data)

    def _read_some(self, deadline):
        remaining = deadline - time.monotonic()
        if remaining <= 0:
            return False
        self.sock.settimeout(remaining)
        try:
            chunk = self.sock.recv(1 << 20)
        except socket.timeout:
            return False
        if not chunk:
            self.closed_by_peer = True
            return False
        self.reader.feed(chunk)
        return True

    def replies(self, count, timeout=None):
        """Exactly ``count`` replies (raises NoReply when they do not all come in time)."""
        deadline = time.monotonic() + (self.timeout if timeout is None else timeout)
        got = []
        while len(got) < count:
            reply = self.reader.pop()
            if reply is not None:
                # uiremote-host runs in extension mode: a false reply also gives its reason. These
                # suites check the wire behaviour of the twenty controls, which is the same without.
                raw = {key: value for key, value in reply.raw.items() if key != "error"}
                got.append(Reply(reply.result, reply.value, raw=raw))
                continue
            if not self._read_some(deadline):
                raise NoReply("%d of %d replies within %.1f s%s: %r"
                              % (len(got), count, timeout or self.timeout,
                                 " (connection closed)" if self.closed_by_peer else "", got))
        return got

    def reply(self, timeout=None):
        return self.replies(1, timeout)[0]

    def exchange(self, data, count=1, timeout=None):
        self.send(data)
        got = self.replies(count, timeout)
        return got[0] if count == 1 else got

    def silent_for(self, seconds):
        """True when no byte at all arrives within ``seconds`` (a bounded negative check)."""
        if len(self.reader) or self.reader.pending.strip():
            return False
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if self._read_some(deadline):
                return False
            if self.closed_by_peer:
                return False
        return True

    def surplus(self):
        """Replies or bytes already received beyond those taken (no waiting)."""
        try:
            self.sock.setblocking(False)
            while True:
                chunk = self.sock.recv(1 << 16)
                if not chunk:
                    break
                self.reader.feed(chunk)
        except (BlockingIOError, InterruptedError):
            pass
        finally:
            self.sock.setblocking(True)
        extra = []
        while len(self.reader):
            extra.append(self.reader.pop())
        return extra, self.reader.pending.strip()

    def close(self, reset=False):
        if reset:  # an abortive close: the peer sees a reset instead of an orderly end
            self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        try:
            self.sock.close()
        except OSError:
            pass


def memory_kib(pid):
    """VmRSS and VmHWM of a process, in KiB."""
    values = {}
    with open("/proc/%d/status" % pid) as status:
        for line in status:
            key, _, rest = line.partition(":")
            if key in ("VmRSS", "VmHWM"):
                values[key] = int(rest.split()[0])
    return values


@pytest.fixture
def app(uiremote_app):
    """uiremote-host serving the robustness scene; ``app.connect()`` opens raw connections."""
    application = uiremote_app(SCENE)
    application.client.window = WINDOW
    opened = []

    def connect(timeout=10.0):
        conn = Connection(application.port, timeout)
        opened.append(conn)
        return conn

    application.connect = connect
    yield application
    for conn in opened:
        conn.close()


def assert_alive(app, conn=None):
    """The application still runs and answers a known control with its known value."""
    assert app.running, "the application ended:\n%s" % app.output
    conn = conn or app.connect()
    assert conn.exchange(PROBE) == PROBE_REPLY
    assert app.running


_FIGURES = []


@pytest.fixture
def figures(request):
    """``figures(name, text)`` records one measured figure for the end-of-run summary."""

    def record(name, text):
        _FIGURES.append((request.node.name, name, text))

    return record


def pytest_terminal_summary(terminalreporter):
    if not _FIGURES:
        return
    terminalreporter.section("robustness figures")
    for test, name, text in _FIGURES:
        terminalreporter.write_line("%s: %s: %s" % (test, name, text))
    path = os.environ.get("UIREMOTE_ROBUSTNESS_FIGURES")
    if path:
        with open(path, "a") as out:
            for test, name, text in _FIGURES:
                out.write("%s\t%s\t%s\n" % (test, name, text))
