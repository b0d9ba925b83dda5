"""The preloaded probe in programs that may load Qt after they started, and in those that never do."""

import os
import re
import subprocess
import sys

import pytest

from conftest import program
from pythonapps import bindings_of, has_quick


def run_launched(command, isolated_env):
    return subprocess.run([program("UIREMOTE_LAUNCH"), "--", *command], env=dict(os.environ, **isolated_env),
                          capture_output=True, timeout=60)


def test_bare_names_load_along_the_programs_own_runpath(isolated_env):
    env = dict(os.environ, **isolated_env, LD_PRELOAD=program("UIREMOTE_PROBE"))
    done = subprocess.run([program("UIREMOTE_RUNPATH_PROGRAM")], env=env, capture_output=True, timeout=60)
    assert done.stdout.decode() == "loaded\n"
    assert done.returncode == 0


def test_program_that_never_loads_qt_says_so_at_its_end_only(isolated_env):
    done = run_launched([sys.executable, "-c", "import os; print('[%s]' % os.environ['LD_PRELOAD'])"], isolated_env)
    assert done.returncode == 0
    assert done.stdout.decode() == "[%s]\n" % program("UIREMOTE_PROBE")
    assert re.fullmatch(r"uiremote: \S+ ends without having loaded Qt "
                        r"\(the preload passed on to the programs it started\)\n", done.stderr.decode()), done.stderr


def test_program_that_loads_qt_without_qt_quick_says_so_at_its_end(isolated_env):
    binding = bindings_of(same_major=True)[0]
    if not has_quick(binding):
        pytest.skip("%s is not installed" % binding)
    done = run_launched([sys.executable, "-c", "import %s.QtCore" % binding], isolated_env)
    assert done.returncode == 0
    assert re.fullmatch(r"uiremote: giving up: \S+ ends without having loaded Qt Quick\n", done.stderr.decode()), \
        done.stderr


def test_children_of_a_late_qt_program_start_without_the_probe(isolated_env):
    binding = bindings_of(same_major=True)[0]
    if not has_quick(binding):
        pytest.skip("%s is not installed" % binding)
    script = ("import subprocess, %s.QtCore; "
              "subprocess.run(['sh', '-c', 'echo \"[$LD_PRELOAD]\"'])" % binding)
    done = run_launched([sys.executable, "-c", script], isolated_env)
    assert done.returncode == 0
    assert done.stdout.decode() == "[]\n"
