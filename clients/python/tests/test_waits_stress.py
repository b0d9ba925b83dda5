"""Server-side waits never keep the scene from moving: push and pop a StackView hundreds of
times, each time waiting for the transition on the server ("waitprop" of busy, "waitidle"), and
a wait whose client has gone no longer holds the queue."""

import socket
import time
from pathlib import Path

import pytest

QML = Path(__file__).resolve().parent / "qml" / "stack_waits.qml"
ROUNDS = 200


@pytest.fixture
def stack(uiremote_app):
    app = uiremote_app(QML)
    app.client.window = "stackWindow"
    return app.client


def test_waits_on_a_stack_view_never_stall(stack):
    failures = []
    for round_ in range(ROUNDS):
        word = "Push" if round_ % 2 == 0 else "Pop"
        clicked = stack.click('stackView.{Button text="%s" visible=true}' % word)
        assert clicked.result is True, clicked.error
        if round_ % 4 < 2:
            waited = stack.send({"waitprop": {"objname": "stackView", "property": "busy", "value": False,
                                              "timeout": 3000}})
        else:
            waited = stack.send({"waitidle": {"winobjname": "stackWindow", "ignore": ["BusyIndicator"],
                                              "timeout": 3000}})
        if not waited.result:
            failures.append((round_, waited.error))
    assert failures == []


def test_a_wait_ends_with_its_client(stack):
    """A 60 s wait whose client has gone lets the next client's control run at once."""
    leaving = socket.create_connection(("127.0.0.1", stack.port))
    leaving.sendall(b'{"getpro": {"objname": "stackView", "property": "depth"}}'
                    b'{"waitprop": {"objname": "stackView", "property": "depth", "value": 99, "timeout": 60000}}')
    answer = b""
    while b"}" not in answer:  # the first reply: the wait is taken next
        answer += leaving.recv(4096)
    leaving.close()
    started = time.monotonic()
    assert stack.send({"getpro": {"objname": "stackView", "property": "depth"}}, timeout=30).value == 1
    assert time.monotonic() - started < 5
