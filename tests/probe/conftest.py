"""Fixtures of the probe's end-to-end tests.

Programs that never link the remote control are started through uiremote-launch or a bare
LD_PRELOAD of the probe, each on its own free port, and driven with the Python client. Paths
come from the environment ctest sets: UIREMOTE_LAUNCH, UIREMOTE_PROBE, UIREMOTE_INVENTORY,
UIREMOTE_PROBE_TARGET, UIREMOTE_OLD_QT_PROGRAM, UIREMOTE_OTHER_QT_PROGRAM, UIREMOTE_GALLERY; all
of them come from one build, whose Qt major is UIREMOTE_QT_MAJOR.
"""

import os
import subprocess
import sys
from pathlib import Path

import pytest

CLIENT_DIR = Path(__file__).resolve().parents[2] / "clients" / "python"
if str(CLIENT_DIR) not in sys.path:
    sys.path.insert(0, str(CLIENT_DIR))

from uiremote.app import Application  # noqa: E402

#: The probe's line once clients can connect; group 1 is the port.
PROBE_BANNER = r"uiremote: listening on [0-9a-fA-F.:]+:(\d+)\n"


def program(variable):
    path = os.environ.get(variable)
    if not path or not os.path.exists(path):
        pytest.skip("%s is not set to a built program" % variable)
    return path


@pytest.fixture
def isolated_env(tmp_path):
    """A headless environment of its own (settings and runtime files stay in the test's folder)."""
    runtime = tmp_path / "runtime"
    runtime.mkdir(mode=0o700)
    return {
        "QT_QPA_PLATFORM": "offscreen",
        "QT_QUICK_BACKEND": "software",
        # Qt 6 calls the plain Controls style Basic.
        "QT_QUICK_CONTROLS_STYLE": "Basic" if os.environ.get("UIREMOTE_QT_MAJOR") == "6" else "Default",
        "XDG_RUNTIME_DIR": str(runtime),
        "XDG_CONFIG_HOME": str(tmp_path / "config"),
        "HOME": str(tmp_path),
    }


@pytest.fixture
def launch(tmp_path, isolated_env):
    """Starts ``command`` through uiremote-launch with ``options``; stops it after the test."""
    started = []

    def start(command, options=(), env=None, **kwargs):
        launcher = program("UIREMOTE_LAUNCH")
        full = [launcher, "--port", "{port}", *options, "--", *command]
        app = Application.start(full, env={**isolated_env, **(env or {})}, log_dir=tmp_path,
                                banner=PROBE_BANNER, ready_timeout=60.0, **kwargs)
        started.append(app)
        return app

    yield start
    for app in started:
        app.stop()


@pytest.fixture
def run_until_line(tmp_path, isolated_env):
    """Runs a command until its output matches a pattern; returns (output, process)."""
    processes = []

    def run(command, pattern, env=None, timeout=60.0):
        app = Application._launch(command, 0, {**isolated_env, **(env or {})}, None, tmp_path, "127.0.0.1")
        processes.append(app)
        match = app.wait_for_output(pattern, timeout=timeout)
        return app, match

    yield run
    for app in processes:
        app.stop()
