"""Qt's Controls 2 gallery, built from Qt's own example sources, driven through the launcher as
a user would: open the drawer from the tool bar, pick a page, press a button on it."""

import re

import pytest

from conftest import program


@pytest.fixture
def gallery(launch):
    app = launch([program("UIREMOTE_GALLERY")], ["--name-from-ids"])
    app.client.window = "window"
    return app


def test_drawer_page_and_control(gallery):
    ui = gallery.client
    assert ui.get_property("titleLabel", "text").value == "Gallery"
    assert ui.get_property("drawer", "opened").value is False

    # The tool bar's menu button has no id: it is the window's first ToolButton. A click at the
    # title's coordinates would be refused, since the button covers that point.
    assert ui.find(type="ToolButton") == ["window.{ToolButton}", "window.{ToolButton}[1]"]
    title_x = ui.get_property("titleLabel", "x").value
    refused = ui.click("titleLabel", x=(title_x - 20) // 2 - title_x, y=5)
    assert refused.result is False
    assert re.fullmatch(r"the item titleLabel is covered at \(20, \d+\) by ToolButton", refused.error)
    assert ui.get_property("drawer", "opened").value is False
    assert ui.click("window.{ToolButton}").result is True
    assert ui.wait_for_property("drawer", "opened", True, timeout=20)

    # The seventh entry of the drawer's list is the Dialog page; rows are all the same height.
    rows = ui.get_property("listView", "count").value
    row_height = ui.get_property("listView", "contentHeight").value / rows
    width = ui.get_property("listView", "width").value
    assert ui.click("listView", x=int(width / 2), y=int(6.5 * row_height)).result is True
    assert ui.wait_for_property("titleLabel", "text", "Dialog", timeout=20)
    assert ui.wait_for_property("drawer", "opened", False, timeout=20)
    assert ui.get_property("stackView", "depth").value == 2
    assert ui.wait_for_property("stackView", "busy", False, timeout=20)  # the page has slid in

    # On the page, the button with the id "button" opens the confirmation dialog.
    assert ui.get_property("confirmationDialog", "opened").value is False
    assert ui.click("button").result is True
    assert ui.wait_for_property("confirmationDialog", "opened", True, timeout=20)
    assert ui.get_property("confirmationDialog", "title").value == "Confirmation"
