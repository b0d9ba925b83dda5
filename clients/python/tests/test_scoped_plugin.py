"""The pytest plugin's module- and session-scoped applications, the default window taken from
the application, and the artifacts a failing test leaves."""

import json
import os
import textwrap

import pytest

from conftest import CLIENT_DIR, QML_DIR

CONTROLS = QML_DIR / "controls.qml"


@pytest.fixture
def run_inner(pytester, monkeypatch, uiremote_host):
    monkeypatch.setenv("PYTHONPATH", os.pathsep.join(filter(None, [str(CLIENT_DIR), os.environ.get("PYTHONPATH")])))
    monkeypatch.setenv("UIREMOTE_HOST", str(uiremote_host))

    def run(*args):
        return pytester.runpytest_subprocess("-p", "no:cacheprovider", "-p", "uiremote.pytest.plugin", *args)

    return run


def test_module_app_is_shared_and_failures_leave_artifacts(pytester, run_inner, tmp_path):
    pytester.makepyfile(test_inner=textwrap.dedent("""
        import pytest
        pytestmark = pytest.mark.uiremote_qml(%r)
        PIDS = []

        def test_first(uiremote_module_app):
            PIDS.append(uiremote_module_app.process.pid)
            assert uiremote_module_app.client.window == "mainWindow"
            assert uiremote_module_app.client.click("main.button").result is True

        def test_second_fails(uiremote_module_app):
            PIDS.append(uiremote_module_app.process.pid)
            assert PIDS[0] == PIDS[1]
            assert False, "on purpose"
    """ % str(CONTROLS)))
    artifacts = tmp_path / "artifacts"
    result = run_inner("--uiremote-artifacts=%s" % artifacts)
    result.assert_outcomes(passed=1, failed=1)
    stem = "test_inner.py_test_second_fails"
    names = sorted(path.name for path in artifacts.iterdir())
    assert names == [stem + "-output.log", stem + "-screenshot.png", stem + "-trace.log", stem + "-tree.json"]
    assert (artifacts / (stem + "-screenshot.png")).read_bytes()[1:4] == b"PNG"
    assert json.loads((artifacts / (stem + "-tree.json")).read_text())["label"] == "mainWindow"
    assert "listening on" in (artifacts / (stem + "-output.log")).read_text()
    assert "RouteStack::DumpSnapshots, target found: [mainWindow]" in (artifacts / (stem + "-trace.log")).read_text()


def test_session_app_from_option(pytester, run_inner):
    pytester.makepyfile(test_inner=textwrap.dedent("""
        def test_one(uiremote_session_app):
            assert uiremote_session_app.client.get_property("main.props", "label").value == "initial"
    """))
    run_inner("--uiremote-qml=%s" % CONTROLS).assert_outcomes(passed=1)
