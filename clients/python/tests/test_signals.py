"""waitsignal: the scene's timer emits fired() and ticked(int) once started through invoke.

The start and the wait go out in one write (Client.batch), so the application takes the wait
right after the start and the timer cannot fire in between, however slow the machine is.
"""

import time

import pytest


def start_and_wait(client, signal, interval_ms=100, timeout_ms=5000, path="main.signals", parent=None):
    with client.batch() as batch:
        batch.invoke("main.signals", "start", interval_ms)
        batch.wait_signal(path, signal, timeout_ms, parent=parent)
    started, waited = batch.replies
    assert started.result is True
    return waited


def test_wait_signal_emitted_by_a_timer(ui):
    reply = start_and_wait(ui, "fired()")
    assert reply.result is True and reply.value is None
    assert ui.get_property("main.signals", "fires").value == 1


def test_wait_signal_with_an_argument_and_spaces_in_the_signature(ui):
    assert start_and_wait(ui, "ticked( int )").result is True


def test_wait_signal_of_a_nested_object(ui):
    assert start_and_wait(ui, "triggered()", path="timer", parent="main.signals").result is True


def test_wait_signal_times_out(ui):
    started = time.monotonic()
    reply = ui.wait_signal("main.signals", "fired()", 300)
    assert reply.result is False
    assert time.monotonic() - started >= 0.25


def test_wait_signal_misses_signals_emitted_before_it_arrives(ui):
    assert ui.invoke("main.signals", "start", 0)
    assert ui.wait_for_property("main.signals", "fires", 1, timeout=5.0)
    assert ui.wait_signal("main.signals", "fired()", 200).result is False


def test_wait_signal_longer_than_the_client_timeout_extends_the_reply_wait(scene):
    client = scene.new_client(timeout=0.5)
    assert start_and_wait(client, "fired()", interval_ms=1200).result is True


def test_wait_signal_failures(ui):
    assert ui.wait_signal("main.signals", "fired", 100).result is False  # no parameter list
    assert ui.wait_signal("main.signals", "noSuchSignal()", 100).result is False
    assert ui.wait_signal("main.nothing", "fired()", 100).result is False


def test_batch_placeholders_and_refusals(ui):
    with ui.batch() as batch:
        assert batch.click("main.button", window="mainWindow").result is True  # a placeholder
        assert batch.type_text("mainWindow", "Hi!")  # a placeholder too
        with pytest.raises(TypeError):
            batch.exists("main.button")
        assert batch.replies is None
    assert len(batch.requests) == 2  # the click and the typing
    assert [reply.result for reply in batch.replies] == [True, True]
    assert ui.get_property("main.button", "clicks").value == 1
    assert ui.get_property("main.input", "text").value == "Hi!"
