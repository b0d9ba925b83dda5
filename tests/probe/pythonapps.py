"""The Python programs of the probe's tests: one per binding, each showing python_app.qml."""

import importlib
import os
import sys
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent

#: binding -> (its Qt major, its program)
BINDINGS = {
    "PyQt5": (5, "pyqt5_app.py"),
    "PySide2": (5, "pyside2_app.py"),
    "PyQt6": (6, "pyqt6_app.py"),
    "PySide6": (6, "pyside6_app.py"),
}


def build_major():
    return int(os.environ.get("UIREMOTE_QT_MAJOR", "5"))


def has_quick(binding):
    """Whether the binding and its QtQuick module are installed (without loading Qt here)."""
    try:
        package = importlib.import_module(binding)  # plain Python: it loads no Qt
    except ImportError:
        return False
    return any(Path(folder).glob("QtQuick.*so") for folder in package.__path__)


def python_program(binding):
    """The command that runs the binding's program; skips the test when the binding is missing."""
    if not has_quick(binding):
        pytest.skip("%s with Qt Quick is not installed" % binding)
    return [sys.executable, str(HERE / BINDINGS[binding][1])]


def bindings_of(same_major):
    return [name for name, (major, _) in BINDINGS.items() if (major == build_major()) == same_major]
