"""The plugin's compiled-program fixtures: Debian's gallery built as a program and run through
the launcher at module, session and function scope, what a failing test leaves behind, a
QQuickView program's nameless window, parallel workers, and how launchers and ready lines are
found."""

import json
import os
import re
import subprocess
import sys
import textwrap
import time

import pytest

from conftest import CLIENT_DIR
from uiremote.app import READY_LINE, _headless_environment
from uiremote.launch import find_launcher, find_log_library, launch_command

GALLERY = os.environ.get("UIREMOTE_QT_GALLERY", "")
LAUNCH = os.environ.get("UIREMOTE_LAUNCH", "")
PROBE_TARGET = os.environ.get("UIREMOTE_PROBE_TARGET", "")

needs_gallery = pytest.mark.skipif(not (os.path.isfile(GALLERY) and os.path.isfile(LAUNCH)),
                                   reason="UIREMOTE_QT_GALLERY and UIREMOTE_LAUNCH name no built programs")


@pytest.fixture
def run_inner(pytester, monkeypatch):
    monkeypatch.setenv("PYTHONPATH", os.pathsep.join(filter(None, [str(CLIENT_DIR), os.environ.get("PYTHONPATH")])))

    def run(*args):
        return pytester.runpytest_subprocess("-p", "no:cacheprovider", "-p", "uiremote.pytest.plugin", *args)

    return run


@needs_gallery
def test_module_program_failure_leaves_screenshot_tree_and_trace(pytester, run_inner, tmp_path):
    pytester.makepyfile(test_inner=textwrap.dedent("""
        import pytest
        pytestmark = pytest.mark.uiremote_program(%r, env={"QT_QUICK_CONTROLS_STYLE": "Default"})
        PIDS = []

        def test_title(uiremote_module_app):
            PIDS.append(uiremote_module_app.process.pid)
            assert uiremote_module_app.client.window == "ApplicationWindow"
            assert uiremote_module_app.client.find(type="Label", property="text", value="Gallery")

        def test_fails_on_purpose(uiremote_module_app):
            PIDS.append(uiremote_module_app.process.pid)
            assert PIDS[0] == PIDS[1]
            assert uiremote_module_app.client.find(type="ToolButton")
            assert uiremote_module_app.client.click("noSuchButton"), "on purpose"
    """ % GALLERY))
    artifacts = tmp_path / "artifacts"
    result = run_inner("--uiremote-artifacts=%s" % artifacts)
    result.assert_outcomes(passed=1, failed=1)
    result.stdout.fnmatch_lines(["*on purpose*", "*uiremote artifacts*"])
    stem = "test_inner.py_test_fails_on_purpose"
    names = sorted(path.name for path in artifacts.iterdir())
    assert names == [stem + suffix for suffix in ("-output.log", "-screenshot.png", "-trace.log", "-tree.json")]
    assert (artifacts / (stem + "-screenshot.png")).read_bytes()[1:4] == b"PNG"
    assert json.loads((artifacts / (stem + "-tree.json")).read_text())["type"] == "ApplicationWindow"
    # The library's own trace, not the program's output: the failed search and its routes.
    trace = (artifacts / (stem + "-trace.log")).read_text()
    assert re.search(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \[2\] .*noSuchButton", trace, re.M), trace
    assert "RouteStack::DumpSnapshots, target found" in trace
    assert "uiremote: listening on 127.0.0.1:" in (artifacts / (stem + "-output.log")).read_text()


@needs_gallery
def test_session_program_from_option_runs_headless(pytester, run_inner):
    pytester.makepyfile(test_inner=textwrap.dedent("""
        def test_one(uiremote_session_app):
            assert uiremote_session_app.client.window == "ApplicationWindow"
            environ = open("/proc/%d/environ" % uiremote_session_app.process.pid).read().split("\\0")
            assert "QT_QPA_PLATFORM=offscreen" in environ and "QT_QUICK_BACKEND=software" in environ

        def test_two(uiremote_session_app):
            assert uiremote_session_app.client.find(type="Label", property="text", value="Gallery")
    """))
    run_inner("--uiremote-program=%s" % GALLERY).assert_outcomes(passed=2)


@needs_gallery
def test_function_program_marker_and_given_port(pytester, run_inner):
    from uiremote.app import free_port

    port = free_port()
    pytester.makepyfile(test_inner=textwrap.dedent("""
        import pytest

        @pytest.mark.uiremote_program(%r, port=%d, name_from_ids=True)
        def test_marker(uiremote_program_app):
            assert uiremote_program_app.port == %d
            assert uiremote_program_app.client.window == "window"

        @pytest.mark.uiremote_program(%r, name_from_ids=True)
        def test_client(uiremote_client):
            assert uiremote_client.window == "window"
            assert uiremote_client.get_property("drawer", "opened").value is False
    """ % (GALLERY, port, port, GALLERY)))
    run_inner().assert_outcomes(passed=2)


@pytest.mark.skipif(not (os.path.isfile(PROBE_TARGET) and os.path.isfile(LAUNCH)),
                    reason="UIREMOTE_PROBE_TARGET and UIREMOTE_LAUNCH name no built programs")
def test_quick_view_program_gets_a_default_window(uiremote_launch):
    app = uiremote_launch(PROBE_TARGET, "view")
    ui = app.client
    assert ui.window == "top"  # neither the window nor its root item has a name: the root's id
    assert ui.wait_for_property("{MouseArea}", "enabled", True, timeout=30)
    assert ui.click("{MouseArea}")
    assert ui.get_property("{Rectangle}", "taps").value == 1


@needs_gallery
def test_gallery_suite_on_two_workers(tmp_path):
    """The gallery suite under pytest-xdist: each worker runs a gallery of its own."""
    pytest.importorskip("xdist")
    suite = CLIENT_DIR / "tests" / "test_gallery_program.py"
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(filter(None, [str(CLIENT_DIR), os.environ.get("PYTHONPATH")])))
    started = time.monotonic()
    run = subprocess.run([sys.executable, "-m", "pytest", "-v", "-p", "no:cacheprovider", "-n", "2",
                          "--basetemp=%s" % (tmp_path / "tmp"), "--uiremote-artifacts=%s" % (tmp_path / "artifacts"),
                          str(suite)], cwd=str(tmp_path), env=env, capture_output=True, text=True, timeout=300)
    assert run.returncode == 0, run.stdout + run.stderr
    assert re.search(r"\b6 passed\b", run.stdout), run.stdout
    for worker in ("gw0", "gw1"):
        assert re.search(r"\[%s\] \[ *\d+%%\] PASSED" % worker, run.stdout), run.stdout
    print("gallery suite at -n 2: %.1f s" % (time.monotonic() - started))


