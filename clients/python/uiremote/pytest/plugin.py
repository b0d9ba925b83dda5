"""pytest fixtures that run a Qt Quick application under test and connect to it.

Enable with ``pytest_plugins = ["uiremote.pytest.plugin"]`` in a conftest.py, or
``-p uiremote.pytest.plugin`` on the command line.

Fixtures:

``uiremote_host``
    Path of the uiremote-host executable: ``--uiremote-host``, else $UIREMOTE_HOST, else
    ``uiremote-host`` on PATH.  A test that needs it fails (it is not skipped) when none exists.

``uiremote_app``
    A factory: ``uiremote_app(qml, *args, command=None, port=None, env=None, ...)`` starts
    ``uiremote-host <qml> <args> --port <free port>`` (or ``command``, a list in which "{port}" is
    replaced) headless, waits until it prints its ready line (``banner``, a regular expression;
    default :data:`uiremote.app.READY_LINE`, "" to wait for a connection alone) and can be
    connected to, and returns an :class:`uiremote.app.Application`
    whose ``client`` is connected.  Every application started is stopped after the test
    (terminated, then killed after a grace period).  If a test fails, each application's output
    is attached to its report; an application that ended by itself with a failure status fails
    the test at teardown.

``uiremote_qml``
    The scene for ``uiremote_client``: the argument of the ``uiremote_qml`` marker (relative
    paths are taken from the test file's directory); override the fixture to choose otherwise.

``uiremote_client``
    A connected :class:`uiremote.Client` of the test's ``uiremote_program`` marker (a compiled
    program, see :mod:`uiremote.pytest.programs`), else of ``uiremote_app(uiremote_qml)``.

Every application started here records the remote control's trace in a file of its own, through
the log library (``--uiremote-log-library``, $UIREMOTE_LOG_LIBRARY, else ../lib beside the host
or launcher) at UIREMOTE_LOG_SEVERITY 3 unless the environment sets it.
"""

import os
from pathlib import Path

import pytest

from ..app import READY_LINE, Application, find_host, host_command
from ..errors import UIRemoteAppError
from ..launch import find_log_library
from . import programs
from .programs import uiremote_launch, uiremote_program_app  # noqa: F401  (fixtures of this plugin)
from .scoped import (  # noqa: F401  (fixtures of this plugin)
    APPS_USED,
    _uiremote_scoped_apps,
    default_window,
    function_apps,
    save_artifacts,
    stop_all,
    uiremote_module_app,
    uiremote_session_app,
)


def pytest_addoption(parser):
    group = parser.getgroup("uiremote", "UI remote control")
    group.addoption(
        "--uiremote-host",
        action="store",
        default=None,
        metavar="PATH",
        help="uiremote-host executable (default: $UIREMOTE_HOST, then PATH).",
    )
    group.addoption("--uiremote-qml", action="store", default=None, metavar="FILE",
                    help="Scene of the session-scoped application (uiremote_session_app).")
    group.addoption("--uiremote-artifacts", action="store", default=None, metavar="DIR",
                    help="Where failing tests leave screenshot, tree and trace log.")
    group.addoption(
        "--uiremote-ready-timeout",
        action="store",
        type=float,
        default=30.0,
        metavar="SECONDS",
        help="How long an application under test may take to start listening (default 30).",
    )
    programs.add_options(group)


def pytest_configure(config):
    config.addinivalue_line(
        "markers",
        "uiremote_qml(path, *args): scene (and extra uiremote-host arguments) for uiremote_client.",
    )
    programs.configure(config)


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    outcome = yield
    report = outcome.get_result()
    if not report.failed:
        return
    apps = list(function_apps(item)) + list(item.stash.get(APPS_USED, []))
    for app in apps:
        output = app.output
        title = "uiremote application output: %s" % app.describe()
        report.sections.append((title, output if output else "(no output)"))
    if apps and call.when == "call":
        saved = save_artifacts(item, apps)
        report.sections.append(("uiremote artifacts", "\n".join(saved)))


@pytest.fixture(scope="session")
def uiremote_host(pytestconfig):
    explicit = pytestconfig.getoption("--uiremote-host")
    host = find_host(explicit)
    if host is None:
        wanted = explicit or os.environ.get("UIREMOTE_HOST") or "uiremote-host on PATH"
        pytest.fail("uiremote-host not found (%s); set UIREMOTE_HOST or --uiremote-host" % wanted, pytrace=False)
    return host


@pytest.fixture
def uiremote_app(request, tmp_path_factory):
    apps = []
    log_dir = tmp_path_factory.mktemp("uiremote-logs")
    ready_timeout = request.config.getoption("--uiremote-ready-timeout")

    def start(qml=None, *args, command=None, port=None, env=None, cwd=None, banner=None,
              ready_timeout=ready_timeout, client_timeout=10.0, connect=True):
        if command is None:
            if qml is None:
                raise TypeError("uiremote_app() needs a QML file or a command")
            host = request.getfixturevalue("uiremote_host")
            command = host_command(host, _resolve(request, qml), args)
        else:
            command = [str(part) for part in command]
        if banner is None:
            banner = READY_LINE
        log_library = find_log_library(request.config.getoption("--uiremote-log-library"), near=[command[0]])
        try:
            app = Application.start(
                command, port=port, env=env, cwd=cwd, log_dir=log_dir, banner=banner,
                ready_timeout=ready_timeout, client_timeout=client_timeout, connect=connect,
                trace=True, log_library=log_library,
            )
        except UIRemoteAppError as error:
            pytest.fail("%s\n--- application output ---\n%s" % (error, error.output), pytrace=False)
        apps.append(app)
        function_apps(request.node).append(app)
        return app

    yield start
    stop_all(apps)


def _resolve(request, qml):
    path = Path(qml)
    if not path.is_absolute():
        test_file = getattr(request, "path", None) or Path(str(request.node.fspath))
        beside = Path(test_file).parent / path
        if beside.exists():
            return str(beside)
    return str(path)


@pytest.fixture
def uiremote_qml(request):
    marker = request.node.get_closest_marker("uiremote_qml")
    if marker is None or not marker.args:
        pytest.fail("uiremote_client needs a scene: use @pytest.mark.uiremote_qml(path) or override "
                    "the uiremote_qml fixture", pytrace=False)
    return marker.args


@pytest.fixture
def uiremote_client(request, uiremote_app):
    call = programs.marker_call(request.node)
    if call is not None:
        program, args, keywords = call
        return request.getfixturevalue("uiremote_launch")(program, *args, **keywords).client
    uiremote_qml = request.getfixturevalue("uiremote_qml")
    if isinstance(uiremote_qml, (str, os.PathLike)):
        uiremote_qml = (uiremote_qml,)
    app = uiremote_app(*uiremote_qml)
    return default_window(app).client
