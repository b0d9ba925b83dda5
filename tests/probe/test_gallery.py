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


def open_page(ui, title):
    """Opens a page from the drawer's list, scrolled to as a person would when it is far down."""
    assert ui.click("window.{ToolButton}").result is True
    assert ui.wait_for_property("drawer", "opened", True, timeout=20)
    assert ui.wait_idle()
    reply = ui.click('{ItemDelegate text="%s"}' % title)
    assert reply.result is True, reply.raw
    assert ui.wait_for_property("titleLabel", "text", title, timeout=20)
    assert ui.wait_for_property("stackView", "busy", False, timeout=20)
    assert ui.wait_idle()


def tree_nodes(node):
    yield node
    for child in node.get("children", []):
        yield from tree_nodes(child)


def test_rows_far_down_the_drawer_are_scrolled_to(gallery):
    ui = gallery.client
    open_page(ui, "TextField")
    assert ui.get_property("listView", "contentY").value > 0  # left where the row was found


def test_a_combo_box_list_above_the_modal_settings_dialog_takes_the_click(gallery):
    ui = gallery.client
    assert ui.click("window.{ToolButton}[1]").result is True
    assert ui.wait_for_property("optionsMenu", "opened", True, timeout=20)
    assert ui.wait_idle()
    assert ui.click('{MenuItem text="Settings"}').result is True
    assert ui.wait_for_property("settingsDialog", "opened", True, timeout=20)
    assert ui.wait_idle()
    assert ui.click("styleBox").result is True
    assert ui.wait_for_property("styleBox", "popup.opened", True, timeout=20)
    assert ui.wait_idle()
    reply = ui.send({"click": {"objname": 'styleBox.{ItemDelegate text="Material"}', "winobjname": "window",
                               "actionable": True}})
    assert reply.result is True, reply.raw
    assert ui.wait_for_property("styleBox", "currentText", "Material", timeout=20)
    # The dialog still covers the page beneath it.
    covered = ui.click("titleLabel")
    assert covered.result is False
    assert covered.error == "the item titleLabel is covered by the modal popup settingsDialog"


def test_a_shown_tool_tip_has_a_path(gallery):
    ui = gallery.client
    open_page(ui, "ToolTip")
    assert ui.press('{Button text="Tip"}').result is True
    assert ui.wait_for_property('{Button text="Tip"}', "ToolTip.toolTip.opened", True, timeout=20)
    tips = [node for node in tree_nodes(ui.tree()) if node["type"] == "ToolTip"]
    assert len(tips) == 1 and tips[0]["path"] is not None
    assert ui.get_property(tips[0]["path"], "text").value == "This is a tool tip."
    assert ui.get_property("{ToolTip}", "text").value == "This is a tool tip."
    assert ui.drop('{Button text="Tip"}').result is True


def test_the_revealed_remove_item_of_a_swiped_delegate_has_a_path(gallery):
    ui = gallery.client
    open_page(ui, "Delegates")
    count = ui.get_property("stackView.listView", "count").value  # the page's list, not the drawer's
    assert count == 15
    assert ui.swipe('{SwipeDelegate text="SwipeDelegate"}', "right", "left").result is True
    assert ui.wait_idle()
    paths = ui.find("text", "Remove")
    assert paths and None not in paths
    reply = ui.click(paths[0])
    assert reply.result is True, reply.raw
    assert ui.wait_for_property("stackView.listView", "count", count - 1, timeout=20)


def test_the_tree_labels_a_nameless_window_by_the_name_that_finds_it(launch):
    ui = launch([program("UIREMOTE_GALLERY")]).client  # no names from ids: the window has none
    assert ui.wait_idle()
    tree = ui.tree()
    assert tree["type"] == "ApplicationWindow"
    name = ui.get_window_name("{ToolButton}").value
    assert tree["label"] == name
    assert ui.send({"click": {"objname": "{ToolButton}", "winobjname": tree["label"], "actionable": True}}).result is True
