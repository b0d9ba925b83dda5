"""The tools' arguments: JSON Schemas keyed by the controls' wire keys, the client method
parameter each one goes to, and the check of a call's arguments against its tool's schema.

A bad argument is reported by name and never reaches the application.
"""

import json

from .. import qt
from .link import ToolError

__all__ = ["ARGS", "Arg", "Tool", "check_arguments"]


class Arg:
    """One argument: its schema, and the client method parameter (``alias``) that takes it,
    through ``convert`` when the two differ in form."""

    def __init__(self, alias, schema, convert=None):
        self.alias = alias
        self.schema = schema
        self.convert = convert

    def but(self, alias=None, convert=None, **schema):
        """The same argument with another parameter, conversion or schema details."""
        return Arg(alias or self.alias, dict(self.schema, **schema), convert or self.convert)


def _s(type_, description, **more):
    return dict({"type": type_, "description": description}, **more)


def _seconds(ms):
    return ms / 1000.0


def _point(value):
    return (value.get("x"), value.get("y")) if isinstance(value, dict) else value


OBJNAME = Arg("path", _s("string", "dotted objectName path of the object, e.g. main.okButton; ancestors may "
                         "be left out"))
TIMEOUT = Arg("timeout", _s("integer", "longest wait in milliseconds (default 5000)", minimum=0, maximum=600000),
              _seconds)
POINT = _s(["string", "array", "object"], 'a place (center, left, right, top, bottom, topleft ...), [x, y] '
           'or {"x": .., "y": ..}, item-local')

#: The arguments by wire key; a tool takes another form of one with Arg.but.
ARGS = {
    "objname": OBJNAME,
    "parobjname": Arg("parent", _s("string", "path put in front of objname, to tell apart objects of the same name")),
    "winobjname": Arg("window", _s("string", "objectName of the window; by default the server's --window, else "
                                             "the item's own window")),
    "x": Arg("x", _s("integer", "item-local x (with y); default: the item's centre")),
    "y": Arg("y", _s("integer", "item-local y (with x); default: the item's centre")),
    "clickbtn": Arg("button", _s("string", "mouse button (default left)", enum=["left", "right", "middle"])),
    "button": Arg("button", _s("string", "mouse button (default left)", enum=["left", "right", "middle"])),
    "keyboardModifier": Arg("modifiers", _s(["string", "integer"], 'modifier keys held, e.g. "Ctrl+Shift", or Qt '
                                                                   "KeyboardModifiers bits"), qt.parse_modifiers),
    "actionable": Arg("actionable", _s("boolean", "check first that a person could act on the item (default "
                                                  "true; extension mode)")),
    "property": Arg("name", _s("string", "QML property name, e.g. text")),
    "propval": Arg("value", {"description": "the value to write: a JSON value"}),
    "value": Arg("value", {"description": "a JSON value (string, number, boolean, array or object)"}),
    "method": Arg("method", _s("string", "act on the object this method of objname returns")),
    "mthargs": Arg("args", _s("array", "up to 10 arguments (JSON values)", maxItems=10)),
    "signal": Arg("signal", _s("string", "full signature, e.g. clicked() or valueChanged(int)")),
    "timeout": TIMEOUT,
    "pluginname": Arg("plugin", _s("string", "name under which the host publishes the plugin")),
    "mdlitemrowpth": Arg("row_path", _s("string", 'row numbers from the top, "/"-separated, e.g. 1/0')),
    "mdlitemrolename": Arg("role", _s("string", "role name of the value")),
    "grouprolename": Arg("group", _s("string", "role that holds the group's child model")),
    "pluginName": Arg("plugin", _s("string", "context-property name of the host plugin")),
    "signalName": Arg("signal", _s("string", "the argument-less signal (or method) to run")),
    "pos_x": Arg("x", _s("number", "joystick axis x (default 0)")),
    "pos_y": Arg("y", _s("number", "joystick axis y (default 0)")),
    "pos_z": Arg("z", _s("number", "joystick axis z (default 0)")),
    "model_name": Arg("model", _s("string", "the joystick model")),
    "key_id": Arg("key_id", _s("integer", "the button's id")),
    "joystick_list": Arg("devices", _s("array", "the attached joystick devices", items={"type": "string"})),
    "from_x": Arg("from_x", _s("integer", "item-local start x (with from_y)")),
    "from_y": Arg("from_y", _s("integer", "item-local start y (with from_x)")),
    "to_x": Arg("to_x", _s("integer", "item-local end x (with to_y)")),
    "to_y": Arg("to_y", _s("integer", "item-local end y (with to_x)")),
    "depth": Arg("depth", _s("integer", "levels below the start", minimum=0, maximum=1000)),
    "type": Arg("type", _s("string", "QML type name to match, e.g. Button")),
    "text": Arg("text", _s("string", "the text, typed character by character")),
    "dx": Arg("dx", _s("number", "horizontal wheel turn in degrees")),
    "dy": Arg("dy", _s("number", "vertical wheel turn in degrees (15 is one notch; positive turns it away)")),
    "from": Arg("start", dict(POINT, description="where the swipe starts (default center): " + POINT["description"]),
                _point),
    "to": Arg("end", dict(POINT, description="where the swipe ends (default left), in the same forms"), _point),
    "steps": Arg("steps", _s("integer", "moves between press and release (default 10)", minimum=1, maximum=1000)),
    "duration": Arg("duration", _s("integer", "milliseconds from press to release (default 200)", minimum=0,
                                   maximum=60000)),
    "id": Arg("spy_id", _s("integer", "the spy's id (what spy returned)")),
    "ignore": Arg("ignore", _s("array", 'what never stops and is left out: names, ids or types ("BusyIndicator")',
                               items={"type": "string"})),
    "count": Arg("count", _s("integer", "emissions in all, those before the wait included (default 1)", minimum=1)),
    "handle": Arg("handle", _s("integer", "an object's handle (what handle returned)", minimum=1)),
    "script": Arg("script", _s("string", "the body of a JavaScript function, e.g. return arguments[0].text")),
    "args": Arg("args", _s("array", 'the script\'s arguments; {"handle": n} or {"objname": path} passes the object')),
}


