#!/usr/bin/env python3
"""Checks that the library's folders keep the rules the README's "How the code is laid out"
states: which layer may include which, where events are built and sockets known, that every
folder is described there, and that no source file grows past 400 lines.

Usage: check_layout.py REPOSITORY_ROOT. Prints one line per breach; exits 1 when there is one."""

import pathlib
import re
import sys

MAX_LINES = 400

# Which layers each layer may include headers of (besides its own, include/ and common/).
ALLOWED = {
    "common": set(),
    "wire": set(),
    "server": {"wire", "dispatch"},
    "dispatch": {"wire", "lookup"},
    "lookup": {"dispatch"},          # only to give a failed search its reason
    "controls": {"dispatch", "lookup", "input"},
    "input": set(),
    "plugin": set(),
}
# Words only some layers may use: (pattern, the layers allowed, what it stands for).
CONFINED = [
    (re.compile(r"\bQTest::(?!Mouse(Click|DClick|Move|Press|Release)\b)|<QtTest/|\b(QMouseEvent|QWheelEvent|QKeyEvent|QTouchEvent)\s*[({]|sendEvent\("),
     {"input"}, "builds or sends input events"),
    (re.compile(r"<QTcp(Socket|Server)>|\bQTcpSocket\s*\*\s*\w+\s*=|socket->write\("), {"server"}, "knows sockets"),
    (re.compile(r"\bQ_OBJECT\b|#include <QObject>"), {"common", "server", "dispatch", "lookup", "controls", "input", "plugin"},
     "declares QObjects"),
]
# Files that bridge two worlds on purpose.
EXEMPT = {"common/QtCompat.h"}  # the one place for differences between Qt majors, QTest's included


def main(root):
    root = pathlib.Path(root)
    src = root / "src"
    readme = (root / "README.md").read_text(encoding="utf-8")
    section = readme.split("## How the code is laid out", 1)[-1].split("\n## ", 1)[0]
    owner = {}  # header name -> layer
    layers = sorted(p.name for p in src.iterdir() if p.is_dir())
    for layer in layers:
        for header in (src / layer).glob("*.h"):
            owner[header.name] = layer
    breaches = []
    for layer in layers:
        if f"`src/{layer}/`" not in section:
            breaches.append(f"src/{layer}/: no rule in the README's \"How the code is laid out\"")
        if layer == "include":
            continue
        if layer not in ALLOWED:
            breaches.append(f"src/{layer}/: a folder this check does not know")
            continue
        for path in sorted((src / layer).iterdir()):
            relative = f"{layer}/{path.name}"
            text = path.read_text(encoding="utf-8", errors="replace")
            if relative in EXEMPT:
                continue
            for included in re.findall(r'#include\s+"([^"]+)"', text):
                other = owner.get(included.rsplit("/", 1)[-1])
                if other and other not in (layer, "include", "common") and other not in ALLOWED[layer]:
                    breaches.append(f"src/{relative}: includes {included} of src/{other}/")
            for pattern, layers_allowed, what in CONFINED:
                if layer not in layers_allowed and pattern.search(text):
                    breaches.append(f"src/{relative}: {what}, which only {', '.join(sorted(layers_allowed))} may")
    for folder in ("src", "tools", "clients/python/uiremote", "bench"):
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".cpp", ".h", ".py", ".mjs") and path.is_file():
                lines = path.read_text(encoding="utf-8", errors="replace").count("\n")
                if lines > MAX_LINES:
                    breaches.append(f"{path.relative_to(root)}: {lines} lines (at most {MAX_LINES})")
    for line in breaches:
        print(line)
    print(f"layout: {len(breaches)} breaches")
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "."))
