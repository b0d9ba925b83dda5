"""Starting a program under the launcher of its Qt major and waiting for the probe to serve it.

The launcher is picked from the libraries the program links (the ELF NEEDED entries: libQt6Core
means uiremote-launch-qt6); a program that links no Qt (a script, a Python program) starts under
the Qt 5 launcher, and when the probe answers that the program uses Qt 6 it is started again
under the Qt 6 one.  Each program runs in a process group of its own, so ending a session ends
the program and everything it started.
"""

import os
import re
import secrets
import shutil
import signal
import socket
import struct
import subprocess
import sys
import threading
import time

from .errors import WebDriverError

__all__ = ["find_launcher", "qt_major_of", "Launched", "launch"]

_LISTENING = re.compile(r"uiremote: listening on (\S+):(\d+)")
_GIVING_UP = re.compile(r"uiremote: giving up: (.*)")
_OTHER_MAJOR = re.compile(r"uses Qt (\d+)\.")
_NAMES = {5: "uiremote-launch", 6: "uiremote-launch-qt6"}
_VARIABLES = {5: "UIREMOTE_LAUNCH", 6: "UIREMOTE_LAUNCH_QT6"}


def find_launcher(major, explicit=None):
    """The launcher of a Qt major: ``explicit``, else $UIREMOTE_LAUNCH (…_QT6), else the one
    beside the running ``uiremote`` command, else the one on PATH.  None when there is none."""
    for candidate in (explicit, os.environ.get(_VARIABLES[major])):
        if candidate:
            return os.path.abspath(candidate)
    beside = os.path.join(os.path.dirname(os.path.abspath(sys.argv[0] or ".")), _NAMES[major])
    if os.access(beside, os.X_OK):
        return beside
    return shutil.which(_NAMES[major])


def _needed(path):
    """The DT_NEEDED names of a 64-bit little-endian ELF file ([] for anything else)."""
    with open(path, "rb") as elf:
        data = elf.read()
    if data[:4] != b"\x7fELF" or data[4] != 2 or data[5] != 1:
        return []
    phoff, = struct.unpack_from("<Q", data, 0x20)
    phentsize, phnum = struct.unpack_from("<HH", data, 0x36)
    loads, dynamic = [], None
    for index in range(phnum):
        kind, _flags, offset, vaddr, _paddr, filesz = struct.unpack_from("<IIQQQQ", data, phoff + index * phentsize)
        if kind == 1:
            loads.append((vaddr, offset, filesz))
        elif kind == 2:
            dynamic = (offset, filesz)
    if dynamic is None:
        return []
    entries, strtab = [], None
    for at in range(dynamic[0], dynamic[0] + dynamic[1], 16):
        tag, value = struct.unpack_from("<qQ", data, at)
        if tag == 0:
            break
        if tag == 1:
            entries.append(value)
        elif tag == 5:
            strtab = value
    base = next((off + strtab - va for va, off, size in loads if va <= strtab < va + size), None)
    if base is None:
        return []
    return [data[base + name:data.index(b"\0", base + name)].decode("utf-8", "replace") for name in entries]


def qt_major_of(program):
    """6 or 5 when the program links Qt's core library of that major, else None."""
    try:
        path = program if os.sep in program else shutil.which(program) or program
        for name in _needed(path):
            if name.startswith("libQt6Core"):
                return 6
            if name.startswith("libQt5Core"):
                return 5
    except (OSError, struct.error, ValueError):
        pass
    return None


def _free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as sock:
        sock.bind(("127.0.0.1", 0))
        return sock.getsockname()[1]


