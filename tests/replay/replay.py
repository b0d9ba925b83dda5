#!/usr/bin/python3
"""Replays the recorded reply tables against the current build and compares byte for byte.

    replay.py BUILD_DIR [TABLE ...]

Each table (tests/replay/tables/qt5 or qt6/*.jsonl, see replaylib.py) names an application, a scene and a
mode. The application is started fresh, every write is sent exactly as recorded on the recorded
connection, and the bytes that come back must equal the recorded reply bytes; with the log
library loaded, the trace lines of each write must equal the recorded ones too. Each write waits
at most 10 s for its replies and the whole replay at most 150 s (it takes about 6 s). Exits 1
when any table differs (up to five differences per table are shown), 0 when every table matches.
"""

import difflib
import re
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))

from replaylib import Program, decode_bytes, read_table, tables_dir  # noqa: E402

DEADLINE_S = 150.0
SHOWN = 5


def show(label, expected, got):
    print("    %s expected: %r" % (label, expected[:600]))
    print("    %s got:      %r" % (label, got[:600]))


# Qt numbers the classes of QML-defined types (QQuickItem_QML_8) in the order the process first
# creates them, which depends on more than the remote control: the number is not compared.
_QML_CLASS = re.compile(rb"_QML_\d+")


def comparable(data):
    return _QML_CLASS.sub(b"_QML_n", data)


def comparable_log(lines):
    return None if lines is None else [comparable(line.encode()).decode() for line in lines]


def replay(build_dir, path, deadline):
    header, records = read_table(path)
    started = time.monotonic()
    program = Program(build_dir, header)
    differences = 0
    try:
        for number, record in enumerate(records, 1):
            if time.monotonic() > deadline:
                print("%s: out of time at write %d of %d" % (path.name, number, len(records)))
                return False
            data = decode_bytes(record["send"])
            expected = decode_bytes(record["reply"])
            got = program.exchange(record["c"], data, expected=expected, timeout=10.0)
            log = program.new_log_lines()
            same_log = "log" not in record or comparable_log(log) == comparable_log(record["log"])
            if comparable(got) == comparable(expected) and same_log:
                continue
            differences += 1
            if differences <= SHOWN:
                print("%s, write %d on connection %d: %r" % (path.name, number, record["c"], data[:300]))
                if got != expected:
                    show("reply", expected, got)
                if not same_log:
                    print("    log lines differ:")
                    for line in difflib.unified_diff(record["log"], log or [], "recorded", "now", lineterm="", n=1):
                        print("      " + line[:300])
        # Nothing may follow the last reply.
        extra = b""
        for sock in program.sockets:
            sock.setblocking(False)
            try:
                extra += sock.recv(65536)
            except (BlockingIOError, OSError):
                pass
        if extra:
            differences += 1
            print("%s: %d bytes after the last reply: %r" % (path.name, len(extra), extra[:200]))
    finally:
        program.stop()
    print("%s: %d writes, %d differ, %.1f s (%s%s)" % (
        path.name, len(records), differences, time.monotonic() - started, header["program"],
        ", extensions" if header["extensions"] else ""))
    return differences == 0


def main():
    if len(sys.argv) < 2:
        raise SystemExit("usage: replay.py BUILD_DIR [TABLE ...]")
    build_dir = sys.argv[1]
    tables = [Path(p) for p in sys.argv[2:]] or sorted(tables_dir(build_dir).glob("*.jsonl"))
    if not tables:
        raise SystemExit("no tables under %s" % tables_dir(build_dir))
    deadline = time.monotonic() + DEADLINE_S
    ok = True
    for table in tables:
        ok = replay(build_dir, table, deadline) and ok
    sys.exit(0 if ok else 1)


if __name__ == "__main__":
    main()
