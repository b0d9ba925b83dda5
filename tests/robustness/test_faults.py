"""Faults a test or a careless client can provoke in uiremote-host, each a named case.

Every case runs its own uiremote-host on tests/qml/faults.qml, with the trace log library found
(LD_LIBRARY_PATH), so that the application's log lines appear in its output, and checks that the
application neither crashes, nor grows without bound, nor spins:

- the root deleted by a client, then more messages (with --name-from-ids);
- the root deleted by a client, then SIGTERM (with --screenshot);
- a client that never reads large replies: the process's VmRSS stays bounded;
- no file descriptor left for new clients: the CPU time the process spends meanwhile stays
  small, and it accepts again once descriptors are free;
- many idle connections: the one active client is still answered correctly.

Measured figures are printed in the "robustness figures" block at the end of the run.
"""

import json
import os
import socket
import subprocess
import time
from pathlib import Path

import pytest

from conftest import Connection, memory_kib
from uiremote.app import HOST_BANNER

SCENE = Path(__file__).resolve().parents[1] / "qml" / "faults.qml"
ROOT = "faultWindow"
LABEL = b'{"getpro":{"objname":"faultWindow","property":"label"}}'
CLOCK_TICKS = os.sysconf("SC_CLK_TCK")


def host_env(**extra):
    """Extension mode on (as uiremote-host runs by default) and the trace log library found."""
    env = {"UIREMOTE_EXTENSIONS": "1", "UIREMOTE_LOG_SEVERITY": "2"}
    host = os.environ.get("UIREMOTE_HOST")
    if host:
        env["LD_LIBRARY_PATH"] = str(Path(host).resolve().parent.parent / "lib")
    env.update(extra)
    return env


def ctl(word, args):
    return json.dumps({word: args}, separators=(",", ":")).encode()


def cpu_seconds(pid):
    """User and system CPU time the process has used, in seconds."""
    with open("/proc/%d/stat" % pid) as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / CLOCK_TICKS


def ended_by_signal(app):
    code = app.process.poll()
    return code is not None and code < 0


@pytest.fixture
def start(uiremote_app):
    opened = []

    def run(*args, env=None, command=None):
        if command is None:
            application = uiremote_app(SCENE, *args, env=host_env(**(env or {})))
        else:
            application = uiremote_app(command=command, banner=HOST_BANNER, env=host_env(**(env or {})))
        application.opened = opened
        return application

    yield run
    for conn in opened:
        conn.close()


def connect(app, timeout=10.0):
    conn = Connection(app.port, timeout)
    app.opened.append(conn)
    return conn



def logged(app):
    """The library's log lines: its trace file when the fixture keeps one, else its output."""
    return app.output + app.trace

def test_name_from_ids_after_the_root_is_deleted(start):
    app = start("--name-from-ids")
    conn = connect(app)
    assert conn.exchange(LABEL).value == "plain"
    assert conn.exchange(ctl("invoke", {"objname": ROOT, "method": "deleteLater"})).result is True
    # The root is gone: searches find nothing, and the application goes on answering.
    for _ in range(3):
        reply = conn.exchange(LABEL)
        assert reply.result is False
    assert conn.exchange(ctl("getwinname", {"objname": "stage"})).result is False
    assert app.running, app.output


def test_screenshot_at_exit_after_the_window_is_deleted(start, tmp_path):
    shot = tmp_path / "shot.png"
    app = start("--screenshot", str(shot))
    conn = connect(app)
    assert conn.exchange(ctl("invoke", {"objname": ROOT, "method": "deleteLater"})).result is True
    assert conn.exchange(LABEL).result is False  # the deletion has happened
    app.stop()  # SIGTERM
    code = app.process.returncode
    assert code == 1, "status %s:\n%s" % (code, app.output)  # 1: no image to save, no crash
    assert "could not save %s (the window is gone)" % shot in app.output
    assert not shot.exists()


