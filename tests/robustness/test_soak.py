"""Soak: 20 concurrent clients, 500 mixed messages each, against one uiremote-host.

Each client sends one message and waits for its reply before sending the next. The mix holds
valid controls (getpro/setpro of the client's own slot, click, keyclick, invokeret of an echo
that returns [client, session, sequence number], getwinname), malformed JSON, unknown control
words, lookups of missing objects, short signal waits that time out, and controls delayed by
1..20 ms. Some clients leave on the way: during a signal wait of 300 ms, during a delay, between
two messages, or right after sending without reading; most come back on a new connection and
go on, two stay away.

Checked: every message of a connected client is answered exactly once and in order (the echo and
the slot value prove which message a reply belongs to), with the result expected for its kind;
a departed client's delayed write never runs; the click count equals the number of clicks
answered true; afterwards the application answers normally and is still running.
"""

import json
import random
import threading
import time
from collections import Counter, defaultdict

from conftest import PROBE, PROBE_REPLY, WINDOW, Connection, NoReply, assert_alive

CLIENTS = 20
MESSAGES = 500
REPLY_TIMEOUT = 30.0  # one reply, including the wait behind every other client's delays
SOAK_DEADLINE = 150.0  # the whole soak

F = {"result": False}
T = {"result": True}

MALFORMED = [
    b'{"getpro":',
    b"not json at all",
    b'{"getpro":{"objname":"props"}',
    b"   \r\n\t ",
    b"[1,2,3]",
    b'"text"',
    b'{"getpro":{"objname":"props","property":"count"},}',
    b"\xff\xfe\x00\x01",
    b'{"":}',
    b"}",
    b"{}",
    b"null",
]

WEIGHTS = {
    "getpro": 14,
    "setpro": 14,
    "click": 8,
    "keyclick": 4,
    "invokeret": 16,
    "getwinname": 6,
    "malformed": 10,
    "unknown": 6,
    "missing": 6,
    "delayed": 8,
    "waitshort": 4,
}

# Departures: client -> {sequence number: how}. "return" kinds reconnect and go on.
DEPARTURES = {
    0: {120: "waitsignal-return", 360: "waitsignal-return"},
    1: {150: "waitsignal-reset-return", 390: "waitsignal-reset-return"},
    2: {200: "delay-return"},
    3: {220: "delay-return", 420: "delay-return"},
    4: {250: "between-return"},
    5: {300: "unread-return"},
    6: {250: "waitsignal-leave"},
    7: {400: "between-leave"},
}

LEFT_FOR_GOOD = {"waitsignal-leave", "between-leave"}


def _json(obj):
    return json.dumps(obj, separators=(",", ":")).encode()


class SoakClient(threading.Thread):
    def __init__(self, index, app, deadline):
        super().__init__(name="soak-%d" % index, daemon=True)
        self.index = index
        self.app = app
        self.deadline = deadline
        self.rng = random.Random(1000 + index)
        self.slot = "main.slots.slot%d" % index
        self.value = -1  # what the slot holds: the sequence number of the last setpro
        self.session = 0
        self.conn = None
        self.error = None
        self.sent = 0
        self.answered = 0
        self.unanswered = 0  # sent right before leaving, reply not awaited
        self.clicks = 0
        self.kinds = Counter()
        self.latencies = defaultdict(float)  # kind -> worst latency
        self.left = False

    # -- messages -------------------------------------------------------------------------

    def _message(self, kind, seq):
        """(bytes, expected reply dict or a check function)."""
        if kind == "getpro":
            return _json({"getpro": {"objname": self.slot, "property": "value"}}), \
                {"result": True, "value": self.value}
        if kind == "setpro":
            return _json({"setpro": {"objname": self.slot, "property": "value", "propval": seq}}), T
        if kind == "click":
            return _json({"click": {"objname": "main.button", "winobjname": WINDOW}}), T
        if kind == "keyclick":
            return _json({"keyclick": {"winobjname": WINDOW, "key": 65 + self.rng.randrange(26)}}), T
        if kind == "invokeret":
            tag = [self.index, self.session, seq]
            return _json({"invokeret": {"objname": "echo", "method": "echo", "mthargs": [tag]}}), \
                {"result": True, "value": tag}
        if kind == "getwinname":
            return _json({"getwinname": {"objname": "main.button"}}), {"result": True, "value": WINDOW}
        if kind == "malformed":
            return self.rng.choice(MALFORMED), F
        if kind == "unknown":
            word = self.rng.choice(["frobnicate", "Getpro", "GETPRO", "clicks", "invoke_ret", ""])
            return _json({word: {"objname": "props", "property": "count"}}), F
        if kind == "missing":
            return _json({"getpro": {"objname": "main.nothing%d" % seq, "property": "value"}}), F
        if kind == "delayed":
            tag = [self.index, self.session, seq]
            return _json({"invokeret": {"objname": "echo", "method": "echo", "mthargs": [tag]},
                          "delay": self.rng.randint(1, 20)}), {"result": True, "value": tag}
        if kind == "waitshort":
            return _json({"waitsignal": {"objname": "main.silent", "signal": "never()",
                                         "timeout": self.rng.randint(1, 5)}}), F
        raise AssertionError(kind)

    def _connect(self):
        self.conn = Connection(self.app.port, timeout=REPLY_TIMEOUT)
        self.session += 1

    def _exchange(self, kind, seq):
        data, expected = self._message(kind, seq)
        started = time.monotonic()
        self.conn.send(data)
        self.sent += 1
        reply = self.conn.reply(timeout=min(REPLY_TIMEOUT, max(0.1, self.deadline - time.monotonic())))
        latency = time.monotonic() - started
        self.latencies[kind] = max(self.latencies[kind], latency)
        self.answered += 1
        self.kinds[kind] += 1
        if reply.raw != expected:
            raise AssertionError("client %d session %d message %d (%s %r): reply %r, expected %r"
                                 % (self.index, self.session, seq, kind, data[:120], reply.raw, expected))
        if kind == "setpro":
            self.value = seq
        if kind == "click":
            self.clicks += 1

    def _depart(self, how, seq):
        # For the waits, the message that is to be running when the client leaves goes in one
        # write right behind an echo: once the echo is answered, the application has already
        # scheduled the next message of the same read, so the wait has begun when we close.
        tag = [self.index, self.session, seq]
        echo = _json({"invokeret": {"objname": "echo", "method": "echo", "mthargs": [tag]}})
        if how.startswith("waitsignal"):
            # A wait for a signal that never fires; the client leaves while it runs.
            wait = _json({"waitsignal": {"objname": "main.silent", "signal": "never()", "timeout": 300}})
            self._send_behind_echo(echo, tag, wait)
            self.conn.close(reset="reset" in how)
        elif how == "delay-return":
            # A delayed write of the slot; the client leaves during the delay: it must never run.
            write = _json({"setpro": {"objname": self.slot, "property": "value", "propval": 999999}, "delay": 200})
            self._send_behind_echo(echo, tag, write)
            self.conn.close()
        elif how.startswith("between"):
            self.conn.close()
        elif how == "unread-return":
            self.conn.send(_json({"getpro": {"objname": self.slot, "property": "value"}}))
            self.sent += 1
            self.unanswered += 1
            self.conn.close()
        else:
            raise AssertionError(how)
        if how in LEFT_FOR_GOOD:
            self.left = True
            return
        self._connect()
        # The first message of the new session reads the slot: the departed write did not run.
        self._exchange("getpro", seq)

    def _send_behind_echo(self, echo, tag, message):
        self.conn.send(echo + message)
        self.sent += 2
        self.unanswered += 1
        reply = self.conn.reply(timeout=REPLY_TIMEOUT)
        if reply.raw != {"result": True, "value": tag}:
            raise AssertionError("client %d: echo before leaving answered %r" % (self.index, reply.raw))
        self.answered += 1

    def run(self):
        try:
            self._connect()
            kinds = list(WEIGHTS)
            weights = [WEIGHTS[k] for k in kinds]
            departures = DEPARTURES.get(self.index, {})
            for seq in range(MESSAGES):
                if time.monotonic() > self.deadline:
                    raise AssertionError("client %d: soak deadline passed at message %d" % (self.index, seq))
                if seq in departures:
                    self._depart(departures[seq], seq)
                    if self.left:
                        return
                    continue
                self._exchange(self.rng.choices(kinds, weights)[0], seq)
        except (AssertionError, NoReply, OSError) as error:
            self.error = "%s: %s" % (type(error).__name__, error)


