"""Object handles and scripts: handle, resolve, a Handle in place of a path, evaluate; and their
commands."""

import pytest

from uiremote import Handle, UIRemoteCommandFailed

from test_cli import replies, run


def test_a_handle_names_its_object_in_every_method(ui):
    button = ui.handle("main.button").value
    assert isinstance(button, Handle) and button > 0
    assert ui.handle("button").value == button
    assert ui.resolve(button).value == {"path": "button", "type": "Rectangle", "alive": True}
    assert ui.click(button).result is True
    assert ui.get_property(button, "clicks").value == 1
    assert ui.set_property(button, "clicks", 5).result is True
    assert ui.get_property("main.button", "clicks").value == 5
    assert ui.tree(button, depth=0)["label"] == "button"
    assert ui.request("get_property", path=button, name="clicks") == {
        "getpro": {"handle": int(button), "property": "clicks"}}


def test_a_destroyed_objects_handle_fails_with_the_reason(ui):
    made = ui.evaluate("return Qt.createQmlObject('import QtQuick 2.15; Item { objectName: \"temp\" }', "
                       "arguments[0])", [{"objname": "main"}]).value
    temp = Handle(made["handle"])
    assert made["type"] == "Item" and made["path"] == "temp"
    assert ui.evaluate("arguments[0].destroy()", [temp]).result is True
    ui.wait_idle()  # destroy() takes effect when events are next processed
    reply = ui.resolve(temp)
    assert reply.result is False and reply.error == "object %d was destroyed" % temp
    assert ui.get_property(temp, "x").error == "object %d was destroyed" % temp
    assert ui.resolve(999999).error == "no object has the handle 999999"


def test_evaluate(ui):
    assert ui.evaluate("return 6 * 7").value == 42
    assert ui.evaluate("return arguments[0] + arguments[1].a", [1, {"a": 2}]).value == 3
    button = ui.handle("main.button").value
    assert ui.evaluate("return arguments[0].width", [button]).value == 101
    assert ui.evaluate("return this.objectName", path="main.button").value == "button"
    assert ui.evaluate("return [arguments[0]]", [button]).value == [
        {"type": "Rectangle", "path": "button", "handle": int(button)}]
    assert ui.evaluate("throw new TypeError('bad')").error == "TypeError: bad"
    assert ui.evaluate("while (true) {}", timeout=0.2).error == \
        "the script ran longer than 200 ms and was interrupted"
    with pytest.raises(UIRemoteCommandFailed, match="boom"):
        ui.evaluate("throw 'boom'").check("evaluate")


def test_commands(scene, client_env):
    port = scene.port
    done = run(client_env, port, "handle", "main.button")
    assert done.returncode == 0, done.stderr
    button = replies(done.stdout)[0]["value"]
    done = run(client_env, port, "resolve", str(button))
    assert replies(done.stdout) == [{"result": True, "value": {"path": "button", "type": "Rectangle", "alive": True}}]
    done = run(client_env, port, "evaluate", "return arguments[0].objectName + arguments[1]",
               '{"handle": %d}' % button, "!")
    assert replies(done.stdout) == [{"result": True, "value": "button!"}]
    done = run(client_env, port, "evaluate", "return this.width", "--path", "main.button")
    assert replies(done.stdout) == [{"result": True, "value": 101}]
    assert run(client_env, port, "evaluate", "throw 1").returncode == 1
