"""What a tester does where views scroll and popups stack, through the Python client, on the
scene the C++ suite tst_scrolling uses (tests/qml/scrolling.qml): rows a ListView has not made
yet, a button far down a Flickable, wheel notches, a combo box's list in a modal dialog, a tool
tip, a swiped delegate's revealed item, and a window without a name."""

from pathlib import Path

import pytest

SCENE = Path(__file__).resolve().parents[3] / "tests" / "qml" / "scrolling.qml"
WINDOW = "scrollWindow"


@pytest.fixture
def ui(uiremote_app):
    client = uiremote_app(SCENE).client
    client.window = WINDOW
    assert client.wait_idle()
    return client


def nodes(node):
    yield node
    for child in node.get("children", []):
        yield from nodes(child)


def test_rows_a_view_has_not_made_are_scrolled_to_either_way(ui):
    assert ui.click('{ItemDelegate text="Row 97"}').result is True
    assert ui.get_property("longList", "lastClicked").value == "Row 97"
    assert ui.click('longList.{ItemDelegate text="Row 1"}').result is True
    assert ui.get_property("longList", "lastClicked").value == "Row 1"


def test_a_button_out_of_view_is_scrolled_into_view(ui):
    assert ui.click("farButton").result is True
    assert ui.get_property("farButton", "presses").value == 1


def test_three_wheel_notches_go_three_times_as_far_as_one(ui):
    moved = []
    for notches in (1, 3):
        assert ui.set_property("wheelList", "contentY", 0)
        assert ui.wheel("wheelList", dy=-15 * notches)
        assert ui.wait_idle()
        moved.append(ui.get_property("wheelList", "contentY").value)
    assert moved[0] > 0
    assert abs(moved[1] - 3 * moved[0]) <= 0.1 * 3 * moved[0], moved


def test_a_combo_box_list_in_a_modal_dialog_takes_the_click(ui):
    assert ui.invoke("dialog", "open")
    assert ui.wait_for_property("dialog", "opened", True)
    assert ui.click("combo").result is True
    assert ui.wait_for_property("combo", "popup.opened", True)
    assert ui.click('combo.{ItemDelegate text="Seventh"}').result is True
    assert ui.get_property("combo", "currentIndex").value == 6
    refused = ui.click("wheelList")
    assert refused.result is False and refused.error == "the item wheelList is covered by the modal popup dialog"


def test_tool_tips_and_revealed_items_have_paths(ui):
    assert ui.set_property("tipButton", "ToolTip.visible", True)
    assert ui.wait_for_property("tipButton", "ToolTip.toolTip.opened", True)
    tips = [node for node in nodes(ui.tree()) if node["type"] == "ToolTip"]
    assert len(tips) == 1 and tips[0]["path"]
    assert ui.get_property(tips[0]["path"], "text").value == "A tip"
    assert ui.swipe('swipeList.{SwipeDelegate text="Second"}', "right", "left")
    assert ui.wait_idle()
    paths = ui.find("text", "Remove")
    assert len(paths) == 1 and paths[0]
    assert ui.click(paths[0]).result is True
    assert ui.wait_for_property("swipeList", "count", 2)


def test_the_tree_labels_a_nameless_window_by_the_name_that_finds_it(ui):
    labels = [node["label"] for node in nodes(ui.tree()) if node["type"] == "Window"]
    assert labels == ["namelessTop"]
    assert ui.get_window_name("namelessTop").value == "namelessTop"
