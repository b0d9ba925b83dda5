"""The command line client: `python3 -m uiremote` and bin/uiremote."""

import json
import socket
import subprocess
import sys

import pytest

from uiremote.app import free_port

from conftest import CLIENT_DIR, QML_DIR

SCRIPT = CLIENT_DIR / "bin" / "uiremote"


def run(env, port, *args, stdin=None, timeout=30):
    command = [sys.executable, "-m", "uiremote", "--port", str(port), "--timeout", "5", *args]
    return subprocess.run(command, input=stdin, capture_output=True, text=True, env=env, timeout=timeout)


def replies(stdout):
    return [json.loads(line) for line in stdout.splitlines() if line.strip()]


def test_exit_status_0_when_result_is_true(scene, client_env):
    done = run(client_env, scene.port, "getpro", "main.props", "label")
    assert done.returncode == 0, done.stderr
    assert replies(done.stdout) == [{"result": True, "value": "initial"}]


def test_exit_status_1_when_result_is_false(scene, client_env):
    done = run(client_env, scene.port, "getpro", "main.nothing", "label")
    assert done.returncode == 1, done.stderr
    # uiremote-host runs in extension mode: a false reply says why.
    assert replies(done.stdout) == [{"result": False, "error": "no object matches main.nothing"}]


def test_exit_status_2_when_the_application_is_unreachable(client_env):
    done = run(client_env, free_port(), "getpro", "main.props", "label")
    assert done.returncode == 2
    assert "cannot connect" in done.stderr
    assert done.stdout == ""


def test_exit_status_2_on_time_out(scene, client_env):
    # Another client's signal wait holds the application's one message queue for 5 s, so the
    # command's own request waits behind it longer than the command allows.
    with socket.create_connection(("127.0.0.1", scene.port), timeout=10) as blocker:
        blocker.sendall(b'{"waitsignal":{"objname":"main.signals","signal":"fired()","timeout":5000}}')
        done = run(client_env, scene.port, "--timeout", "0.5", "getpro", "main.props", "count")
    assert done.returncode == 2
    assert "no reply" in done.stderr


def test_delays_and_signal_waits_extend_the_command_time_out(scene, client_env):
    done = run(client_env, scene.port, "--timeout", "0.3", "getpro", "main.props", "count", "--delay", "700")
    assert done.returncode == 0, done.stderr
    done = run(client_env, scene.port, "--timeout", "0.3", "waitsignal", "main.signals", "fired()", "700")
    assert done.returncode == 1, done.stderr  # no timer was started: the wait ends without the signal


def test_exit_status_2_on_bad_usage(client_env):
    done = run(client_env, 1, "click")
    assert done.returncode == 2
    assert "required" in done.stderr


def test_pointer_and_keyboard_commands(scene, client_env):
    port = scene.port
    assert run(client_env, port, "click", "main.button", "-w", "mainWindow", "-b", "right",
               "-m", "ctrl+shift", "-x", "4", "-y", "6").returncode == 0
    ui = scene.client
    assert ui.get_property("main.button", "lastButton").value == 2
    assert ui.get_property("main.button", "lastModifiers").value == 0x06000000
    assert ui.get_property("main.button", "lastX").value == 4
    assert run(client_env, port, "--window", "mainWindow", "dbclick", "main.button").returncode == 0
    assert ui.get_property("main.button", "doubleClicks").value == 1
    assert run(client_env, port, "hover", "main.hoverArea", "-w", "mainWindow").returncode == 0
    assert ui.get_property("main.hoverArea", "hovered").value is True
    assert run(client_env, port, "press", "main.button", "-w", "mainWindow").returncode == 0
    assert ui.get_property("main.button", "held").value is True
    assert run(client_env, port, "drop", "main.button", "-w", "mainWindow").returncode == 0
    assert ui.get_property("main.button", "held").value is False
    assert run(client_env, port, "drag", "main.dragArea", "-w", "mainWindow", "--from", "20,20",
               "--to", "30,50").returncode == 0
    assert run(client_env, port, "drop", "main.dragArea", "-w", "mainWindow", "-x", "30", "-y", "50").returncode == 0
    assert ui.get_property("main.dragBox", "y").value == 40
    assert run(client_env, port, "keyclick", "k", "-w", "mainWindow").returncode == 0
    assert run(client_env, port, "keyclick", "0x01000012", "-w", "mainWindow").returncode == 0  # Left
    assert run(client_env, port, "type", "o ", "-w", "mainWindow").returncode == 0
    assert run(client_env, port, "keyclick", "Return", "-w", "mainWindow").returncode == 0
    assert ui.get_property("main.input", "text").value == "o k"
    assert ui.get_property("main.input", "accepts").value == 1


