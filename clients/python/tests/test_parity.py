"""Every control the application describes has a client method, a command and an agent tool,
and each takes the control's arguments: the method by their client names (alias), the tool by
their wire keys (required where the control requires them), the command by options or
positionals named as the method's parameters."""

import inspect

import pytest

from uiremote import Client
from uiremote.cli import build_parser
from uiremote.commands import command_name
from uiremote.mcp.tools import TOOLS

# (control, alias) -> why the client method (and so the command) takes the argument otherwise.
TAKEN_OTHERWISE = {
    ("drag", "from_x"): "from_xy, an (x, y) pair",
    ("drag", "from_y"): "from_xy, an (x, y) pair",
    ("drag", "to_x"): "to_xy, an (x, y) pair",
    ("drag", "to_y"): "to_xy, an (x, y) pair",
}


pytestmark = pytest.mark.uiremote_qml("qml/controls.qml")


@pytest.fixture(scope="module")
def controls(uiremote_module_app):
    return uiremote_module_app.client.describe()


def _commands():
    parser = build_parser()
    subparsers = next(a for a in parser._actions if a.dest == "command")
    return subparsers.choices


def _aliases(row):
    return [arg["alias"] for arg in row["args"] if (row["name"], arg["alias"]) not in TAKEN_OTHERWISE]


def test_the_application_describes_its_controls(controls):
    words = {row["word"] for row in controls}
    assert {"click", "dbclick", "describe", "waitidle"} <= words
    for row in controls:
        assert set(row) >= {"word", "name", "extension", "summary", "reply", "args"}, row


def test_every_control_has_a_client_method_taking_its_arguments(controls):
    missing, disagree = [], {}
    for row in controls:
        method = getattr(Client, row["name"], None)
        if method is None or not hasattr(method, "build"):
            missing.append(row["name"])
            continue
        params = inspect.signature(method).parameters
        lacking = [alias for alias in _aliases(row) if alias not in params]
        if lacking:
            disagree[row["name"]] = lacking
    assert missing == [], "controls without a client method"
    assert disagree == {}, "client methods without these parameters"


def test_every_control_has_a_command_taking_its_arguments(controls):
    commands = _commands()
    missing, disagree = [], {}
    for row in controls:
        parser = commands.get(command_name(row["name"]))
        if parser is None:
            missing.append(command_name(row["name"]))
            continue
        dests = {action.dest for action in parser._actions}
        lacking = [alias for alias in _aliases(row) if alias not in dests]
        if lacking:
            disagree[row["name"]] = lacking
    assert missing == [], "controls without a command"
    assert disagree == {}, "commands without these options or positionals"


def test_every_control_has_a_tool_taking_its_wire_keys(controls):
    tools = {tool.name: tool for tool in TOOLS}
    missing, disagree = [], {}
    for row in controls:
        tool = tools.get(row["name"])
        if tool is None:
            missing.append(row["name"])
            continue
        schema = tool.schema
        keys = {arg["key"] for arg in row["args"]}
        required = {arg["key"] for arg in row["args"] if arg["required"]}
        if set(schema["properties"]) != keys or set(schema["required"]) != required:
            disagree[row["name"]] = {"keys": sorted(keys ^ set(schema["properties"])),
                                     "required": sorted(required ^ set(schema["required"]))}
        elif any(tool.args[arg["key"]].alias != arg["alias"] and (row["name"], arg["alias"]) not in TAKEN_OTHERWISE
                 for arg in row["args"]):
            disagree[row["name"]] = "a key goes to another client parameter than its alias"
    assert missing == [], "controls without a tool"
    assert disagree == {}, "tools whose arguments differ from the control's"
    assert set(tools) <= {row["name"] for row in controls}, "tools of no control"
