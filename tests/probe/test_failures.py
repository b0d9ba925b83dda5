"""The probe in programs it cannot serve: one clear line, and the program runs on untouched."""

import os
import re
import socket
import subprocess

import pytest

from conftest import PROBE_BANNER, program


def qt_version_line(program_version):
    """The probe's line for a program whose Qt it cannot serve."""
    probe_version = os.environ.get("UIREMOTE_PROBE_QT_VERSION")
    return r"uiremote: giving up: (.*) uses Qt %s; the probe was built with Qt %s\n" % (
        re.escape(program_version), re.escape(probe_version) if probe_version else r"\d+\.\d+\.\d+")


def probe_lines(output):
    return [line for line in output.splitlines() if line.startswith("uiremote:")]


def test_program_without_a_quick_window_gives_up_after_the_wait(run_until_line):
    app, match = run_until_line([program("UIREMOTE_LAUNCH"), "--wait", "1", "--", program("UIREMOTE_PROBE_TARGET"), "gui"],
                                r"uiremote: giving up.*\n")
    assert match is not None, app.output
    assert probe_lines(app.output) == ["uiremote: giving up: no Qt Quick window within 1 s"]
    assert app.running


def test_root_name_that_never_appears_gives_up(run_until_line):
    app, match = run_until_line([program("UIREMOTE_LAUNCH"), "--wait", "1", "--root", "nowhere", "--",
                                 program("UIREMOTE_PROBE_TARGET"), "view"], r"uiremote: giving up.*\n")
    assert match is not None, app.output
    assert probe_lines(app.output) == ["uiremote: giving up: no Qt Quick root named nowhere within 1 s"]
    assert app.running


def test_core_application_only_gives_up_at_once(run_until_line):
    app, match = run_until_line([program("UIREMOTE_LAUNCH"), "--", program("UIREMOTE_PROBE_TARGET"), "core"],
                                r"uiremote: giving up.*\n")
    assert match is not None, app.output
    assert probe_lines(app.output) == [
        "uiremote: giving up: the program has no QGuiApplication, so no Qt Quick scene"]
    assert app.running


def test_port_taken_gives_up_and_the_program_runs_on(run_until_line):
    with socket.socket() as taken:
        taken.bind(("127.0.0.1", 0))
        taken.listen(1)
        port = taken.getsockname()[1]
        app, match = run_until_line([program("UIREMOTE_LAUNCH"), "--port", str(port), "--",
                                     program("UIREMOTE_PROBE_TARGET"), "view"], r"uiremote: giving up.*\n")
        assert match is not None, app.output
        assert probe_lines(app.output) == [
            "uiremote: giving up: cannot listen on 127.0.0.1:%d (The bound address is already in use)" % port]
        assert app.running


def test_scene_loaded_after_an_event_loop_turn_is_served(launch):
    app = launch([program("UIREMOTE_PROBE_TARGET"), "view"], ["--name-from-ids"])
    ui = app.client
    assert ui.click("tapArea", window="top").result is True
    assert ui.get_property("top", "taps").value == 1


def test_children_of_the_program_start_without_the_probe(launch):
    app = launch([program("UIREMOTE_PROBE_TARGET"), "fork"], ["--name-from-ids"])
    assert app.wait_for_output(r"child LD_PRELOAD=\[.*\]\n", timeout=30)
    assert "child LD_PRELOAD=[]" in app.output
    assert app.wait_for_output(r"forked child done\n", timeout=30)
    assert app.client.get_property("top", "taps").value == 0
    assert len(probe_lines(app.output)) == 1, app.output


def test_program_built_with_an_older_qt_is_left_alone(isolated_env):
    old_version = os.environ.get("UIREMOTE_OLD_QT_VERSION", "")
    env = dict(os.environ, **isolated_env, LD_PRELOAD=program("UIREMOTE_PROBE"))
    done = subprocess.run([program("UIREMOTE_OLD_QT_PROGRAM")], env=env, capture_output=True, timeout=60)
    assert done.returncode == 0
    assert done.stdout.decode() == "running with Qt %s\n" % old_version
    assert re.fullmatch(qt_version_line(old_version), done.stderr.decode()), done.stderr


def test_program_without_qt_passes_the_preload_on(isolated_env):
    done = subprocess.run([program("UIREMOTE_LAUNCH"), "--", "sh", "-c", 'echo "[$LD_PRELOAD]"'],
                          env=dict(os.environ, **isolated_env), capture_output=True, timeout=60)
    assert done.returncode == 0
    assert done.stdout.decode() == "[%s]\n" % program("UIREMOTE_PROBE")
    # Nothing at start, as the program might still load Qt; at most one line at its end (a shell
    # that leaves through _exit ends silently).
    assert re.fullmatch(r"(uiremote: \S+ ends without having loaded Qt \(the preload passed on to the programs it started\)\n)?",
                        done.stderr.decode()), done.stderr


def test_program_of_the_other_qt_major_is_left_alone(isolated_env):
    other = program("UIREMOTE_OTHER_QT_PROGRAM")
    env = dict(os.environ, **isolated_env, LD_PRELOAD=program("UIREMOTE_PROBE"))
    done = subprocess.run([other], env=env, capture_output=True, timeout=60)
    assert done.returncode == 0
    printed = re.fullmatch(r"running with Qt ((\d+)\.\d+\.\d+)\n", done.stdout.decode())
    assert printed, done.stdout
    version, major = printed.groups()
    assert major != os.environ.get("UIREMOTE_QT_MAJOR"), "the program runs the probe's own Qt major"
    assert re.fullmatch(qt_version_line(version), done.stderr.decode()), done.stderr


def test_next_window_is_served_once_the_splash_is_gone(launch):
    app = launch([program("UIREMOTE_PROBE_TARGET"), "splash"], ["--name-from-ids"])
    ui = app.client
    assert ui.get_property("splash", "width").value == 120
    assert ui.click("splashArea", window="splash").result is True
    assert app.wait_for_output(r"uiremote: the served window is gone; serving the next one \(top\)\n", timeout=30), \
        app.output
    assert ui.click("tapArea", window="top").result is True
    assert ui.get_property("top", "taps").value == 1
    assert probe_lines(app.output)[1:] == ["uiremote: the served window is gone; serving the next one (top)"]


def test_blank_listen_address_gives_up(run_until_line):
    for blank in (" ", "\t"):
        app, match = run_until_line([program("UIREMOTE_LAUNCH"), "--", program("UIREMOTE_PROBE_TARGET"), "view"],
                                    r"uiremote: (giving up|listening).*\n", env={"UIREMOTE_LISTEN": blank})
        assert match is not None, app.output
        assert probe_lines(app.output) == [
            "uiremote: giving up: UIREMOTE_LISTEN is blank; set an address such as 127.0.0.1 or unset it"]
        assert app.running
