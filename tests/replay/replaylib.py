"""Shared parts of the reply table recorder (record.py) and the replay check (replay.py).

A table is a JSON-lines file. Its first line describes the run:

    {"run": NAME, "program": "host"|"demo", "scene": PATH (relative to the repository, or null for
     the demo's built-in scene), "extensions": true|false, "log": SEVERITY or null}

and every further line is one write on one connection and everything the application sent back
for it, in order:

    {"c": CONNECTION, "send": BYTES, "reply": BYTES[, "log": [LINE, ...]]}

BYTES are JSON strings holding one character per byte (U+0000..U+00FF), so any byte sequence
(invalid UTF-8, NUL bytes) is stored exactly. "log" holds the trace lines the write produced when
the run loads the project's log library (timestamps cut off, object addresses replaced).

Connections are used one at a time: a write is sent only when every reply to the write before
it has arrived, so the order of replies, and of log lines, is fixed.
"""

import json
import os
import re
import signal
import socket
import subprocess
import tempfile
import time
from pathlib import Path

REPO = Path(__file__).resolve().parents[2]

# One reply: an indented JSON object and its closing newline.
_WHITESPACE = b" \t\r\n"


def encode_bytes(data):
    return data.decode("latin-1")


def decode_bytes(text):
    return text.encode("latin-1")


def qt_major(build_dir):
    cache = (Path(build_dir) / "CMakeCache.txt").read_text(errors="replace")
    return 6 if "UIREMOTE_QT_MAJOR:STRING=6" in cache else 5


def tables_dir(build_dir):
    """The tables of the build's Qt: replies differ between Qt 5 and Qt 6 (numbers, for one)."""
    return Path(__file__).resolve().parent / "tables" / ("qt%d" % qt_major(build_dir))


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class ReplyCounter:
    """Counts complete reply objects in a byte stream (depth outside strings, with escapes).

    A reply is complete with the newline after its closing brace."""

    def __init__(self):
        self.count = 0
        self._depth = 0
        self._in_string = False
        self._escape = False
        self._closed = False  # closing brace seen, newline pending

    def feed(self, data):
        for byte in data:
            if self._closed:
                self._closed = False
                if byte == 0x0A:
                    self.count += 1
                    continue
                self.count += 1  # not the expected newline: count it anyway, the bytes will differ
            if self._escape:
                self._escape = False
            elif self._in_string:
                if byte == 0x5C:
                    self._escape = True
                elif byte == 0x22:
                    self._in_string = False
            elif byte == 0x22:
                self._in_string = True
            elif byte == 0x7B:
                self._depth += 1
            elif byte == 0x7D:
                self._depth -= 1
                if self._depth == 0:
                    self._closed = True


