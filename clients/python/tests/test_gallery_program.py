"""Qt's Controls 2 gallery as a compiled program (build/bin/qt-gallery, built from the example
sources Debian ships), run once for this module through the launcher by the plugin's
``uiremote_program`` marker, and driven as a person would.

Every test starts from the gallery's home (no page pushed, drawer closed), so the tests run in
any order and any of them on any pytest-xdist worker, each worker with a gallery of its own.
"""

import os

import pytest

from uiremote.qt import Key

GALLERY = os.environ.get("UIREMOTE_QT_GALLERY", "")

pytestmark = [
    pytest.mark.skipif(not os.path.isfile(GALLERY),
                       reason="UIREMOTE_QT_GALLERY is not set to the compiled gallery (Qt 5 builds only)"),
    pytest.mark.uiremote_program(GALLERY, name_from_ids=True, env={"QT_QUICK_CONTROLS_STYLE": "Default"}),
]

TIMEOUT = 20


@pytest.fixture
def ui(uiremote_module_app):
    """The gallery's client, at home: back from any page, drawer closed."""
    ui = uiremote_module_app.client
    for _ in range(5):
        if ui.get_property("stackView", "depth").value == 1:
            break
        assert ui.key_click(ui.window, Key.ESCAPE)
        assert ui.wait_for_property("stackView", "busy", False, timeout=TIMEOUT)
    if ui.get_property("drawer", "visible").value:
        assert ui.invoke("drawer", "close")
        assert ui.wait_for_property("drawer", "visible", False, timeout=TIMEOUT)
    assert ui.get_property("titleLabel", "text").value == "Gallery"
    return ui


def open_page(ui, title):
    """Opens the drawer from the tool bar and picks the page ``title``."""
    assert ui.click("window.{ToolButton}")
    assert ui.wait_for_property("drawer", "opened", True, timeout=TIMEOUT)
    entry = 'listView.{ItemDelegate text="%s"}' % title
    assert ui.wait_for_property(entry, "visible", True, timeout=TIMEOUT)
    assert ui.click(entry)
    assert ui.wait_for_property("titleLabel", "text", title, timeout=TIMEOUT)
    assert ui.wait_for_property("stackView", "busy", False, timeout=TIMEOUT)
    assert ui.wait_idle()  # the drawer has closed too


def test_the_default_window_is_the_gallerys(uiremote_module_app):
    assert uiremote_module_app.client.window == "window"


def test_drawer_opens_from_the_tool_bar(ui):
    assert ui.get_property("drawer", "opened").value is False
    assert ui.click("window.{ToolButton}")
    assert ui.wait_for_property("drawer", "opened", True, timeout=TIMEOUT)


def test_dialog_page_opens_its_confirmation(ui):
    open_page(ui, "Dialog")
    assert ui.get_property("stackView", "depth").value == 2
    assert ui.click("button")
    assert ui.wait_for_property("confirmationDialog", "opened", True, timeout=TIMEOUT)
    assert ui.get_property("confirmationDialog", "title").value == "Confirmation"
    assert ui.key_click(ui.window, Key.ESCAPE)
    assert ui.wait_for_property("confirmationDialog", "visible", False, timeout=TIMEOUT)


def test_check_box_page_toggles(ui):
    open_page(ui, "CheckBox")
    box = 'stackView.{CheckBox text="Second"}'
    before = ui.get_property(box, "checked").value
    assert ui.click(box)
    assert ui.wait_for_property(box, "checked", not before, timeout=TIMEOUT)


def test_combo_box_page_picks_an_item(ui):
    open_page(ui, "ComboBox")
    combo = "stackView.{ComboBox}"
    assert ui.get_property(combo, "currentText").value == "First"
    assert ui.click(combo)
    assert ui.wait_for_property(combo, "down", True, timeout=TIMEOUT)
    assert ui.wait_idle()
    for key in (Key.DOWN, Key.RETURN):
        assert ui.key_click(ui.window, key)
    assert ui.wait_for_property(combo, "currentText", "Second", timeout=TIMEOUT)


def test_back_returns_home(ui):
    open_page(ui, "Button")
    assert ui.key_click(ui.window, Key.ESCAPE)
    assert ui.wait_for_property("stackView", "depth", 1, timeout=TIMEOUT)
    assert ui.wait_for_property("titleLabel", "text", "Gallery", timeout=TIMEOUT)
