"""Module- and session-scoped applications for the uiremote pytest plugin, the default window
taken from the application, and what a failing test leaves behind (screenshot, tree, trace).

``uiremote_module_app`` / ``uiremote_session_app``
    One application for all tests of a module (of the session): a compiled program from the
    module's ``pytestmark = pytest.mark.uiremote_program("build/bin/app", ...)`` (session: the
    ``--uiremote-program`` option), else the scene of ``pytest.mark.uiremote_qml("Main.qml")``
    (session: ``--uiremote-qml``).  Its client's default window is the one the application shows.

On a failing test that used an application, ``<test>-screenshot.png``, ``<test>-tree.json``,
``<test>-trace.log`` (the remote control's trace) and ``<test>-output.log`` (the application's
own output) are written to ``--uiremote-artifacts`` (default: ``uiremote-artifacts`` beside the
JUnit report when there is one, else in the current directory).  Under pytest-xdist every worker
writes there, each file named after its test.
"""

import json
import os
import re
from pathlib import Path

import pytest

from ..app import READY_LINE, Application, host_command
from ..errors import UIRemoteAppError, UIRemoteError
from ..launch import find_log_library

APPS_USED = pytest.StashKey()
_FUNCTION_APPS = pytest.StashKey()


def function_apps(item):
    """The applications a test started itself (uiremote_app, uiremote_launch)."""
    return item.stash.setdefault(_FUNCTION_APPS, [])


def stop_all(apps):
    """Stops the applications a fixture started; fails the test when one of them ended on its own."""
    problems = []
    for app in apps:
        if app.ended_unexpectedly:
            problems.append("%s ended unexpectedly with status %s\n--- application output ---\n%s"
                            % (app.describe(), app.process.returncode, app.output))
        app.stop()
    if problems:
        pytest.fail("\n\n".join(problems), pytrace=False)


def window_name(client):
    """The name that finds the window the application shows (None when it shows none).

    A window with an object name is found by it; for any other window (a QQuickView's, an
    ApplicationWindow without a name) the application answers a name that finds it."""
    try:
        root = client.tree(depth=1)
    except UIRemoteError:
        return None
    window = root.get("type", "").endswith("Window")
    if window and root.get("label") and root.get("path") == root.get("label"):
        return root["label"]
    targets = [child.get("path") for child in root.get("children", [])] if window else [""]
    for target in targets:
        if target is None:
            continue
        try:
            reply = client.get_window_name(target)
        except UIRemoteError:
            continue
        if reply.result and reply.value:
            return reply.value
    return None


def default_window(app):
    """Sets the client's default window to the window the application shows, when it shows one."""
    name = window_name(app.client)
    if name:
        app.client.window = name
    return app


def _start(request, factory, qml, args):
    host = request.getfixturevalue("uiremote_host")
    try:
        app = Application.start(host_command(host, str(qml), args), log_dir=factory.mktemp("uiremote-logs"),
                                banner=READY_LINE, trace=True,
                                log_library=find_log_library(request.config.getoption("--uiremote-log-library"),
                                                             near=[host]),
                                ready_timeout=request.config.getoption("--uiremote-ready-timeout"))
    except UIRemoteAppError as error:
        pytest.fail("%s\n--- application output ---\n%s" % (error, error.output), pytrace=False)
    return default_window(app)


def _start_program(factory, config, call):
    from .programs import start_program

    program, args, keywords = call
    return start_program(config, factory.mktemp("uiremote-logs"), program, *args, **keywords)


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
    from .programs import marker_call

    call = marker_call(request.node)
    if call is not None:
        app = _start_program(tmp_path_factory, request.config, call)
    else:
        qml, args = _scene_of(request.node)
        app = _start(request, tmp_path_factory, qml, args)
    yield app
    app.stop()


@pytest.fixture(scope="session")
def uiremote_session_app(request, tmp_path_factory):
    from .programs import session_call

    call = session_call(request.config)
    qml = request.config.getoption("--uiremote-qml")
    if call is not None:
        app = _start_program(tmp_path_factory, request.config, call)
    elif qml:
        app = _start(request, tmp_path_factory, qml, ())
    else:
        pytest.fail("uiremote_session_app needs --uiremote-program or --uiremote-qml", pytrace=False)
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
    """Screenshot, tree, trace and output of each application, named after the test."""
    target = artifacts_dir(item.config)
    target.mkdir(parents=True, exist_ok=True)
    stem = re.sub(r"[^A-Za-z0-9_.-]+", "_", item.nodeid)
    saved = []
    for number, app in enumerate(apps):
        base = target / ("%s%s" % (stem, "-%d" % number if number else ""))
        for suffix, text in (("-trace.log", app.trace), ("-output.log", app.output)):
            (base.parent / (base.name + suffix)).write_text(text or "")
            saved.append(str(base) + suffix)
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
