"""Starting and stopping an application under test.

    app = Application.start(["uiremote-host", "scene.qml", "--port", "{port}"])
    try:
        app.client.click("main.okButton", window="mainWindow")
    finally:
        app.stop()

The command may hold "{port}", replaced by the port the application is to listen on (a free
one unless given).  The application's standard output and error go to one log file, readable
at any time through :attr:`Application.output`.
"""

import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time

from .client import Client
from .errors import UIRemoteAppError, UIRemoteConnectionError
from .launch import trace_environment

__all__ = ["Application", "free_port", "find_host", "host_command", "listening_addresses", "READY_LINE",
           "HOST_BANNER"]

#: The line an application prints once clients can connect; group 1 is the port.  uiremote-host
#: prints "uiremote-host: listening on 34541", the probe (under the launcher) "uiremote: listening
#: on 127.0.0.1:34541".
READY_LINE = r"uiremote(?:-host)?: listening on (?:[0-9a-fA-F.:]*[.:])?(\d+)(?![\d.:])"
#: The former name of :data:`READY_LINE`.
HOST_BANNER = READY_LINE

_POLL_INTERVAL = 0.05


def free_port(host="127.0.0.1"):
    """A TCP port that nothing listens on right now (the system picks it)."""
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as sock:
        sock.bind((host, 0))
        return sock.getsockname()[1]


def _port_taken(host, port):
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as sock:
        try:
            sock.bind((host, port))
        except OSError:
            return True
    return False


def listening_addresses(port):
    """The local addresses (as /proc/net/tcp writes them: "0100007F" is 127.0.0.1, "00000000"
    any IPv4 address) of the sockets listening on TCP ``port`` on this Linux machine."""
    found = set()
    for table in ("/proc/net/tcp", "/proc/net/tcp6"):
        try:
            with open(table) as rows:
                next(rows)
                for row in rows:
                    fields = row.split()
                    address, hexport = fields[1].split(":")
                    if int(hexport, 16) == port and fields[3] == "0A":  # LISTEN
                        found.add(address)
        except OSError:
            pass
    return found


def find_host(explicit=None):
    """The uiremote-host executable: ``explicit``, else $UIREMOTE_HOST, else the one on PATH.
    Returns None when there is none."""
    for candidate in (explicit, os.environ.get("UIREMOTE_HOST")):
        if candidate:
            return os.path.abspath(candidate) if os.path.exists(candidate) else None
    return shutil.which("uiremote-host")


def host_command(host, qml, args=()):
    """The command line that serves ``qml`` with uiremote-host on "{port}"."""
    return [str(host), str(qml), *[str(arg) for arg in args], "--port", "{port}"]


def _headless_environment(env, headless=True):
    """This process's environment with ``env`` on top; headless (offscreen platform, software
    scene graph) unless the environment or ``env`` chooses a platform, or ``headless`` is false."""
    merged = dict(os.environ)
    env = {key: str(value) for key, value in (env or {}).items()}
    if headless:
        merged.setdefault("QT_QPA_PLATFORM", env.get("QT_QPA_PLATFORM", "offscreen"))
        if env.get("QT_QPA_PLATFORM", merged["QT_QPA_PLATFORM"]) == "offscreen":
            merged.setdefault("QT_QUICK_BACKEND", "software")
    merged.update(env)
    return merged


