"""Qt's compiled mousearea example (Debian's qtdeclarative5-examples), unchanged, through the
launcher: a QQuickView program whose window and root have no objectName, reached by its QML ids
(--name-from-ids) as a tester who reads its QML would."""

import os

import pytest

EXAMPLE = "/usr/lib/x86_64-linux-gnu/qt5/examples/quick/mousearea/mousearea"

pytestmark = pytest.mark.skipif(os.environ.get("UIREMOTE_QT_MAJOR") == "6" or not os.path.exists(EXAMPLE),
                                reason="the compiled Qt 5 mousearea example is not installed")


@pytest.fixture
def ui(launch):
    app = launch([EXAMPLE], options=["--name-from-ids"])
    client = app.client
    assert client.wait_for_property("redSquareMouseArea", "enabled", True, timeout=30)
    return client


def test_the_nameless_window_has_a_name_that_finds_it(ui):
    name = ui.get_window_name("redSquare").value
    assert name == "box"  # neither the view's window nor its root has a name: the root's id
    assert ui.tree(depth=0)["window"] == name
    assert ui.send({"click": {"objname": "redSquareMouseArea", "winobjname": name, "actionable": True}}).result is True


def test_clicks_without_a_window_name_reach_the_items_window(ui):
    assert ui.send({"press": {"objname": "redSquareMouseArea"}}).result is True
    assert ui.get_property("info", "text").value == "Pressed (LeftButton shift=false)"
    assert ui.send({"drop": {"objname": "redSquareMouseArea"}}).result is True
    assert ui.get_property("btn", "text").value == "Clicked (wasHeld=false)"  # released, then clicked
    reply = ui.send({"click": {"objname": "redSquareMouseArea", "clickbtn": "right", "keyboardModifier": 0x02000000}})
    assert reply.result is True
    assert ui.get_property("info", "text").value == "Pressed (RightButton shift=true)"
    assert ui.get_property("btn", "text").value == "Clicked (wasHeld=false)"


def test_a_wait_on_the_example_answers_and_the_scene_moves_on(ui):
    assert ui.send({"hover": {"objname": "redSquareMouseArea", "actionable": True}}).result is True
    assert ui.send({"waitprop": {"objname": "info", "property": "text", "value": "Entered", "timeout": 3000}}).result is True
    assert ui.send({"waitidle": {"objname": "box", "timeout": 3000}}).result is True


def test_reasons_name_types_and_close_names_only(ui):
    reply = ui.send({"click": {"objname": "redSquareMouseAre"}})
    assert reply.result is False
    assert reply.error == "no object matches redSquareMouseAre; closest: redSquareMouseArea"
    reply = ui.send({"click": {"objname": "nosuch"}})
    assert reply.error == "no object matches nosuch"
