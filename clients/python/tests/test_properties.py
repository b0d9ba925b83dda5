"""getpro, setpro, getwinname, invoke, invokeret and the helpers built on them."""

import pytest

from uiremote import UIRemoteCommandFailed


def test_get_property_values_of_each_type(ui):
    assert ui.get_property("main.props", "label").value == "initial"
    assert ui.get_property("main.props", "count").value == 3
    assert ui.get_property("main.props", "ratio").value == 0.5
    assert ui.get_property("main.props", "flag").value is True
    assert ui.get_property("main.props", "items").value == [1, 2, 3]
    assert ui.get_property("main.props", "info").value == {"name": "props", "size": 2}
    empty = ui.get_property("main.props", "empty")
    assert empty.result is True and empty.value == "" and empty.has_value
    assert ui.get_property("mainWindow", "width").value == 480
    assert ui.get_property("props", "label", parent="main").value == "initial"


def test_get_property_failures(ui):
    for reply in (
        ui.get_property("main.props", "noSuchProperty"),
        ui.get_property("main.props", ""),
        ui.get_property("main.nothing", "label"),
    ):
        assert reply.result is False
        assert reply.value is None and not reply.has_value
    with pytest.raises(UIRemoteCommandFailed):
        ui.get_property("main.nothing", "label").check("getpro")


def test_set_property(ui):
    assert ui.set_property("main.props", "label", "changed").result is True
    assert ui.get_property("main.props", "label").value == "changed"
    assert ui.set_property("main.props", "count", 5)  # a JSON number into an int property
    assert ui.get_property("main.props", "count").value == 5
    assert ui.set_property("main.props", "flag", False)
    assert ui.get_property("main.props", "flag").value is False
    assert ui.set_property("main.props", "items", ["x", {"y": 1}])
    assert ui.get_property("main.props", "items").value == ["x", {"y": 1}]


def test_set_property_failures(ui):
    assert ui.set_property("main.props", "fixed", 1).result is False  # read-only
    assert ui.set_property("main.props", "noSuchProperty", 1).result is False
    assert ui.set_property("main.nothing", "label", "x").result is False
    assert ui.get_property("main.props", "fixed").value == 7


def test_strings_with_quotes_braces_and_unicode_survive(ui):
    text = 'say "hi" }{ \\" {"a": 1}  h\u00e9llo \u2713 \u4e2d\u6587'
    assert ui.set_property("main.props", "label", text)
    assert ui.get_property("main.props", "label").value == text


def test_properties_of_an_object_returned_by_a_method(ui):
    assert ui.get_property("main.props", "tag", method="anonymousButton").value == "anonymous"
    assert ui.set_property("main.props", "tag", "renamed", method="anonymousButton")
    assert ui.get_property("main.props", "tag", method="anonymousButton").value == "renamed"
    assert ui.get_window_name("main.props", method="anonymousButton").value == "mainWindow"
    assert ui.get_property("main.props", "tag", method="noSuchMethod").result is False


def test_get_window_name(ui):
    reply = ui.get_window_name("main.button")
    assert reply.result is True and reply.value == "mainWindow"
    assert ui.get_window_name("toolBox").value == "toolWindow"
    assert ui.get_window_name("main.signals.timer").result is False  # not a visual item
    assert ui.get_window_name("main.nothing").result is False


def test_invoke(ui):
    assert ui.invoke("main.props", "bump").result is True
    assert ui.invoke("main.props", "bump")
    assert ui.get_property("main.props", "count").value == 5
    assert ui.invoke("main.props", "greet", "x").value is None  # "invoke" returns no value


def test_invoke_failures(ui):
    assert ui.invoke("main.props", "noSuchMethod").result is False
    assert ui.invoke("main.props", "add", 1).result is False  # wrong number of arguments
    assert ui.invoke("main.nothing", "bump").result is False


def test_invoke_ret(ui):
    assert ui.invoke_ret("main.props", "add", 2, 3).value == 5
    assert ui.invoke_ret("main.props", "greet", "world").value == "hello world"
    assert ui.invoke_ret("main.props", "describe").value == {"label": "initial", "count": 3, "tags": ["a", "b"]}
    assert ui.invoke_ret("main.props", "sum10", *range(1, 11)).value == 55
    assert ui.invoke_ret("main.props", "noSuchMethod").result is False
    assert ui.invoke_ret("main.props", "add", 1, 2, 3).result is False


def test_exists(ui):
    assert ui.exists("main.button").result is True
    assert ui.exists("okButton", parent="panelA").result is True
    assert ui.exists("main.nothing").result is False


def test_wait_for_property(ui):
    assert ui.wait_for_property("main.props", "label", "initial", timeout=2.0).result is True
    assert ui.invoke("main.signals", "start", 100)
    assert ui.wait_for_property("main.signals", "fires", 1, timeout=5.0).result is True
    assert ui.wait_for_property("main.signals", "fires", lambda value: value >= 1, timeout=1.0).result is True
    assert ui.wait_for_property("main.props", "label", "never", timeout=0.3).result is False