def test_value_commands(scene, client_env):
    port = scene.port
    done = run(client_env, port, "setpro", "main.props", "count", "9")
    assert done.returncode == 0 and replies(done.stdout) == [{"result": True}]
    assert run(client_env, port, "setpro", "main.props", "label", "12", "--string").returncode == 0
    assert scene.client.get_property("main.props", "label").value == "12"
    assert run(client_env, port, "setpro", "main.props", "fixed", "1").returncode == 1
    done = run(client_env, port, "getwinname", "toolBox")
    assert replies(done.stdout) == [{"result": True, "value": "toolWindow"}]
    done = run(client_env, port, "invokeret", "main.props", "add", "2", "40")
    assert replies(done.stdout) == [{"result": True, "value": 42}]
    done = run(client_env, port, "invokeret", "main.props", "greet", "you")
    assert replies(done.stdout) == [{"result": True, "value": "hello you"}]
    assert run(client_env, port, "invoke", "main.props", "bump").returncode == 0
    assert scene.client.get_property("main.props", "count").value == 10
    done = run(client_env, port, "getpro", "main.props", "tag", "--method", "anonymousButton")
    assert replies(done.stdout) == [{"result": True, "value": "anonymous"}]
    # Start and wait in one write, so that the timer cannot fire before the wait begins.
    done = run(client_env, port, "send", '{"invoke": {"objname": "main.signals", "method": "start", "mthargs": [100]}}'
               '{"waitsignal": {"objname": "main.signals", "signal": "fired()", "timeout": 5000}}')
    assert done.returncode == 0, done.stdout
    assert replies(done.stdout) == [{"result": True}, {"result": True}]


def test_model_and_plugin_commands(scene, client_env):
    port = scene.port
    assert run(client_env, port, "getmdlitemval", "TreePlugin", "model", "1/0", "name").returncode == 1
    assert run(client_env, port, "getgrpmdlitemval", "TreePlugin", "model", "g", "0", "name").returncode == 1
    assert run(client_env, port, "getfltmdlitemval").returncode == 1
    assert run(client_env, port, "addjoystick", "pad-1", "pad-2").returncode == 0
    assert run(client_env, port, "joystickbuttonevent", "pad-1", "3").returncode == 0
    assert run(client_env, port, "movejoystick", "0.5", "-1", "0").returncode == 0
    assert run(client_env, port, "emitpluginsignal", "SomePlugin", "refresh").returncode == 0


def test_send_raw_json(scene, client_env):
    done = run(client_env, scene.port, "send", '{"getpro": {"objname": "main.props", "property": "ratio"}}')
    assert done.returncode == 0
    assert replies(done.stdout) == [{"result": True, "value": 0.5}]
    done = run(client_env, scene.port, "send", '{"invoke": {"objname": "main.props", "method": "bump"}}'
               '{"getpro": {"objname": "main.props", "property": "count"}}')
    assert replies(done.stdout) == [{"result": True}, {"result": True, "value": 4}]
    done = run(client_env, scene.port, "send", '[1, 2]')
    assert done.returncode == 1
    assert replies(done.stdout) == [{"result": False, "error": "the message is not a JSON object"}]


def test_shell_reads_json_and_command_lines(scene, client_env):
    script = "\n".join([
        '{"getpro": {"objname": "main.props", "property": "label"}}',
        "# comments and blank lines are skipped",
        "",
        'setpro main.props label "new label"',
        "getpro main.props label",
        "getpro main.nothing label",
        "click",  # usage error: reported, the shell goes on
        "help",
        "quit",
        "getpro main.props count",  # after quit: not run
    ]) + "\n"
    done = run(client_env, scene.port, "shell", stdin=script)
    assert done.returncode == 0, done.stderr
    lines = [line for line in done.stdout.splitlines() if line.startswith("{")]
    assert [json.loads(line) for line in lines] == [
        {"result": True, "value": "initial"},
        {"result": True},
        {"result": True, "value": "new label"},
        {"result": False, "error": "no object matches main.nothing"},
    ]
    assert "required" in done.stderr


def test_shell_takes_selectors_in_braces_unquoted(uiremote_app, client_env):
    app = uiremote_app(QML_DIR / "buttons.qml")
    script = "\n".join([
        'click {Button text="First"} --window buttonsWindow',
        'getpro buttonsWindow last',
        'click row.{Button text="Second"} --window buttonsWindow',
        'getpro buttonsWindow last',
        'getpro {Button text="Third"} text',
    ]) + "\n"
    done = run(client_env, app.port, "shell", stdin=script)
    assert done.returncode == 0, done.stderr
    assert [json.loads(line) for line in done.stdout.splitlines() if line.startswith("{")] == [
        {"result": True},
        {"result": True, "value": "First"},
        {"result": True},
        {"result": True, "value": "Second"},
        {"result": False, "error": 'no object matches {Button text="Third"}'},
    ]


def test_shell_exits_2_when_the_application_goes_away(scene, client_env):
    process = subprocess.Popen(
        [sys.executable, "-m", "uiremote", "--port", str(scene.port), "--timeout", "5", "shell"],
        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=client_env,
    )
    try:
        process.stdin.write("getpro main.props count\n")
        process.stdin.flush()
        assert json.loads(process.stdout.readline()) == {"result": True, "value": 3}
        scene.stop()
        process.stdin.write("getpro main.props count\n")
        process.stdin.close()
        assert process.wait(timeout=30) == 2
        assert "uiremote:" in process.stderr.read()
    finally:
        if process.poll() is None:
            process.kill()
            process.wait()


@pytest.mark.parametrize("how", ["module", "script"])
def test_entry_points(scene, client_env, how):
    prefix = [sys.executable, "-m", "uiremote"] if how == "module" else [str(SCRIPT)]
    done = subprocess.run(prefix + ["--port", str(scene.port), "getwinname", "main.button"],
                          capture_output=True, text=True, env=client_env, timeout=30)
    assert done.returncode == 0, done.stderr
    assert replies(done.stdout) == [{"result": True, "value": "mainWindow"}]