_FORMS = {"keyboardModifier": 'a modifier set such as "Ctrl+Shift"', "from": "a point", "to": "a point"}


class Tool:
    """A tool: the control (client method) ``name`` it runs, with ``args`` (wire key -> Arg)."""

    def __init__(self, name, title, description, args, required, run, *, read_only=False, extension=False,
                 defaults=None):
        self.name = name
        self.title = title
        self.description = description
        self.args = args
        self.schema = {"type": "object", "properties": {key: arg.schema for key, arg in args.items()},
                       "required": list(required), "additionalProperties": False}
        self.run = run  # run(call) -> list of MCP content items; raises ToolError
        self.read_only = read_only
        self.extension = extension
        self.defaults = defaults or {}

    def definition(self):
        return {"name": self.name, "title": self.title, "description": self.description,
                "inputSchema": self.schema,
                "annotations": {"title": self.title, "readOnlyHint": self.read_only,
                                "destructiveHint": False, "openWorldHint": False}}

    def keywords(self, args):
        """The client method's keyword arguments for the checked wire ``args``."""
        kwargs = {}
        for key, value in dict(self.defaults, **args).items():
            arg = self.args[key]
            try:
                kwargs[arg.alias] = arg.convert(value) if arg.convert else value
            except (TypeError, ValueError) as error:
                raise ToolError("Bad argument for %s: '%s' is not %s (%s)." % (self.name, key, _FORMS.get(key, "valid"),
                                                                            error)) from None
        return kwargs


_JSON_TYPES = {"string": (str,), "integer": (int,), "number": (int, float), "boolean": (bool,),
               "array": (list,), "object": (dict,)}


def _has_type(value, name):
    if isinstance(value, bool) and name in ("integer", "number"):
        return False
    if name == "integer" and isinstance(value, float) and value.is_integer():
        return True
    return isinstance(value, _JSON_TYPES[name])


def check_arguments(tool, args):
    """Raises :class:`ToolError` naming the first argument that does not fit the tool's schema."""
    if args is None:
        args = {}
    if not isinstance(args, dict):
        raise ToolError("%s takes its arguments as an object, got %s." % (tool.name, json.dumps(args)))
    schema = tool.schema
    known = schema["properties"]
    for name in args:
        if name not in known:
            raise ToolError("Bad argument for %s: unknown argument '%s'; it takes %s."
                            % (tool.name, name, ", ".join(known)))
    for name in schema["required"]:
        if name not in args:
            raise ToolError("Bad argument for %s: '%s' is missing (%s)."
                            % (tool.name, name, known[name].get("description", "required")))
    for name, value in args.items():
        rule = known[name]
        types = rule.get("type")
        if types is not None:
            types = [types] if isinstance(types, str) else types
            if not any(_has_type(value, t) for t in types):
                raise ToolError("Bad argument for %s: '%s' must be %s, got %s."
                                % (tool.name, name, " or ".join(("an " if t[0] in "aeiou" else "a ") + t for t in types), json.dumps(value)))
        if "enum" in rule and value not in rule["enum"]:
            raise ToolError("Bad argument for %s: '%s' must be one of %s, got %s."
                            % (tool.name, name, ", ".join(rule["enum"]), json.dumps(value)))
        if "minimum" in rule and value < rule["minimum"] or "maximum" in rule and value > rule["maximum"]:
            raise ToolError("Bad argument for %s: '%s' must be between %d and %d, got %s."
                            % (tool.name, name, rule.get("minimum"), rule.get("maximum"), json.dumps(value)))
        if rule.get("maxItems") is not None and len(value) > rule["maxItems"]:
            raise ToolError("Bad argument for %s: '%s' takes at most %d items, got %d."
                            % (tool.name, name, rule["maxItems"], len(value)))
    return {name: int(value) if isinstance(value, float) and known[name].get("type") == "integer" else value
            for name, value in args.items()}


