"""Requests and replies over real TCP: raw messages, framing, delays, time-outs, broken connections."""

import json
import socket
import time

import pytest

from uiremote import (
    Client,
    Reply,
    ReplyReader,
    UIRemoteConnectionError,
    UIRemoteTimeout,
)
from uiremote.app import free_port


def read_replies(sock, count, timeout=10.0):
    """Reads ``count`` replies from a raw socket with the client's reader."""
    reader = ReplyReader()
    deadline = time.monotonic() + timeout
    reads = 0
    while len(reader) < count:
        remaining = deadline - time.monotonic()
        assert remaining > 0, "replies did not arrive in time"
        sock.settimeout(remaining)
        chunk = sock.recv(65536)
        assert chunk, "connection closed"
        reads += 1
        reader.feed(chunk)
    return [reader.pop() for _ in range(count)], reads, reader.pending


def test_raw_send_success_and_failure(ui):
    reply = ui.send({"getpro": {"objname": "main.props", "property": "label"}})
    assert reply == Reply(True, "initial")
    assert reply.to_json() == {"result": True, "value": "initial"}
    assert ui.send({"getpro": {"objname": "main.props", "property": "missing"}}).to_json() == {
        "result": False, "error": "main.props has no property 'missing'"}


def test_rejected_messages_get_a_failed_reply(ui):
    assert ui.send({"Click": {"objname": "main.button"}}).result is False  # control words are case-sensitive
    assert ui.send({"delay": 5}).result is False  # no control at all
    assert ui.send_text("[1, 2]").result is False  # not an object
    assert ui.send_text("{not json").result is False
    assert ui.get_property("main.props", "count").value == 3  # the connection is still in step


def test_two_requests_in_one_sendall_get_two_replies(scene):
    with socket.create_connection(("127.0.0.1", scene.port), timeout=10) as sock:
        first = {"setpro": {"objname": "main.props", "property": "label", "propval": "a b }{ c"}}
        second = {"getpro": {"objname": "main.props", "property": "label"}}
        sock.sendall((json.dumps(first) + "\n  " + json.dumps(second)).encode())
        (one, two), _, pending = read_replies(sock, 2)
    assert one == Reply(True)
    assert two == Reply(True, "a b }{ c")
    assert pending.strip() == b""


def test_several_replies_decoded_from_one_read(scene, ui):
    with socket.create_connection(("127.0.0.1", scene.port), timeout=10) as sock:
        sock.sendall(b'{"getpro":{"objname":"main.props","property":"count"}}'
                     b'{"getpro":{"objname":"main.nothing","property":"count"}}'
                     b'{"invoke":{"objname":"main.props","method":"bump"}}')
        # Once another client sees the bump, all three replies have been written to the socket.
        # Read again and again: a server-side wait would hold the queue, and with it the bump.
        assert ui.wait_for_property("main.props", "count", lambda count: count == 4, timeout=10.0)
        replies, reads, pending = read_replies(sock, 3)
    assert replies == [Reply(True, 3), Reply(False), Reply(True)]
    assert reads == 1
    assert pending.strip() == b""


def test_send_many_runs_requests_in_order(ui):
    replies = ui.send_many([
        {"invoke": {"objname": "main.props", "method": "bump"}},
        {"getpro": {"objname": "main.props", "property": "count"}},
        {"hover": {"objname": "main.hoverArea", "winobjname": "mainWindow"}, "click": {"objname": "x"}},
    ])
    # With two control words in one request the one that sorts last ("hover") runs.
    assert replies == [Reply(True), Reply(True, 4), Reply(True)]
    assert ui.get_property("main.hoverArea", "hovered").value is True


def test_delayed_control_replies_after_the_delay(ui):
    started = time.monotonic()
    assert ui.click("main.button", delay=400).result is True
    assert time.monotonic() - started >= 0.35
    assert ui.get_property("main.button", "clicks").value == 1


def test_delay_longer_than_the_client_timeout_extends_the_reply_wait(scene):
    client = scene.new_client(timeout=0.3)
    assert client.get_property("main.props", "count", delay=800).value == 3


def test_timeout_raises_and_the_client_reconnects(scene):
    client = scene.new_client(timeout=5.0)
    request = {"getpro": {"objname": "main.props", "property": "count"}, "delay": 1500}
    with pytest.raises(UIRemoteTimeout):
        client.send(request, timeout=0.3)
    assert not client.connected  # a late reply must not answer the next request
    assert client.get_property("main.props", "label").value == "initial"
    assert client.connected


def test_replies_are_shared_fairly_between_clients(scene, ui):
    other = scene.new_client()
    assert other.set_property("main.props", "label", "from other")
    assert ui.get_property("main.props", "label").value == "from other"
    assert other.get_window_name("main.button").value == "mainWindow"


def test_connection_refused():
    client = Client(port=free_port(), timeout=2.0)
    with pytest.raises(UIRemoteConnectionError):
        client.connect()
    with pytest.raises(UIRemoteConnectionError):
        client.get_property("main", "width")


def test_connection_closed_by_the_application_is_reported(scene):
    client = Client(port=scene.port, timeout=5.0)  # not known to the fixture: stop() leaves it open
    assert client.exists("main.button")
    scene.stop()
    with pytest.raises(UIRemoteConnectionError):
        client.get_property("main.props", "count")
    assert not client.connected


def test_client_context_manager(scene):
    with Client(port=scene.port, timeout=5.0, window="mainWindow") as client:
        assert client.connected
        assert client.click("main.button")
    assert not client.connected
    assert scene.client.get_property("main.button", "clicks").value == 1