class Application:
    """One running application under test and a client connected to it."""

    def __init__(self, command, port, process, log_path, host="127.0.0.1", token=None, trace_path=None):
        self.command = command
        self.trace_path = trace_path
        self.token = token
        self.port = port
        self.host = host
        self.process = process
        self.log_path = log_path
        self.client = None
        self.returncode = None
        self._stop_requested = False
        self._clients = []

    # -- start --------------------------------------------------------------------------

    @classmethod
    def start(cls, command, *, port=None, env=None, cwd=None, log_dir=None, banner=None,
              ready_timeout=30.0, client_timeout=10.0, connect=True, host="127.0.0.1", attempts=3,
              token=None, headless=True, trace=False, log_library=None):
        """Starts ``command`` and waits until it accepts connections.

        ``banner`` is a regular expression that the output must show before the application
        counts as ready (``HOST_BANNER`` for uiremote-host; None to rely on connecting alone).
        Readiness is polled until ``ready_timeout`` seconds have passed.  ``token`` is what the
        clients present first, for an application started with UIREMOTE_TOKEN.  When the port was
        picked here and the application ends before it is ready, it is tried again on another
        port (``attempts`` times in all), in case another process took the port meanwhile.

        The application runs headless (offscreen, software scene graph) unless ``headless`` is
        false or the environment names a platform.  With ``trace`` the remote control's trace goes
        to a file of its own (:attr:`trace`), through ``log_library`` (see
        :func:`uiremote.launch.find_log_library`) or one the loader finds.
        """
        picked = port is None
        for attempt in range(max(1, attempts) if picked else 1):
            app = cls._launch(command, free_port(host) if picked else int(port), env, cwd, log_dir, host,
                              headless=headless, trace=trace, log_library=log_library)
            app.token = token
            try:
                app._wait_ready(banner, ready_timeout, client_timeout, connect)
                return app
            except UIRemoteAppError:
                ended_early = app.process.poll() is not None
                app.stop()
                if not (picked and ended_early and attempt + 1 < attempts and _port_taken(host, app.port)):
                    raise
        raise AssertionError("unreachable")

    @classmethod
    def _launch(cls, command, port, env, cwd, log_dir, host, headless=True, trace=False, log_library=None):
        argv = [str(part).replace("{port}", str(port)) for part in command]
        log_dir = log_dir or tempfile.mkdtemp(prefix="uiremote-")
        fd, log_path = tempfile.mkstemp(prefix="app-%d-" % port, suffix=".log", dir=str(log_dir))
        environment = _headless_environment(env, headless)
        trace_path = None
        if trace:
            trace_fd, trace_path = tempfile.mkstemp(prefix="trace-%d-" % port, suffix=".log", dir=str(log_dir))
            os.close(trace_fd)
            trace_path = trace_environment(environment, trace_path, log_library)["UIREMOTE_LOG_FILE"]
        with os.fdopen(fd, "wb") as log:
            try:
                process = subprocess.Popen(
                    argv,
                    stdin=subprocess.DEVNULL,
                    stdout=log,
                    stderr=subprocess.STDOUT,
                    cwd=None if cwd is None else str(cwd),
                    env=environment,
                    start_new_session=True,
                )
            except OSError as error:
                raise UIRemoteAppError("cannot start %s: %s" % (argv[0], error)) from None
        return cls(argv, port, process, log_path, host, trace_path=trace_path)

    def _wait_ready(self, banner, ready_timeout, client_timeout, connect):
        deadline = time.monotonic() + ready_timeout
        pattern = re.compile(banner) if banner else None
        client = Client(self.host, self.port, timeout=client_timeout, token=self.token)
        while True:
            if self.process.poll() is not None:
                self.returncode = self.process.returncode
                raise UIRemoteAppError(
                    "%s ended with status %s before it was ready" % (self.command[0], self.returncode),
                    self.output,
                )
            announced = pattern.search(self.output) if pattern is not None else True
            if announced and pattern is not None and pattern.groups and announced.group(1) != str(self.port):
                raise UIRemoteAppError(
                    "%s listens on port %s instead of %d" % (self.command[0], announced.group(1), self.port),
                    self.output,
                )
            if announced:
                try:
                    client.connect(timeout=max(0.1, min(1.0, deadline - time.monotonic())))
                    break
                except UIRemoteConnectionError:
                    pass
            if time.monotonic() >= deadline:
                raise UIRemoteAppError(
                    "%s was not ready on port %d within %.0f s" % (self.command[0], self.port, ready_timeout),
                    self.output,
                )
            time.sleep(_POLL_INTERVAL)
        if connect:
            self.client = client
            self._clients.append(client)
        else:
            client.close()

    # -- use ----------------------------------------------------------------------------

    def new_client(self, timeout=10.0, connect=True, **kwargs):
        """Another client of the same application (closed by :meth:`stop`)."""
        kwargs.setdefault("token", self.token)
        client = Client(self.host, self.port, timeout=timeout, **kwargs)
        if connect:
            client.connect()
        self._clients.append(client)
        return client

    @property
    def output(self):
        """Everything the application wrote to its standard output and error so far."""
        try:
            with open(self.log_path, "rb") as log:
                return log.read().decode("utf-8", errors="replace")
        except OSError:
            return ""

    @property
    def trace(self):
        """What the remote control traced so far (started with ``trace``), else ""."""
        if not self.trace_path:
            return ""
        try:
            with open(self.trace_path, "rb") as log:
                return log.read().decode("utf-8", errors="replace")
        except OSError:
            return ""

    def wait_for_output(self, pattern, timeout=10.0):
        """Waits until the output matches ``pattern``; returns the match or None."""
        regex = re.compile(pattern)
        deadline = time.monotonic() + timeout
        while True:
            match = regex.search(self.output)
            if match or time.monotonic() >= deadline or self.process.poll() is not None:
                return match or regex.search(self.output)
            time.sleep(_POLL_INTERVAL)

    @property
    def running(self):
        return self.process.poll() is None

    @property
    def ended_unexpectedly(self):
        """True when the application ended by itself, with a failure status or a signal."""
        if self._stop_requested:
            return False
        status = self.process.poll()
        return status is not None and status != 0

    def describe(self):
        return "%s (port %d, pid %d)" % (" ".join(self.command), self.port, self.process.pid)

    # -- stop ---------------------------------------------------------------------------

    def stop(self, timeout=5.0):
        """Closes the clients, terminates the application, kills it after ``timeout`` seconds.
        Returns its exit status."""
        for client in self._clients:
            client.close()
        if self.process.poll() is None:
            self._stop_requested = True
            try:
                self.process.send_signal(signal.SIGTERM)
                self.process.wait(timeout=timeout)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait(timeout=timeout)
        self.returncode = self.process.returncode
        return self.returncode

    def __enter__(self):
        return self

    def __exit__(self, *exc_info):
        self.stop()
