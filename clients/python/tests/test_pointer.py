"""click, dbclick, hover, press, drag, drop (and drag_and_drop) against the controls scene."""

from uiremote.qt import Button, Modifier, MouseButton

from conftest import WINDOW


def value(ui, path, name):
    reply = ui.get_property(path, name)
    assert reply.result, "getpro %s.%s failed" % (path, name)
    return reply.value


def test_click_at_centre_with_left_button(ui):
    reply = ui.click("main.button", window=WINDOW)
    assert reply.result is True
    assert reply.value is None and not reply.has_value
    assert value(ui, "main.button", "clicks") == 1
    assert value(ui, "main.button", "lastButton") == MouseButton.LEFT
    assert value(ui, "main.button", "lastModifiers") == 0
    # 101 x 51 item: the centre (50.5, 25.5) is rounded after mapping to the scene.
    assert (value(ui, "main.button", "lastX"), value(ui, "main.button", "lastY")) == (51, 26)


def test_click_right_and_middle_buttons(ui):
    assert ui.click("main.button", button=Button.RIGHT)
    assert value(ui, "main.button", "lastButton") == MouseButton.RIGHT
    assert ui.click("main.button", button="middle")
    assert value(ui, "main.button", "lastButton") == MouseButton.MIDDLE
    assert ui.click("main.button", button="left")
    assert value(ui, "main.button", "lastButton") == MouseButton.LEFT
    assert value(ui, "main.button", "clicks") == 3


def test_click_with_modifiers(ui):
    assert ui.click("main.button", modifiers=Modifier.SHIFT | Modifier.CONTROL)
    assert value(ui, "main.button", "lastModifiers") == 0x06000000
    assert ui.click("main.button", modifiers="alt")
    assert value(ui, "main.button", "lastModifiers") == Modifier.ALT


def test_click_at_a_point_and_x_alone_means_centre(ui):
    assert ui.click("main.button", x=5, y=7)
    assert (value(ui, "main.button", "lastX"), value(ui, "main.button", "lastY")) == (5, 7)
    assert ui.click("main.button", x=5)  # "y" absent: the centre is clicked
    assert (value(ui, "main.button", "lastX"), value(ui, "main.button", "lastY")) == (51, 26)


def test_click_with_parent_path_picks_the_right_duplicate(ui):
    assert ui.click("okButton", parent="main.panels.panelB")
    assert value(ui, "panelB.okButton", "clicks") == 1
    assert value(ui, "panelA.okButton", "clicks") == 0
    assert ui.click(["panelA", "okButton"])  # a path may be given as a list of names
    assert value(ui, "panelA.okButton", "clicks") == 1


def test_click_on_an_unnamed_item_returned_by_a_method(ui):
    assert ui.click("main.props", method="anonymousButton")
    assert ui.get_property("main.props", "clicks", method="anonymousButton").value == 1


def test_double_click(ui):
    assert ui.double_click("main.button", button="right")
    assert value(ui, "main.button", "doubleClicks") == 1
    assert value(ui, "main.button", "clicks") == 1  # the first release of the sequence
    assert value(ui, "main.button", "lastButton") == MouseButton.RIGHT


def test_click_failures(ui):
    assert ui.click("main.noSuchButton").result is False
    assert ui.double_click("main.signals.timer").result is False  # not a visual item
    assert value(ui, "main.button", "clicks") == 0
    # uiremote-host is in extension mode: an empty window name means the item's own window.
    assert ui.click("main.button", window="").result is True
    assert value(ui, "main.button", "clicks") == 1


def test_hover_centre_and_point(ui):
    assert value(ui, "main.hoverArea", "hovered") is False
    assert ui.hover("main.hoverArea")
    assert value(ui, "main.hoverArea", "hovered") is True
    assert (value(ui, "main.hoverArea", "hoverX"), value(ui, "main.hoverArea", "hoverY")) == (50, 20)
    assert ui.hover("main.hoverArea", x=3, y=4)
    assert (value(ui, "main.hoverArea", "hoverX"), value(ui, "main.hoverArea", "hoverY")) == (3, 4)
    assert ui.hover("main.button")
    assert value(ui, "main.hoverArea", "hovered") is False
    assert ui.hover("main.nothing").result is False


def test_press_holds_until_drop(ui):
    assert ui.press("main.button", x=10, y=10, delay=0)
    assert value(ui, "main.button", "held") is True
    assert value(ui, "main.button", "presses") == 1
    assert value(ui, "main.button", "releases") == 0
    assert ui.drop("main.button", x=10, y=10)
    assert value(ui, "main.button", "held") is False
    assert value(ui, "main.button", "releases") == 1
    assert value(ui, "main.button", "clicks") == 1


def test_drag_between_points_then_drop(ui):
    assert ui.drag("main.dragArea", from_xy=(30, 30), to_xy=(130, 90))
    assert value(ui, "main.dragArea", "dragging") is True
    assert (value(ui, "main.dragArea", "pressX"), value(ui, "main.dragArea", "pressY")) == (30, 30)
    assert (value(ui, "main.dragArea", "moveX"), value(ui, "main.dragArea", "moveY")) == (130, 90)
    assert value(ui, "main.dragArea", "moves") == 1
    assert ui.drop("main.dragArea", x=130, y=90)
    assert value(ui, "main.dragArea", "dragging") is False
    assert (value(ui, "main.dragArea", "releaseX"), value(ui, "main.dragArea", "releaseY")) == (130, 90)
    assert (value(ui, "main.dragBox", "x"), value(ui, "main.dragBox", "y")) == (110, 70)


def test_drag_from_centre_to_point(ui):
    assert ui.drag("main.dragArea", x=200, y=20)
    # 240 x 160 area: the gesture starts at the truncated centre.
    assert (value(ui, "main.dragArea", "pressX"), value(ui, "main.dragArea", "pressY")) == (120, 80)
    assert (value(ui, "main.dragArea", "moveX"), value(ui, "main.dragArea", "moveY")) == (200, 20)
    assert ui.drop("main.dragArea")
    assert (value(ui, "main.dragArea", "releaseX"), value(ui, "main.dragArea", "releaseY")) == (120, 80)


def test_drag_and_drop_helper_moves_the_box(ui):
    assert ui.drag_and_drop("main.dragArea", (20, 20), (60, 100)).result is True
    assert (value(ui, "main.dragBox", "x"), value(ui, "main.dragBox", "y")) == (50, 90)
    assert value(ui, "main.dragArea", "dragging") is False
    missing = ui.drag_and_drop("main.missing", (1, 1), (2, 2))
    assert not missing and missing.result is False
    assert missing.error == "no object matches main.missing"


def test_pointer_failures(ui):
    for action in (ui.hover, ui.press, ui.drop, ui.drag):
        assert action("main.missing").result is False