def test_client_that_does_not_read_keeps_memory_bounded(start, figures):
    """300 replies of 4 MB each (1.2 GB) to a client that reads none of them."""
    app = start()
    pid = app.process.pid
    probe = connect(app)
    assert probe.exchange(LABEL).value == "plain"
    before = memory_kib(pid)["VmRSS"]

    silent = socket.create_connection(("127.0.0.1", app.port), timeout=10)
    silent.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    request = ctl("invokeret", {"objname": ROOT, "method": "blob", "mthargs": [4000000]})
    started = time.monotonic()
    peak = before
    try:
        for _ in range(30):  # writes small enough to arrive whole
            silent.sendall(request * 10)
        # Until the application gives up on the client, its memory must stay bounded; it gives up
        # within 64 MiB of unread replies (about 17 of them).
        deadline = started + 60
        while "client does not read its replies" not in logged(app):
            assert app.running, app.output
            peak = max(peak, memory_kib(pid)["VmRSS"])
            assert peak - before < 300 * 1024, "VmRSS grew by %d KiB" % (peak - before)
            assert time.monotonic() < deadline, "the client was not disconnected within 60 s"
            time.sleep(0.05)
        elapsed = time.monotonic() - started
        assert probe.exchange(LABEL, timeout=60).value == "plain"
        status = memory_kib(pid)
    finally:
        silent.close()
    grown = status["VmHWM"] - before
    figures("VmRSS before / after / peak (KiB)", "%d / %d / %d" % (before, status["VmRSS"], status["VmHWM"]))
    figures("disconnected after", "%.2f s" % elapsed)
    assert app.running, app.output
    assert grown < 300 * 1024, "the peak grew by %d KiB" % grown
    assert logged(app).count("client does not read its replies") == 1, logged(app)


def test_out_of_file_descriptors_does_not_spin(start, uiremote_host, figures):
    """Far more clients than descriptors: the host stops accepting for a while instead of
    trying again at once, logs it once, and accepts again when descriptors are free."""
    app = start(command=["prlimit", "--nofile=64:64", uiremote_host, SCENE, "--port", "{port}"])
    pid = app.process.pid
    clients = []
    try:
        for _ in range(80):  # more than the 64 descriptors; the rest wait in the listen backlog
            sock = socket.socket()
            sock.settimeout(2)
            try:
                sock.connect(("127.0.0.1", app.port))
            except OSError:
                sock.close()
                break
            clients.append(sock)
        # Wait until the host has run out (it logs that), then measure its CPU time for a second.
        deadline = time.monotonic() + 10
        while "accepting a client failed" not in logged(app) and time.monotonic() < deadline:
            time.sleep(0.05)
        first = cpu_seconds(pid)
        window = time.monotonic()
        time.sleep(1.0)  # a measuring interval, not a wait for something to happen
        used = cpu_seconds(pid) - first
        interval = time.monotonic() - window
        figures("clients opened", str(len(clients)))
        figures("CPU while out of descriptors", "%.2f s in %.2f s" % (used, interval))
        assert app.running, app.output
        assert logged(app).count("accepting a client failed") == 1, logged(app)
        assert used < 0.25 * interval, "%.2f s of CPU in %.2f s" % (used, interval)
    finally:
        for sock in clients:
            sock.close()
    # Descriptors are free again: a new client is accepted and answered.
    conn = connect(app, timeout=15)
    assert conn.exchange(LABEL, timeout=15).value == "plain"


def test_many_idle_connections_do_not_change_the_answers(start, figures):
    app = start()
    idle = []
    try:
        for _ in range(1000):
            idle.append(socket.create_connection(("127.0.0.1", app.port), timeout=10))
        conn = connect(app)
        started = time.monotonic()
        for number in range(200):
            request = ctl("setpro", {"objname": ROOT, "property": "created", "propval": number})
            assert conn.exchange(request).result is True
            assert conn.exchange(ctl("getpro", {"objname": ROOT, "property": "created"})).value == number
        figures("400 messages beside 1,000 idle connections", "%.2f s" % (time.monotonic() - started))
    finally:
        for sock in idle:
            sock.close()
    assert app.running, app.output


@pytest.mark.parametrize("blank", [" ", "\t", ""], ids=["space", "tab", "empty"])
def test_blank_listen_address_is_refused(uiremote_host, blank):
    """A blank --listen is no address: the host says so in one line instead of listening everywhere."""
    done = subprocess.run([uiremote_host, "--port", "0", "--listen", blank, str(SCENE)], capture_output=True,
                          text=True, timeout=60, env={**os.environ, **host_env()})
    assert done.returncode == 2
    own = [line for line in done.stderr.splitlines() if line.startswith("uiremote-host:")]  # not Qt's warnings
    assert own == ["uiremote-host: --listen is blank: give an address such as 127.0.0.1"]
    assert "listening" not in done.stdout
