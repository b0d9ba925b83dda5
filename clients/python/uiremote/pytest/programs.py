"""Compiled programs (and PyQt/PySide scripts) under test, run through the launcher.

``@pytest.mark.uiremote_program(program, *args, qt=None, env=None, port=None, headless=True,
name_from_ids=False, options=(), window=None)``
    What to run: ``program`` is a path (or a list such as ``[sys.executable, "app.py"]``), ``args``
    its arguments, ``qt`` its Qt major (5: uiremote-launch, 6: uiremote-launch-qt6; default
    ``--uiremote-qt``, else $UIREMOTE_QT_MAJOR, else 5), ``env`` more environment, ``port`` a fixed
    port (default: a free one), ``headless=False`` to let it show its windows, ``name_from_ids``
    to find objects by their QML ids, ``options`` further launcher options, ``window`` the
    client's default window (default: the one the program shows first).

``uiremote_launch``
    A factory: ``uiremote_launch(program, *args, **the marker's keywords)`` starts the program,
    waits until it can be reached and returns an :class:`uiremote.app.Application` whose client
    is connected and has a default window.  Stopped after the test.

``uiremote_program_app``
    ``uiremote_launch`` of the test's ``uiremote_program`` marker, for one test.  The same marker
    on a module (``pytestmark``) makes ``uiremote_module_app`` run the program once for the module;
    ``--uiremote-program`` does so for ``uiremote_session_app``.
"""

import shlex
from pathlib import Path

import pytest

from ..app import READY_LINE, Application
from ..errors import UIRemoteAppError
from ..launch import find_launcher, find_log_library, launch_command, launcher_name, qt_major
from .scoped import default_window, function_apps, stop_all

MARKER = "uiremote_program"


def add_options(group):
    group.addoption("--uiremote-program", action="store", default=None, metavar="COMMAND",
                    help="Program (and arguments) of the session-scoped application, run through the launcher.")
    group.addoption("--uiremote-qt", action="store", default=None, choices=("5", "6"),
                    help="Qt major of the programs under test: which launcher runs them "
                         "(default: $UIREMOTE_QT_MAJOR, else 5).")
    group.addoption("--uiremote-launch", action="store", default=None, metavar="PATH",
                    help="Launcher executable (default: $UIREMOTE_LAUNCH / $UIREMOTE_LAUNCH_QT6, then PATH).")
    group.addoption("--uiremote-log-library", action="store", default=None, metavar="PATH",
                    help="The remote control's log library, for the trace a failing test leaves "
                         "(default: $UIREMOTE_LOG_LIBRARY, else ../lib beside the host or launcher).")


def configure(config):
    config.addinivalue_line(
        "markers", "uiremote_program(program, *args, qt=None, env=None, port=None, headless=True, "
                   "name_from_ids=False, options=(), window=None): a compiled program run through the launcher.")


def marker_call(node):
    """(program, args, keywords) of the node's closest ``uiremote_program`` marker, or None."""
    marker = node.get_closest_marker(MARKER)
    if marker is None:
        return None
    if not marker.args:
        pytest.fail("pytest.mark.uiremote_program needs the program to run", pytrace=False)
    program = marker.args[0]
    if isinstance(program, (str, Path)) and not Path(program).is_absolute():
        beside = Path(str(node.fspath)).parent / program
        if beside.exists():
            program = str(beside)
    return program, marker.args[1:], dict(marker.kwargs)


def session_call(config):
    """(program, args, {}) of ``--uiremote-program``, or None."""
    command = config.getoption("--uiremote-program")
    if not command:
        return None
    words = shlex.split(command)
    return words[0], tuple(words[1:]), {}


def start_program(config, log_dir, program, *args, qt=None, env=None, port=None, headless=True,
                  name_from_ids=False, options=(), window=None, launcher=None, ready_timeout=None,
                  client_timeout=10.0):
    """Runs ``program`` through the launcher of its Qt major; returns the ready Application."""
    major = qt_major(qt if qt is not None else config.getoption("--uiremote-qt"))
    chosen = launcher or config.getoption("--uiremote-launch")
    found = find_launcher(major, chosen)
    if found is None:
        pytest.fail("%s not found (%s); set UIREMOTE_LAUNCH%s or --uiremote-launch"
                    % (launcher_name(major), chosen or "not on PATH", "_QT6" if major == 6 else ""),
                    pytrace=False)
    options = list(options) + (["--name-from-ids"] if name_from_ids else [])
    command = launch_command(found, program, args, options)
    log_library = find_log_library(config.getoption("--uiremote-log-library"), near=[found])
    if ready_timeout is None:
        ready_timeout = config.getoption("--uiremote-ready-timeout")
    try:
        app = Application.start(command, port=port, env=env, log_dir=log_dir, banner=READY_LINE,
                                ready_timeout=ready_timeout, client_timeout=client_timeout,
                                headless=headless, trace=True, log_library=log_library)
    except UIRemoteAppError as error:
        pytest.fail("%s\n--- application output ---\n%s" % (error, error.output), pytrace=False)
    if window is not None:
        app.client.window = window
        return app
    return default_window(app)


@pytest.fixture
def uiremote_launch(request, tmp_path_factory):
    apps = []
    log_dir = tmp_path_factory.mktemp("uiremote-logs")

    def launch(program, *args, **keywords):
        app = start_program(request.config, log_dir, program, *args, **keywords)
        apps.append(app)
        function_apps(request.node).append(app)
        return app

    yield launch
    stop_all(apps)


@pytest.fixture
def uiremote_program_app(request, uiremote_launch):
    call = marker_call(request.node)
    if call is None:
        pytest.fail("uiremote_program_app needs @pytest.mark.uiremote_program(program, ...)", pytrace=False)
    program, args, keywords = call
    return uiremote_launch(program, *args, **keywords)