def test_soak(app, figures):
    started = time.monotonic()
    deadline = started + SOAK_DEADLINE
    clients = [SoakClient(index, app, deadline) for index in range(CLIENTS)]
    for client in clients:
        client.start()
    for client in clients:
        client.join(max(0.1, deadline + REPLY_TIMEOUT - time.monotonic()))
    elapsed = time.monotonic() - started

    hung = [client.name for client in clients if client.is_alive()]
    assert not hung, "clients still running after the deadline: %s" % hung
    errors = [client.error for client in clients if client.error]
    assert not errors, "\n".join(errors)
    assert app.running, "the application ended:\n%s" % app.output

    # Every client went through its 500 turns, except those that left for good.
    for client in clients:
        assert client.sent < MESSAGES if client.left else client.sent >= MESSAGES, client.index
        assert client.sent == client.answered + client.unanswered, client.index

    # Each connected client: its last reply was the last one (no surplus), and its slot holds
    # the last value it wrote, read on the same connection.
    for client in clients:
        if client.left:
            client.conn.close()
            continue
        extra, pending = client.conn.surplus()
        assert not extra and not pending, "client %d got surplus replies %r" % (client.index, extra)
        reply = client.conn.exchange(_json({"getpro": {"objname": client.slot, "property": "value"}}))
        assert reply.raw == {"result": True, "value": client.value}, client.index
        client.conn.close()

    # Clients that left for good: their slots hold their last write (read by a fresh client).
    check = app.connect()
    for client in clients:
        if client.left:
            reply = check.exchange(_json({"getpro": {"objname": client.slot, "property": "value"}}))
            assert reply.raw == {"result": True, "value": client.value}, client.index

    clicks = sum(client.clicks for client in clients)
    assert check.exchange(_json({"getpro": {"objname": "main.button", "property": "clicks"}})).raw == \
        {"result": True, "value": clicks}
    assert check.exchange(PROBE) == PROBE_REPLY
    assert_alive(app)

    answered = sum(client.answered for client in clients)
    kinds = Counter()
    worst = defaultdict(float)
    for client in clients:
        kinds.update(client.kinds)
        for kind, latency in client.latencies.items():
            worst[kind] = max(worst[kind], latency)
    figures("soak", "%d clients, %d messages answered (+%d sent before leaving) in %.1f s (%.0f/s); %d clicks"
            % (CLIENTS, answered, sum(c.unanswered for c in clients), elapsed, answered / elapsed, clicks))
    figures("soak mix", ", ".join("%s %d" % (kind, kinds[kind]) for kind in WEIGHTS))
    figures("soak worst reply latency", ", ".join("%s %.3f s" % (kind, worst[kind]) for kind in sorted(worst)))
    assert elapsed < SOAK_DEADLINE
