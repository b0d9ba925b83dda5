"""waitprop of attached and dotted properties, waitidle limited to an item or leaving out what
never stops, selectors that prefer shown objects, actions without a window name."""

from pathlib import Path

import pytest

QML = Path(__file__).resolve().parent / "qml" / "stack_waits.qml"


@pytest.fixture
def ui(uiremote_app):
    return uiremote_app(QML).client


def test_waitprop_takes_attached_and_dotted_properties(ui):
    assert ui.click("tipButton").result is True
    waited = ui.send({"waitprop": {"objname": "tipButton", "property": "ToolTip.visible", "value": True,
                                   "timeout": 5000}})
    assert waited.result is True, waited.error
    ui.send({"setpro": {"objname": "settings", "property": "visible", "propval": True}})
    waited = ui.send({"waitprop": {"objname": "settings", "property": "contentItem.visible", "value": True,
                                   "timeout": 5000}})
    assert waited.result is True, waited.error
    refused = ui.send({"waitprop": {"objname": "stackView", "property": "nosuch.thing", "value": 1, "timeout": 10}})
    assert refused.error == 'the object has no property "nosuch.thing"'


def test_waitidle_with_an_endless_busy_indicator(ui):
    endless = ui.send({"waitidle": {"winobjname": "stackWindow", "timeout": 300}})
    assert endless.result is False
    assert "ignore" in endless.error or "still moving" in endless.error
    assert ui.send({"waitidle": {"ignore": ["BusyIndicator"], "timeout": 3000}}).result is True
    assert ui.send({"waitidle": {"objname": "stackView", "timeout": 3000}}).result is True


def test_selectors_prefer_shown_objects(ui):
    assert ui.get_property("{ComboBox}", "objectName").value == "shownCombo"
    assert ui.get_property("{ComboBox}[1]", "objectName").value == "hiddenCombo"
    assert ui.find(type="ComboBox") == ["hiddenCombo", "shownCombo"]


def test_actions_without_a_window_name_act_in_the_items_window(ui):
    assert ui.send({"click": {"objname": "tipButton", "winobjname": ""}}).result is True
    assert ui.send({"click": {"objname": "tipButton"}}).result is True
    assert ui.get_window_name("tipButton").value == "stackWindow"


def test_reasons_suggest_only_close_names(ui):
    assert ui.get_property("nosuch", "x").error == "no object matches nosuch"
    assert ui.get_property("stackVew", "x").error == "no object matches stackVew; closest: stackView"
