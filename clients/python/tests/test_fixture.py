"""The pytest plugin: starting, reporting and stopping applications under test."""

import os
import socket
import textwrap

import pytest

from uiremote import app as app_module
from uiremote.app import HOST_BANNER, Application

from conftest import CLIENT_DIR, QML_DIR

CONTROLS = QML_DIR / "controls.qml"


def alive(pid):
    try:
        os.kill(pid, 0)
    except ProcessLookupError:
        return False
    # A zombie still answers kill(pid, 0); it has ended nonetheless.
    try:
        with open("/proc/%d/stat" % pid) as stat:
            return stat.read().split(") ")[-1][:1] != "Z"
    except OSError:
        return False


@pytest.fixture
def run_inner(pytester, monkeypatch):
    """Runs the inner test file in a fresh pytest process with the plugin enabled by -p."""
    monkeypatch.setenv("PYTHONPATH", os.pathsep.join(filter(None, [str(CLIENT_DIR), os.environ.get("PYTHONPATH")])))

    def run(*args):
        return pytester.runpytest_subprocess("-p", "no:cacheprovider", "-p", "uiremote.pytest.plugin", *args)

    return run


def test_app_is_ready_and_has_a_free_port(uiremote_app):
    first = uiremote_app(CONTROLS)
    second = uiremote_app(CONTROLS)
    assert first.port != second.port
    assert first.client.connected and second.client.connected
    assert "uiremote-host: listening on %d" % first.port in first.output
    assert first.client.set_property("main.props", "label", "first")
    assert second.client.get_property("main.props", "label").value == "initial"


def test_explicit_command_with_port_placeholder(uiremote_app, uiremote_host):
    app = uiremote_app(command=[uiremote_host, CONTROLS, "--port", "{port}"], client_timeout=3.0)
    assert app.client.timeout == 3.0
    assert app.client.exists("main.button")


def test_stop_terminates_the_application(uiremote_app):
    app = uiremote_app(CONTROLS)
    assert app.running
    assert app.stop() == 0  # uiremote-host quits cleanly on SIGTERM
    assert not app.running and not app.ended_unexpectedly
    assert app.stop() == 0  # stopping twice is harmless


def test_port_taken_before_the_application_listens_is_retried(uiremote_host, monkeypatch, tmp_path):
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as blocker:
        blocker.bind(("0.0.0.0", 0))
        blocker.listen(1)
        taken = blocker.getsockname()[1]
        picks = iter([taken])
        real_free_port = app_module.free_port
        monkeypatch.setattr(app_module, "free_port", lambda host="127.0.0.1": next(picks, None) or real_free_port(host))
        app = Application.start([uiremote_host, CONTROLS, "--port", "{port}"], banner=HOST_BANNER, log_dir=tmp_path)
        try:
            assert app.port != taken
            assert app.client.exists("main.button")
        finally:
            app.stop()


def test_application_that_cannot_start_fails_the_test_with_its_output(tmp_path, uiremote_host):
    broken = tmp_path / "broken.qml"
    broken.write_text("import QtQuick 2.15\nItem { this is not QML }\n")
    with pytest.raises(Exception) as info:
        Application.start([uiremote_host, broken, "--port", "{port}"], banner=HOST_BANNER,
                          ready_timeout=20, log_dir=tmp_path)
    assert "before it was ready" in str(info.value)
    assert "broken.qml" in info.value.output


def test_uiremote_client_fixture_with_marker(pytester, run_inner, uiremote_host):
    pytester.makepyfile(test_inner=textwrap.dedent("""
        import pytest

        @pytest.mark.uiremote_qml(%r)
        def test_click(uiremote_client):
            uiremote_client.window = "mainWindow"
            assert uiremote_client.click("main.button")
            assert uiremote_client.get_property("main.button", "clicks").value == 1
    """ % str(CONTROLS)))
    result = run_inner("--uiremote-host", uiremote_host)
    result.assert_outcomes(passed=1)


def test_failed_test_gets_the_output_and_the_application_is_stopped(pytester, run_inner, uiremote_host, tmp_path):
    pid_file = tmp_path / "pid"
    pytester.makepyfile(test_inner=textwrap.dedent("""
        def test_fails(uiremote_app):
            app = uiremote_app(%r)
            open(%r, "w").write(str(app.process.pid))
            assert app.client.get_property("main.props", "label").value == "something else"
    """ % (str(CONTROLS), str(pid_file))))
    result = run_inner("--uiremote-host", uiremote_host)
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines(["*uiremote application output*", "*uiremote-host: listening on*"])
    assert not alive(int(pid_file.read_text()))


def test_missing_host_fails_instead_of_skipping(pytester, run_inner, monkeypatch):
    pytester.makepyfile(test_inner=textwrap.dedent("""
        def test_needs_host(uiremote_app):
            uiremote_app("scene.qml")
    """))
    monkeypatch.setenv("UIREMOTE_HOST", str(pytester.path / "no-such-host"))
    result = run_inner()
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines(["*uiremote-host not found*"])


def test_crashed_application_fails_the_test(pytester, run_inner, uiremote_host):
    pytester.makepyfile(test_inner=textwrap.dedent("""
        import signal

        def test_app_dies(uiremote_app):
            app = uiremote_app(%r)
            app.process.send_signal(signal.SIGKILL)
            app.process.wait(timeout=10)
    """ % str(CONTROLS)))
    result = run_inner("--uiremote-host", uiremote_host)
    result.assert_outcomes(passed=1, errors=1)
    result.stdout.fnmatch_lines(["*ended unexpectedly with status -9*"])

