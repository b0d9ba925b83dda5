"""On the offscreen platform the probe picks the software scene graph unless the user chose one."""

import pytest

from conftest import PROBE_BANNER, program
from pythonapps import bindings_of, has_quick, python_program
from uiremote.app import Application


def start_without_backend(tmp_path, isolated_env, command):
    """Starts ``command`` through the launcher with QT_QPA_PLATFORM=offscreen and no backend set."""
    env = {key: value for key, value in isolated_env.items() if key != "QT_QUICK_BACKEND"}
    full = ["env", "-u", "QT_QUICK_BACKEND", "-u", "QSG_RHI_BACKEND", "-u", "QMLSCENE_DEVICE",
            program("UIREMOTE_LAUNCH"), "--port", "{port}", "--name-from-ids", "--", *command]
    return Application.start(full, env=env, log_dir=tmp_path, banner=PROBE_BANNER, ready_timeout=60.0)


def test_python_program_renders_in_software(tmp_path, isolated_env):
    installed = [binding for binding in bindings_of(same_major=True) if has_quick(binding)]
    if not installed:
        pytest.skip("no Python binding of this Qt major is installed")
    app = start_without_backend(tmp_path, isolated_env, python_program(installed[0]))
    try:
        ui = app.client
        ui.window = "window"
        assert ui.wait_for_property("window", "softwareScene", True, timeout=10)
        assert ui.click("tapArea").result is True
        assert ui.get_property("window", "taps").value == 1
    finally:
        app.stop()


def test_linked_program_renders_in_software(tmp_path, isolated_env):
    app = start_without_backend(tmp_path, isolated_env, [program("UIREMOTE_PROBE_TARGET"), "view"])
    try:
        assert app.client.click("tapArea", window="top").result is True
        assert app.client.get_property("top", "taps").value == 1
    finally:
        app.stop()