def test_ready_line_of_host_and_probe():
    for line, port in (("uiremote-host: listening on 34541\n", "34541"),
                       ("uiremote: listening on 127.0.0.1:34593\n", "34593"),
                       ("uiremote: listening on ::1:4000\n", "4000"),
                       ("uiremote: listening on 0.0.0.0:1\n", "1")):
        assert re.search(READY_LINE, line).group(1) == port


def test_headless_unless_told_otherwise(monkeypatch):
    monkeypatch.delenv("QT_QPA_PLATFORM", raising=False)
    monkeypatch.delenv("QT_QUICK_BACKEND", raising=False)
    env = _headless_environment(None)
    assert (env["QT_QPA_PLATFORM"], env["QT_QUICK_BACKEND"]) == ("offscreen", "software")
    env = _headless_environment({"QT_QPA_PLATFORM": "xcb"})
    assert env["QT_QPA_PLATFORM"] == "xcb" and "QT_QUICK_BACKEND" not in env
    env = _headless_environment({}, headless=False)
    assert "QT_QPA_PLATFORM" not in env and "QT_QUICK_BACKEND" not in env


def test_launcher_of_each_qt_major_and_log_library(tmp_path, monkeypatch):
    bin_dir, lib_dir = tmp_path / "bin", tmp_path / "lib"
    bin_dir.mkdir()
    lib_dir.mkdir()
    for name in ("uiremote-launch", "uiremote-launch-qt6"):
        (bin_dir / name).write_text("#!/bin/sh\n")
        (bin_dir / name).chmod(0o755)
    (lib_dir / "libQmdxLogUtl.so").write_bytes(b"")
    monkeypatch.delenv("UIREMOTE_LAUNCH_QT6", raising=False)
    monkeypatch.delenv("UIREMOTE_LOG_LIBRARY", raising=False)
    monkeypatch.setenv("UIREMOTE_LAUNCH", str(bin_dir / "uiremote-launch"))
    assert find_launcher(5) == str(bin_dir / "uiremote-launch")
    assert find_launcher(6) == str(bin_dir / "uiremote-launch-qt6")
    assert find_log_library(near=[bin_dir / "uiremote-launch"]) == str(lib_dir / "libQmdxLogUtl.so")
    assert launch_command("L", ["python3", "app.py"], ["-x"], ["--name-from-ids"]) == [
        "L", "--port", "{port}", "--name-from-ids", "--", "python3", "app.py", "-x"]
