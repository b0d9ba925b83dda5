"""What a client method, a command and an agent tool send when an argument is left out is what
the application does when the argument is absent: each leaves it out, or sends the application's
own default (timeouts in seconds are the application's milliseconds / 1000)."""

import inspect
import re

import pytest

from uiremote import Client
from uiremote.cli import build_parser
from uiremote.commands import command_name
from uiremote.mcp.tools import TOOLS

pytestmark = pytest.mark.uiremote_qml("qml/controls.qml")


@pytest.fixture(scope="module")
def controls(uiremote_module_app):
    return uiremote_module_app.client.describe()


def _wire_default(arg):
    return arg.get("default")


def _in_wire_units(alias, value):
    if value is None:
        return None
    return int(value * 1000) if alias == "timeout" else value


def _arguments(controls):
    for row in controls:
        for arg in row["args"]:
            yield row, arg


def test_client_methods_leave_out_or_send_the_applications_default(controls):
    differ = {}
    for row, arg in _arguments(controls):
        params = inspect.signature(getattr(Client, row["name"])).parameters
        param = params.get(arg["alias"])
        if arg["required"] or param is None or param.default is inspect.Parameter.empty:
            continue
        sent = _in_wire_units(arg["alias"], param.default)
        if sent is not None and sent != _wire_default(arg):
            differ["%s %s" % (row["word"], arg["key"])] = (sent, _wire_default(arg))
    assert differ == {}


def test_commands_leave_out_or_send_the_applications_default(controls):
    subparsers = next(a for a in build_parser()._actions if a.dest == "command").choices
    differ = {}
    for row, arg in _arguments(controls):
        actions = {action.dest: action for action in subparsers[command_name(row["name"])]._actions}
        action = actions.get(arg["alias"])
        if action is None:
            continue
        sent = _in_wire_units(arg["alias"], action.default)
        if sent is not None and sent != _wire_default(arg):
            differ["%s %s" % (row["word"], arg["key"])] = (sent, _wire_default(arg))
    assert differ == {}


def test_tools_leave_out_or_send_and_tell_the_applications_default(controls):
    tools = {tool.name: tool for tool in TOOLS}
    differ = {}
    for row, arg in _arguments(controls):
        tool = tools[row["name"]]
        wanted = _wire_default(arg)
        if arg["key"] in tool.defaults and tool.defaults[arg["key"]] != wanted:
            differ["%s %s sent" % (row["word"], arg["key"])] = (tool.defaults[arg["key"]], wanted)
        told = re.search(r"\(default (-?\d+)\)", tool.schema["properties"][arg["key"]].get("description", ""))
        if told and int(told.group(1)) != wanted:
            differ["%s %s told" % (row["word"], arg["key"])] = (int(told.group(1)), wanted)
    assert differ == {}
