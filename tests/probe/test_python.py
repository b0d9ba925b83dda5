"""Qt Quick programs written in Python: the interpreter loads Qt late, through its bindings."""

import os
import re

import pytest

from conftest import program
from pythonapps import BINDINGS, bindings_of, python_program
from test_failures import probe_lines


@pytest.mark.parametrize("binding", bindings_of(same_major=True))
def test_program_of_this_major_is_served_by_ids(launch, binding):
    app = launch(python_program(binding), ["--name-from-ids"])
    ui = app.client
    ui.window = "window"
    assert ui.click("tapArea").result is True
    assert ui.get_property("window", "taps").value == 1
    assert probe_lines(app.output) == ["uiremote: listening on 127.0.0.1:%d" % app.port]


@pytest.mark.parametrize("binding", bindings_of(same_major=False))
def test_program_of_the_other_major_is_refused(run_until_line, binding):
    app, match = run_until_line([program("UIREMOTE_LAUNCH"), "--", *python_program(binding)],
                                r"uiremote: giving up.*\n")
    assert match is not None, app.output
    lines = probe_lines(app.output)
    assert len(lines) == 1, app.output
    refused = re.fullmatch(r"uiremote: giving up: \S+ uses Qt (\d+)\.\d+\.\d+; the probe was built with Qt %s"
                           % re.escape(os.environ.get("UIREMOTE_PROBE_QT_VERSION", "")), lines[0])
    assert refused, lines
    assert int(refused.group(1)) == BINDINGS[binding][0]
    assert app.running
