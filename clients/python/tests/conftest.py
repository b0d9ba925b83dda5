"""Shared fixtures of the client's end-to-end tests.

The tests run uiremote-host (path in $UIREMOTE_HOST or --uiremote-host) on the scenes under
qml/, one fresh application per test, each on its own free port.
"""

import os
import sys
from pathlib import Path

import pytest

CLIENT_DIR = Path(__file__).resolve().parents[1]
if str(CLIENT_DIR) not in sys.path:
    sys.path.insert(0, str(CLIENT_DIR))

pytest_plugins = ["uiremote.pytest.plugin", "pytester"]

QML_DIR = Path(__file__).resolve().parent / "qml"
WINDOW = "mainWindow"


@pytest.fixture
def scene(uiremote_app):
    """The controls scene, running; its client sends pointer actions to the main window."""
    app = uiremote_app(QML_DIR / "controls.qml")
    app.client.window = WINDOW
    return app


@pytest.fixture
def ui(scene):
    return scene.client


@pytest.fixture
def client_env():
    """Environment in which `python3 -m uiremote` finds this package."""
    env = dict(os.environ)
    env["PYTHONPATH"] = os.pathsep.join(filter(None, [str(CLIENT_DIR), env.get("PYTHONPATH")]))
    return env
