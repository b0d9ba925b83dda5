"""Finding the launcher that serves a compiled program, and the log library that records the
remote control's trace.

    launcher = find_launcher(qt_major=6)        # uiremote-launch-qt6
    command = launch_command(launcher, ["build/bin/qt-gallery"], options=["--name-from-ids"])
    app = Application.start(command, banner=READY_LINE, log_library=find_log_library(near=[launcher]))

The launcher runs the program with the probe preloaded; the probe prints the same ready line as
uiremote-host, so :data:`uiremote.app.READY_LINE` tells when either can be reached.
"""

import os
import shutil

__all__ = ["LOG_LIBRARY_NAME", "find_launcher", "find_log_library", "launch_command", "launcher_name", "qt_major"]

#: The file name under which the remote control looks for its log library.
LOG_LIBRARY_NAME = "libQmdxLogUtl.so"


def qt_major(explicit=None):
    """The Qt major of the programs to launch: ``explicit``, else $UIREMOTE_QT_MAJOR, else 5."""
    value = explicit if explicit not in (None, "") else os.environ.get("UIREMOTE_QT_MAJOR") or 5
    major = int(value)
    if major not in (5, 6):
        raise ValueError("Qt major %r: the launcher serves Qt 5 or Qt 6 programs" % value)
    return major


def launcher_name(major):
    """uiremote-launch for Qt 5 programs, uiremote-launch-qt6 for Qt 6 ones."""
    return "uiremote-launch-qt6" if qt_major(major) == 6 else "uiremote-launch"


def find_launcher(qt=None, explicit=None):
    """The launcher of the Qt major ``qt``: ``explicit``, else $UIREMOTE_LAUNCH_QT6 (Qt 6) or
    $UIREMOTE_LAUNCH when its name fits the major, else a launcher of that name beside it, else
    the one on PATH.  Returns None when there is none."""
    if explicit:
        return os.path.abspath(explicit) if os.path.exists(explicit) else None
    name = launcher_name(qt)
    candidates = []
    if name.endswith("-qt6"):
        candidates.append(os.environ.get("UIREMOTE_LAUNCH_QT6"))
    configured = os.environ.get("UIREMOTE_LAUNCH")
    if configured:
        if os.path.basename(configured) == name:
            candidates.append(configured)
        candidates.append(os.path.join(os.path.dirname(configured), name))
    for candidate in candidates:
        if candidate and os.path.isfile(candidate) and os.access(candidate, os.X_OK):
            return os.path.abspath(candidate)
    return shutil.which(name)


def launch_command(launcher, program, args=(), options=()):
    """The command line that runs ``program`` (a path, or a list such as [python, script]) with
    ``args`` through ``launcher`` on "{port}"; ``options`` are further launcher options
    ("--name-from-ids", "--root", "NAME" ...)."""
    program = [str(program)] if isinstance(program, (str, os.PathLike)) else [str(part) for part in program]
    return [str(launcher), "--port", "{port}", *[str(option) for option in options], "--",
            *program, *[str(arg) for arg in args]]


def find_log_library(explicit=None, near=()):
    """The log library: ``explicit`` (the file or its folder), else $UIREMOTE_LOG_LIBRARY, else
    one in ../lib or beside any executable of ``near`` (as a build tree or an install puts it).
    Returns its path, or None when none is found (the loader may still find an installed one)."""
    for candidate in (explicit, os.environ.get("UIREMOTE_LOG_LIBRARY")):
        if candidate:
            if os.path.isdir(candidate):
                candidate = os.path.join(candidate, LOG_LIBRARY_NAME)
            return os.path.abspath(candidate) if os.path.isfile(candidate) else None
    for executable in near:
        if not executable:
            continue
        folder = os.path.dirname(os.path.realpath(str(executable)))
        for candidate in (os.path.join(folder, os.pardir, "lib", LOG_LIBRARY_NAME),
                          os.path.join(folder, LOG_LIBRARY_NAME)):
            if os.path.isfile(candidate):
                return os.path.abspath(candidate)
    return None


def trace_environment(env, trace_path, log_library=None, severity="3"):
    """``env`` (a dict, changed in place) made to write the remote control's trace to
    ``trace_path``: the log library's folder first on LD_LIBRARY_PATH, UIREMOTE_LOG_FILE, and
    UIREMOTE_LOG_SEVERITY (route snapshots and failures) unless the environment chose one."""
    if log_library:
        folder = os.path.dirname(os.path.abspath(log_library))
        paths = [folder] + [part for part in env.get("LD_LIBRARY_PATH", "").split(os.pathsep) if part and part != folder]
        env["LD_LIBRARY_PATH"] = os.pathsep.join(paths)
    env.setdefault("UIREMOTE_LOG_FILE", str(trace_path))
    env.setdefault("UIREMOTE_LOG_SEVERITY", str(severity))
    return env
