"""Module- and session-scoped applications for the uiremote pytest plugin, the default window
taken from the application, and what a failing test leaves behind (screenshot, tree, trace).

``uiremote_module_app`` / ``uiremote_session_app``
    One application for all tests of a module (of the session): the scene comes from the
    module's ``pytestmark = pytest.mark.uiremote_qml("Main.qml")`` (session: the
    ``--uiremote-qml`` option).  Its client's default window is the root window's name.

On a failing test that used an application, ``<test>-screenshot.png``, ``<test>-tree.json`` and
``<test>-trace.log`` are written to ``--uiremote-artifacts`` (default: ``uiremote-artifacts``
beside the JUnit report when there is one, else in the current directory).
"""

import json
import os
import re
from pathlib import Path

import pytest

from ..app import HOST_BANNER, Application, host_command
from ..errors import UIRemoteAppError, UIRemoteError

APPS_USED = pytest.StashKey()


def default_window(app):
    """Sets the client's default window to the root window's object name, when it has one."""
    try:
        root = app.client.tree(depth=0)
    except UIRemoteError:
        return app
    if root.get("type", "").endswith("Window") and root.get("path"):
        app.client.window = root["label"]
    return app


def _start(request, factory, qml, args):
    host = request.getfixturevalue("uiremote_host")
    try:
        app = Application.start(host_command(host, str(qml), args), log_dir=factory.mktemp("uiremote-logs"),
                                banner=HOST_BANNER,
                                ready_timeout=request.config.getoption("--uiremote-ready-timeout"))
    except UIRemoteAppError as error:
        pytest.fail("%s\n--- application output ---\n%s" % (error, error.output), pytrace=False)
    return default_window(app)


def _scene_of(node):
    marker = node.get_closest_marker("uiremote_qml")
    if marker is None or not marker.args:
        pytest.fail("a scoped uiremote application needs pytest.mark.uiremote_qml(path) on the module",
                    pytrace=False)
    qml = Path(marker.args[0])
    if not qml.is_absolute():
        qml = Path(str(node.fspath)).parent / qml
    return qml, marker.args[1:]


@pytest.fixture(scope="module")
def uiremote_module_app(request, tmp_path_factory):
    qml, args = _scene_of(request.node)
    app = _start(request, tmp_path_factory, qml, args)
    yield app
    app.stop()


@pytest.fixture(scope="session")
def uiremote_session_app(request, tmp_path_factory):
    qml = request.config.getoption("--uiremote-qml")
    if not qml:
        pytest.fail("uiremote_session_app needs --uiremote-qml", pytrace=False)
    app = _start(request, tmp_path_factory, qml, ())
    yield app
    app.stop()


@pytest.fixture(autouse=True)
def _uiremote_scoped_apps(request):
    """Remembers the scoped applications a test uses, for its failure artifacts."""
    used = [request.getfixturevalue(name) for name in ("uiremote_module_app", "uiremote_session_app")
            if name in request.fixturenames]
    request.node.stash[APPS_USED] = used
    yield


def artifacts_dir(config):
    chosen = config.getoption("--uiremote-artifacts")
    if chosen:
        return Path(chosen)
    junit = config.getoption("xmlpath", None)
    return (Path(junit).resolve().parent if junit else Path.cwd()) / "uiremote-artifacts"


def save_artifacts(item, apps):
    """Screenshot, tree and trace log of each running application, named after the test."""
    target = artifacts_dir(item.config)
    target.mkdir(parents=True, exist_ok=True)
    stem = re.sub(r"[^A-Za-z0-9_.-]+", "_", item.nodeid)
    saved = []
    for number, app in enumerate(apps):
        base = target / ("%s%s" % (stem, "-%d" % number if number else ""))
        (base.parent / (base.name + "-trace.log")).write_text(app.output or "")
        saved.append(str(base) + "-trace.log")
        if not app.running or app.client is None:
            continue
        try:
            client = app.new_client()
            with client:
                tree = client.tree()
                (base.parent / (base.name + "-tree.json")).write_text(json.dumps(tree, indent=1))
                saved.append(str(base) + "-tree.json")
                client.save_screenshot(str(base) + "-screenshot.png")
                saved.append(str(base) + "-screenshot.png")
        except (UIRemoteError, OSError) as error:
            saved.append("(could not take more: %s)" % error)
    return saved
