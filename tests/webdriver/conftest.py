"""Fixtures of the WebDriver suites: ``uiremote webdriver`` on a free port, Selenium sessions on
Qt's Controls 2 gallery (headless), and the gallery served by the launcher for attaching.

Paths come from the environment ctest sets: UIREMOTE_LAUNCH, UIREMOTE_GALLERY.
"""

import os
import re
import subprocess
import sys
import time
from pathlib import Path

import pytest

CLIENT_DIR = Path(__file__).resolve().parents[2] / "clients" / "python"
if str(CLIENT_DIR) not in sys.path:
    sys.path.insert(0, str(CLIENT_DIR))

from uiremote.app import Application  # noqa: E402


def program(variable):
    path = os.environ.get(variable)
    if not path or not os.path.exists(path):
        pytest.skip("%s is not set to a built program" % variable)
    return path


@pytest.fixture(scope="session")
def isolated_env(tmp_path_factory):
    home = tmp_path_factory.mktemp("home")
    runtime = home / "runtime"
    runtime.mkdir(mode=0o700)
    return {"QT_QPA_PLATFORM": "offscreen", "QT_QUICK_CONTROLS_STYLE": "Default",
            "XDG_RUNTIME_DIR": str(runtime), "XDG_CONFIG_HOME": str(home / "config"), "HOME": str(home)}


@pytest.fixture(scope="session")
def endpoint(isolated_env, tmp_path_factory):
    """The URL of a running ``uiremote webdriver``."""
    # The launcher of this build's Qt major: UIREMOTE_LAUNCH (Qt 5) or UIREMOTE_LAUNCH_QT6.
    launchers = [(option, os.environ.get(variable)) for option, variable in
                 (("--launcher", "UIREMOTE_LAUNCH"), ("--launcher-qt6", "UIREMOTE_LAUNCH_QT6"))]
    launchers = [arg for option, path in launchers if path and os.path.exists(path) for arg in (option, path)]
    if not launchers:
        pytest.skip("neither UIREMOTE_LAUNCH nor UIREMOTE_LAUNCH_QT6 is set to a built launcher")
    log = tmp_path_factory.mktemp("endpoint") / "webdriver.log"
    env = dict(os.environ, **isolated_env, PYTHONPATH=str(CLIENT_DIR))
    with open(log, "wb") as out:
        process = subprocess.Popen([sys.executable, "-m", "uiremote", "webdriver", "--port", "0",
                                    *launchers, "--session-timeout", "300"],
                                   stdout=out, stderr=subprocess.STDOUT, env=env)
    deadline = time.monotonic() + 20
    url = None
    while url is None:
        found = re.search(r"listening on (http://\S+)", log.read_text())
        if found:
            url = found.group(1)
        elif process.poll() is not None or time.monotonic() > deadline:
            process.kill()
            pytest.fail("the endpoint did not start:\n" + log.read_text())
        else:
            time.sleep(0.05)
    yield url
    process.terminate()
    process.wait(timeout=20)


def gallery_options(**extra):
    from selenium.webdriver.common.options import ArgOptions

    options = ArgOptions()
    options.set_capability("uiremote:options", {"app": program("UIREMOTE_GALLERY"), **extra})
    return options


@pytest.fixture
def driver(endpoint):
    """A Selenium session on a gallery of its own; ended (with the gallery) after the test."""
    from selenium import webdriver

    drivers = []

    def start(**extra):
        made = webdriver.Remote(command_executor=endpoint, options=gallery_options(**extra))
        drivers.append(made)
        return made

    start.more = start
    yield start
    for made in drivers:
        try:
            made.quit()
        except Exception:  # already ended by the test
            pass


@pytest.fixture
def served_gallery(isolated_env, tmp_path):
    """The gallery served by the launcher with a token, outside any WebDriver session."""
    env = dict(isolated_env, UIREMOTE_TOKEN="t0ken-%d" % os.getpid(), QT_QUICK_BACKEND="software")
    app = Application.start([program("UIREMOTE_LAUNCH"), "--port", "{port}", "--name-from-ids", "--",
                             program("UIREMOTE_GALLERY")], env=env, log_dir=tmp_path,
                            banner=r"uiremote: listening on [0-9.]+:(\d+)", ready_timeout=60.0,
                            token=env["UIREMOTE_TOKEN"])
    app.client.window = "window"
    yield app
    app.stop()
