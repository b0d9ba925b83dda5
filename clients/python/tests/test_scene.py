"""Extension mode through the client and the command line: selectors, tree, find, screenshots
and errors that carry the application's reason."""

import json
import struct
import subprocess
import sys
from pathlib import Path

import pytest

from uiremote import UIRemoteCommandFailed, path, selector, walk

SCENE = Path(__file__).resolve().parents[3] / "tests" / "qml" / "extension_scene.qml"


@pytest.fixture
def app(uiremote_app):
    application = uiremote_app(SCENE)
    application.client.window = "mainWindow"
    return application


def png_size(data):
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    return struct.unpack(">II", data[16:24])


def test_selector_helpers_write_the_grammar():
    assert selector("Button") == "{Button}"
    assert selector("Button", text="Push", index=1) == '{Button text="Push"}[1]'
    assert selector(**{"ToolTip.visible": True}) == "{ToolTip.visible=true}"
    assert path("stack", selector(text="a.b")) == 'stack.{text="a.b"}'


def test_click_by_selector_and_read_state(app):
    ui = app.client
    assert ui.click(selector("Button", text="Push", index=1)).result is True
    assert ui.get_property("main.{Button}[2]", "clicks").value == 1
    assert ui.get_property(selector("CheckBox", checked=True), "text").value == "second"


def test_failures_raise_with_the_reason(app):
    ui = app.client
    reply = ui.get_property("main.okButon", "text")
    assert reply.result is False
    assert reply.error == "no object matches main.okButon; closest: main.okButton"
    with pytest.raises(UIRemoteCommandFailed) as failed:
        reply.check("getpro")
    assert failed.value.reason == reply.error
    assert str(failed.value) == "getpro failed: no object matches main.okButon; closest: main.okButton"
    with pytest.raises(UIRemoteCommandFailed, match="window 'nowin' not found"):
        ui.screenshot("nowin")


def test_tree_find_and_screenshot(app):
    ui = app.client
    tree = ui.tree()
    assert tree["label"] == "mainWindow"
    nodes = {node["label"]: node for node in walk(tree)}
    assert nodes["okButton"]["text"] == "OK"
    main = ui.tree("main", depth=1)
    assert [child["path"] for child in main["children"]][3:6] == [
        "main.{CheckBox}", "main.{CheckBox}[1]", "main.{CheckBox}[2]"]
    assert ui.find("checked", True, type="CheckBox") == ["main.{CheckBox}[1]"]
    assert ui.find_one("text", "third", type="CheckBox") == "main.{CheckBox}[2]"
    assert png_size(ui.screenshot()) == (400, 400)
    assert png_size(ui.screenshot(path="okButton")) == (100, 40)


def test_command_line_tree_find_screenshot(app, client_env, tmp_path):
    def run(*args):
        command = [sys.executable, "-m", "uiremote", "--port", str(app.port), "--timeout", "10", *args]
        return subprocess.run(command, capture_output=True, text=True, env=client_env, timeout=60)

    done = run("tree", "main", "--depth", "1")
    assert done.returncode == 0, done.stderr
    assert json.loads(done.stdout)["value"]["label"] == "main"
    done = run("find", "checked", "true", "--type", "CheckBox")
    assert json.loads(done.stdout) == {"result": True, "value": ["main.{CheckBox}[1]"]}
    shot = tmp_path / "shot.png"
    done = run("screenshot", str(shot))
    assert done.returncode == 0, done.stderr
    assert png_size(shot.read_bytes()) == (400, 400)
    done = run("screenshot", str(tmp_path / "none.png"), "-w", "hiddenWindow")
    assert done.returncode == 1
    assert json.loads(done.stdout) == {"result": False, "error": "window 'hiddenWindow' is not visible"}
