"""A QQuickView program has a window without a name: in extension mode (on under the probe) its
items are clicked without naming a window, and getwinname answers a name that finds it."""

from conftest import program


def test_a_quick_view_window_without_a_name(launch):
    app = launch([program("UIREMOTE_PROBE_TARGET"), "view"])
    ui = app.client
    assert ui.wait_for_property("{MouseArea}", "enabled", True, timeout=30)
    name = ui.get_window_name("{MouseArea}").value
    assert name == "top"  # the root item's QML id: neither window nor root has a name
    assert ui.tree(depth=0)["window"] == name  # the tree tells it at the window's top item
    assert ui.send({"click": {"objname": "{MouseArea}", "winobjname": ""}}).result is True
    assert ui.send({"click": {"objname": "{MouseArea}"}}).result is True
    assert ui.send({"click": {"objname": "{MouseArea}", "winobjname": name, "actionable": True}}).result is True
    assert ui.get_property("{Rectangle}", "taps").value == 3
    assert ui.send({"waitidle": {"winobjname": name, "timeout": 3000}}).result is True
