"""Qt's Controls 2 gallery (its QML sources, from Debian's qtquickcontrols2-5-examples) driven as a
person would: typing into TextField, TextArea and an editable ComboBox, swiping SwipeView pages,
a Tumbler and the drawer, opening ComboBox popups, with no coordinates and no sleeps.

Each page is shown by a small window that loads it and names its controls by type; the drawer is
the gallery's own main window.  uiremote-host names the rest from their QML ids.
"""

import os
from pathlib import Path

import pytest

from uiremote import UIRemoteCommandFailed
from uiremote.qt import Key

GALLERY = Path(os.environ.get("UIREMOTE_GALLERY", "/usr/lib/x86_64-linux-gnu/qt5/examples/quickcontrols2/gallery"))
WINDOW = "galleryWindow"

pytestmark = [
    pytest.mark.skipif(not (GALLERY / "gallery.qml").exists(),
                       reason="the gallery (qtquickcontrols2-5-examples) is not installed"),
    pytest.mark.skipif(os.environ.get("UIREMOTE_QT_MAJOR") == "6",
                       reason="the gallery's sources are Qt 5 QML (Qt.labs.settings, Qt 5 imports)"),
]

WRAPPER = """import QtQuick 2.12
import QtQuick.Controls 2.12

// Shows one page of Qt's Controls 2 gallery; names its controls by type (textField, comboBox,
// comboBox2 ...) once loaded, so that tests reach them by name.
ApplicationWindow {
    id: galleryWindow
    objectName: "galleryWindow"
    width: 360
    height: 520
    visible: true

    function nameControls(item, counts) {
        for (var i = 0; i < item.children.length; ++i) {
            var child = item.children[i]
            var type = String(child).replace(/^QQuick/, "").split(/[_(]/)[0]
            if (child.objectName === "" && ["TextField", "TextArea", "ComboBox", "Tumbler", "SwipeView"].indexOf(type) >= 0) {
                counts[type] = (counts[type] || 0) + 1
                child.objectName = type.charAt(0).toLowerCase() + type.slice(1) + (counts[type] > 1 ? counts[type] : "")
            }
            nameControls(child, counts)
        }
    }

    Loader {
        id: pageLoader
        objectName: "pageLoader"
        anchors.fill: parent
        source: "%s/pages/%sPage.qml"
        onLoaded: galleryWindow.nameControls(item, {})
    }
}
"""


@pytest.fixture
def gallery_page(uiremote_app, tmp_path):
    """Starts uiremote-host on one gallery page ("TextField", "ComboBox" ...); returns its client."""

    def start(page):
        qml = tmp_path / ("%sHost.qml" % page)
        qml.write_text(WRAPPER % (GALLERY.as_uri(), page), encoding="utf-8")
        client = uiremote_app(qml, "--name-from-ids").client
        client.window = WINDOW
        assert client.wait_idle(WINDOW)
        return client

    return start


def prop(client, path, name):
    reply = client.get_property(path, name)
    assert reply.result, reply.raw
    return reply.value


def select_all(client):
    assert client.key_click(WINDOW, Key.A, "ctrl")


def test_text_field_takes_any_text(gallery_page):
    ui = gallery_page("TextField")
    with ui.expect_signal("textField", "accepted()"):
        assert ui.type_text(text="Hello World, h\u00e9llo \u4f60\u597d!\n", path="textField")
    assert prop(ui, "textField", "text") == "Hello World, h\u00e9llo \u4f60\u597d!"


def test_text_area_takes_lines(gallery_page):
    ui = gallery_page("TextArea")
    assert ui.click("textArea")
    select_all(ui)
    assert ui.type_text(WINDOW, "First line\nSecond line: \u00c0 bient\u00f4t")
    assert ui.wait_for_property("textArea", "text", "First line\nSecond line: \u00c0 bient\u00f4t", timeout=10)


def test_swipe_view_turns_one_page_per_swipe(gallery_page):
    ui = gallery_page("SwipeView")
    assert prop(ui, "swipeView", "currentIndex") == 1
    for expected, start, end in ((2, "center", "left"), (1, "center", "right"), (0, "center", "right"),
                                 (1, "center", "left")):
        with ui.expect_signal("swipeView", "currentIndexChanged()"):
            assert ui.swipe("swipeView", start, end)
        assert ui.wait_idle()
        assert prop(ui, "swipeView", "currentIndex") == expected


def test_tumbler_spins_the_same_every_time(gallery_page):
    ui = gallery_page("Tumbler")
    for _ in range(5):
        assert ui.set_property("tumbler", "currentIndex", 0)
        assert ui.wait_idle()
        assert ui.swipe("tumbler", "center", "top", duration=1000, steps=20)
        assert ui.wait_idle()
        assert prop(ui, "tumbler", "currentIndex") == 3


def test_combo_box_popup_picks_an_item(gallery_page):
    ui = gallery_page("ComboBox")
    assert prop(ui, "comboBox", "currentText") == "First"
    assert ui.click("comboBox")
    assert ui.wait_for_property("comboBox", "down", True)
    assert ui.wait_idle()
    for key in (Key.DOWN, Key.DOWN, Key.RETURN):
        assert ui.key_click(WINDOW, key)
    assert ui.wait_for_property("comboBox", "currentText", "Third")
    assert ui.wait_idle()
    assert prop(ui, "comboBox", "down") is False


def test_editable_combo_box_accepts_typed_text(gallery_page):
    ui = gallery_page("ComboBox")
    assert ui.click("comboBox2")
    select_all(ui)
    with ui.expect_signal("comboBox2", "accepted()"):
        assert ui.type_text(WINDOW, "Cherry\n")
    assert prop(ui, "comboBox2", "count") == 4
    assert prop(ui, "comboBox2", "editText") == "Cherry"


def test_expect_signal_fails_when_nothing_comes(gallery_page):
    ui = gallery_page("SwipeView")
    with pytest.raises(UIRemoteCommandFailed):
        with ui.expect_signal("swipeView", "currentIndexChanged()", timeout=0.2):
            pass


def test_drawer_opens_by_swipe_and_covers_the_page(uiremote_app):
    ui = uiremote_app(GALLERY / "gallery.qml", "--name-from-ids").client
    ui.window = "window"
    assert ui.wait_idle()
    for _ in range(3):
        assert ui.swipe("stackView", "left", "center")
        assert ui.wait_idle()
        assert prop(ui, "drawer", "position") == 1
        refused = ui.click("stackView")
        assert refused.result is False
        assert refused.raw["error"].startswith("the item stackView is covered at ")
        assert ui.swipe("listView", "right", "left")
        assert ui.wait_idle()
        assert prop(ui, "drawer", "visible") is False
        assert ui.click("stackView")