class Launched:
    """A program started under a launcher: its process (group), its output, its port and token."""

    def __init__(self, process, port, token):
        self.process = process
        self.port = port
        self.token = token
        self.host = "127.0.0.1"
        self.lines = []
        self._changed = threading.Condition()
        threading.Thread(target=self._read, daemon=True, name="uiremote-launched-%d" % process.pid).start()

    def _read(self):
        for raw in self.process.stdout:
            line = raw.decode("utf-8", "replace").rstrip("\n")
            with self._changed:
                self.lines.append(line)
                del self.lines[:-200]  # the start matters, then only the last lines
                self._changed.notify_all()
        self.process.wait()
        with self._changed:
            self._changed.notify_all()

    @property
    def output(self):
        with self._changed:
            return "\n".join(self.lines)

    def wait_ready(self, timeout):
        """Waits for the probe's listening line; returns None when it came, else the reason."""
        deadline = time.monotonic() + timeout
        seen = 0
        with self._changed:
            while True:
                for line in self.lines[seen:]:
                    if _LISTENING.search(line):
                        return None
                    failed = _GIVING_UP.search(line)
                    if failed:
                        return failed.group(1)
                seen = len(self.lines)
                if self.process.poll() is not None:
                    return "the program ended with status %s before it was served" % self.process.returncode
                remaining = deadline - time.monotonic()
                if remaining <= 0:
                    return "the program was not served within %g s" % timeout
                self._changed.wait(min(remaining, 0.5))

    def stop(self, grace=5.0):
        """Ends the program's process group: SIGTERM, then SIGKILL after ``grace`` seconds."""
        if self.process.poll() is None:
            try:
                os.killpg(self.process.pid, signal.SIGTERM)
            except ProcessLookupError:
                pass
            try:
                self.process.wait(timeout=grace)
            except subprocess.TimeoutExpired:
                pass
        try:
            os.killpg(self.process.pid, signal.SIGKILL)  # what the program left behind
        except (ProcessLookupError, PermissionError):
            pass
        try:
            self.process.wait(timeout=grace)
        except subprocess.TimeoutExpired:
            pass
        if self.process.stdout:
            self.process.stdout.close()


def _environment(extra):
    env = dict(os.environ)
    env.update({str(key): str(value) for key, value in (extra or {}).items()})
    env.setdefault("QT_QPA_PLATFORM", "offscreen")
    if env["QT_QPA_PLATFORM"] == "offscreen" and not (env.get("QT_QUICK_BACKEND") or env.get("QSG_RHI_BACKEND")):
        env["QT_QUICK_BACKEND"] = "software"  # no display, so no OpenGL either
    return env


def _start(launcher, program, args, env, name_from_ids, root, timeout):
    port = _free_port()
    token = secrets.token_hex(16)
    command = [launcher, "--port", str(port), "--wait", str(max(1, int(timeout)))]
    if name_from_ids:
        command.append("--name-from-ids")
    if root:
        command += ["--root", str(root)]
    command += ["--", program, *[str(arg) for arg in args]]
    env = dict(env, UIREMOTE_TOKEN=token)
    try:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, env=env, start_new_session=True)
    except OSError as error:
        raise WebDriverError("session not created", "cannot run %s: %s" % (launcher, error)) from None
    return Launched(process, port, token)


def launch(program, args=(), env=None, *, name_from_ids=True, root=None, timeout=60.0, launchers=None):
    """Starts ``program`` under the launcher of its Qt major; returns a served :class:`Launched`.
    Raises ``session not created`` with the probe's or the launcher's reason."""
    launchers = launchers or {}
    env = _environment(env)
    major = qt_major_of(program) or 5
    tried = set()
    while True:
        launcher = find_launcher(major, launchers.get(major))
        if not launcher or not os.path.exists(launcher):
            raise WebDriverError("session not created",
                                 "no %s found (set --launcher%s or $%s)"
                                 % (_NAMES[major], "-qt6" if major == 6 else "", _VARIABLES[major]))
        tried.add(major)
        started = _start(launcher, program, args, env, name_from_ids, root, timeout)
        reason = started.wait_ready(timeout)
        if reason is None:
            return started
        started.stop(grace=2.0)
        other = _OTHER_MAJOR.search(reason)
        if other and int(other.group(1)) in _NAMES and int(other.group(1)) not in tried:
            major = int(other.group(1))
            continue
        tail = "\n".join(line for line in started.lines[-5:] if line.strip())
        raise WebDriverError("session not created", "%s could not be served: %s%s"
                             % (program, reason, ("\n" + tail) if tail and reason not in tail else ""))
