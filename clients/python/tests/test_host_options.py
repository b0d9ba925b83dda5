"""uiremote-host's --name-from-ids and --dump-tree, on a scene written without object names."""

import re

from conftest import QML_DIR
from uiremote.app import listening_addresses

UNNAMED = QML_DIR / "unnamed.qml"

# One line per object: indentation, label, [class], dotted path ("-" when none finds it).
TREE_LINE = re.compile(r"^(?P<indent> *)(?P<label>\S+)\s+\[(?P<cls>[^\]]+)\]\s+(?P<path>\S+)\s*$")


def tree(output):
    """The dump's lines as dicts, in order (the banner and Qt's messages are skipped)."""
    return [match.groupdict() for match in map(TREE_LINE.match, output.splitlines()) if match]


def test_without_names_paths_do_not_resolve(uiremote_app):
    client = uiremote_app(UNNAMED).client
    missing = client.exists("box.button")
    assert not missing and missing.error.startswith("no object matches box.button")
    assert client.click("box.button", window="win").result is False


def test_name_from_ids_makes_ids_usable_as_names(uiremote_app):
    client = uiremote_app(UNNAMED, "--name-from-ids").client
    assert client.exists("box.button").result is True
    assert client.get_window_name("box.button").value == "win"
    assert client.click("box.button", window="win").result is True
    assert client.get_property("button", "clicks").value == 1
    assert client.get_property("caption", "text").value == "clicked 1 times"


def test_dump_tree_lists_labels_types_and_paths(uiremote_app):
    app = uiremote_app(UNNAMED, "--dump-tree")
    lines = tree(app.output)
    assert lines, "no tree in the output:\n" + app.output
    assert lines[0]["indent"] == ""
    assert lines[0]["cls"] == "Window"
    types = [line["cls"] for line in lines]
    for wanted in ("Rectangle", "Text", "MouseArea"):
        assert wanted in types
    # A window without a name is listed under the name that finds it (its root's QML id here).
    client = app.client
    assert lines[0]["label"] == client.get_window_name(lines[1]["path"]).value == "box"
    # Without names an object is listed under its class name, and a selector path finds it.
    for line in lines[1:]:
        assert line["label"].startswith("QQuick")
        assert line["path"].startswith("{") and line["path"].endswith(("}", "]"))
    text = next(line for line in lines if line["cls"] == "Text")
    assert client.get_property(text["path"], "text").result is True


def test_dump_tree_with_ids_gives_paths_that_resolve(uiremote_app):
    app = uiremote_app(UNNAMED, "--name-from-ids", "--dump-tree")
    lines = tree(app.output)
    by_label = {line["label"]: line for line in lines}
    for name in ("win", "box", "button", "caption"):
        assert name in by_label, "%s missing from the tree:\n%s" % (name, app.output)
    assert by_label["button"]["cls"] == "Rectangle"
    assert len(by_label["button"]["indent"]) > len(by_label["box"]["indent"]) > len(by_label["win"]["indent"])
    for line in lines:
        if "{" not in line["path"]:
            assert line["path"].split(".")[-1] == line["label"]
        assert app.client.exists(line["path"]), line
    assert by_label["button"]["path"] != "-"
    assert app.client.get_property(by_label["button"]["path"], "clicks").value == 0



def test_host_listens_on_loopback_only_by_default(uiremote_app):
    app = uiremote_app(UNNAMED)
    assert listening_addresses(app.port) == {"0100007F"}  # 127.0.0.1


def test_listen_option_opens_the_given_address(uiremote_app):
    app = uiremote_app(UNNAMED, "--listen", "0.0.0.0")
    assert listening_addresses(app.port) == {"00000000"}
    assert app.client.exists("box").result is False