class Program:
    """uiremote-host or demo-app on a free loopback port, headless; stopped by stop()."""

    def __init__(self, build_dir, header, log_dir=None):
        build_dir = Path(build_dir)
        bin_dir = build_dir / "bin"
        qt6 = qt_major(build_dir) == 6
        if header["program"] == "demo":
            program = bin_dir / ("demo-app-qt6" if qt6 and (bin_dir / "demo-app-qt6").exists() else "demo-app")
        else:
            program = bin_dir / ("uiremote-host-qt6" if qt6 else "uiremote-host")
        env = dict(os.environ)
        env.update(QT_QPA_PLATFORM="offscreen", QT_QUICK_BACKEND="software", QT_QUICK_CONTROLS_STYLE="Default",
                   QT_HASH_SEED="0")  # the same hash order in every run ("closest" suggestions)
        env.pop("UIREMOTE_TOKEN", None)
        env.pop("UIREMOTE_LISTEN", None)
        env["UIREMOTE_EXTENSIONS"] = "1" if header["extensions"] else "0"
        self.log_path = None
        library_path = [p for p in env.get("LD_LIBRARY_PATH", "").split(":") if p]
        if header.get("log") is not None:
            self.log_path = Path(log_dir or tempfile.gettempdir()) / ("replay-%d-%s.log" % (os.getpid(), header["run"]))
            if self.log_path.exists():
                self.log_path.unlink()
            env["UIREMOTE_LOG_SEVERITY"] = str(header["log"])
            env["UIREMOTE_LOG_FILE"] = str(self.log_path)
            library_path.insert(0, str(build_dir / "lib"))
        else:
            # No log library: the trace is off, as in most applications.
            library_path = [p for p in library_path if not (Path(p) / "libQmdxLogUtl.so").exists()]
        env["LD_LIBRARY_PATH"] = ":".join(library_path)
        args = []
        if header.get("scene"):
            args.append(str(REPO / header["scene"]))
        self.process = None
        for _attempt in range(5):
            self.port = free_port()
            self.process = subprocess.Popen([str(program), "--port", str(self.port)] + args, env=env,
                                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            line = b""
            deadline = time.monotonic() + 30
            while time.monotonic() < deadline:
                line = self.process.stdout.readline()
                if not line or b"listening on" in line:
                    break
            if line and b"listening on" in line:
                break
            self.stop()
        else:
            raise RuntimeError("%s did not start" % program)
        self._log_pos = 0
        self.sockets = []

    def connection(self, index):
        while len(self.sockets) <= index:
            sock = socket.create_connection(("127.0.0.1", self.port), timeout=10)
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self.sockets.append(sock)
        return self.sockets[index]

    def exchange(self, index, data, expected=None, timeout=10.0):
        """Sends data in one write and reads every reply to it.

        With expected (the recorded bytes), reads until as many bytes or as many replies have
        arrived; without, until the number of replies equals the number of messages the
        application cuts from data."""
        sock = self.connection(index)
        sock.sendall(data)
        wanted = count_messages(data)
        counter = ReplyCounter()
        received = bytearray()
        deadline = time.monotonic() + timeout
        while True:
            if expected is not None and len(received) >= len(expected):
                break
            if counter.count >= wanted:
                break
            left = deadline - time.monotonic()
            if left <= 0:
                break
            sock.settimeout(left)
            try:
                chunk = sock.recv(65536)
            except socket.timeout:
                break
            if not chunk:
                break
            received += chunk
            counter.feed(chunk)
        return bytes(received)

    def new_log_lines(self):
        if self.log_path is None:
            return None
        try:
            with open(self.log_path, "rb") as log:
                log.seek(self._log_pos)
                data = log.read()
        except FileNotFoundError:
            return []
        # Only whole lines: a line being written is taken with the next write.
        end = data.rfind(b"\n") + 1
        self._log_pos += end
        return [normalise_log_line(line) for line in data[:end].decode("utf-8", "replace").splitlines()]

    def stop(self):
        for sock in getattr(self, "sockets", []):
            sock.close()
        if self.process and self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        if self.process and self.process.stdout:
            self.process.stdout.close()
        if self.log_path is not None and self.log_path.exists():
            self.log_path.unlink()


_STAMP = re.compile(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} ")
_ADDRESS = re.compile(r"pParent = \[([0-9A-F]+)\]")


def normalise_log_line(line):
    line = _STAMP.sub("", line)
    return _ADDRESS.sub(lambda m: "pParent = [%s]" % ("0" if m.group(1) == "0" else "addr"), line)


def count_messages(data):
    """How many messages the application cuts from one read: one more than the number of '}'
    directly followed by '{' (whitespace between them dropped) outside strings."""
    count = 1
    in_quotes = False
    last = None
    for byte in data:
        if byte == 0x22:
            in_quotes = not in_quotes
            last = byte
            continue
        if in_quotes:
            last = byte
            continue
        if byte == 0x7B and last == 0x7D:
            count += 1
        if byte in b" \t\n\x0b\x0c\r":
            continue
        last = byte
    return count


def read_table(path):
    with open(path, encoding="ascii") as table:
        lines = [json.loads(line) for line in table if line.strip()]
    return lines[0], lines[1:]


def write_table(path, header, records):
    with open(path, "w", encoding="ascii") as table:
        table.write(json.dumps(header, sort_keys=True) + "\n")
        for record in records:
            table.write(json.dumps(record, sort_keys=True) + "\n")
