"""The tools that the agent tool server offers: one per control an agent has use for.

Each tool has a JSON Schema for its arguments, a one-line description written for an agent,
and the control word it sends.  Tools whose word is an extension word are offered only when
the application answers extension words.  Arguments are checked against the schema before
anything is sent, so a bad argument is reported by name and never reaches the application.
"""

import json

from . import qt
from .mcp_link import ToolError

__all__ = ["TOOLS", "Tool", "check_arguments"]

# -- argument schemas ----------------------------------------------------------------------

OBJNAME = {"type": "string", "description": "dotted objectName path of the object, e.g. main.okButton; "
           "ancestors may be left out"}
PARENT = {"type": "string", "description": "path put in front of objname, to tell apart objects of the same name"}
WINDOW = {"type": "string", "description": "objectName of the window; by default the server's --window, else "
          "the item's own window"}
X = {"type": "integer", "description": "item-local x (with y); default: the item's centre"}
Y = {"type": "integer", "description": "item-local y (with x); default: the item's centre"}
MODIFIERS = {"type": ["string", "integer"], "description": 'modifier keys held, e.g. "Ctrl+Shift", or Qt '
             "KeyboardModifiers bits"}
BUTTON = {"type": "string", "enum": ["left", "right", "middle"], "description": "mouse button (default left)"}
PROPERTY = {"type": "string", "description": "QML property name, e.g. text"}
ANY_VALUE = {"description": "a JSON value (string, number, boolean, array or object)"}
TIMEOUT = {"type": "integer", "minimum": 0, "maximum": 600000, "description": "longest wait in milliseconds"}


def _schema(properties, required=()):
    return {"type": "object", "properties": properties, "required": list(required),
            "additionalProperties": False}


POINTER = _schema({"objname": OBJNAME, "parobjname": PARENT, "winobjname": WINDOW, "x": X, "y": Y}, ["objname"])
CLICK = _schema({"objname": OBJNAME, "parobjname": PARENT, "winobjname": WINDOW, "button": BUTTON,
                 "x": X, "y": Y, "modifiers": MODIFIERS}, ["objname"])
DRAG = _schema({"objname": OBJNAME, "parobjname": PARENT, "winobjname": WINDOW,
                "from_x": {"type": "integer", "description": "item-local start x"},
                "from_y": {"type": "integer", "description": "item-local start y"},
                "to_x": {"type": "integer", "description": "item-local end x"},
                "to_y": {"type": "integer", "description": "item-local end y"}},
               ["objname", "from_x", "from_y", "to_x", "to_y"])
TARGET = _schema({"objname": OBJNAME, "parobjname": PARENT}, ["objname"])


class Tool:
    def __init__(self, name, title, description, schema, word, run, *, read_only=False, extension=False):
        self.name = name
        self.title = title
        self.description = description
        self.schema = schema
        self.word = word
        self.run = run  # run(call) -> list of MCP content items; raises ToolError
        self.read_only = read_only
        self.extension = extension

    def definition(self):
        return {"name": self.name, "title": self.title, "description": self.description,
                "inputSchema": self.schema,
                "annotations": {"title": self.title, "readOnlyHint": self.read_only,
                                "destructiveHint": False, "openWorldHint": False}}


# -- argument checking ---------------------------------------------------------------------

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


def _bad(tool, name, why):
    return ToolError("Bad argument for %s: '%s' %s." % (tool, name, why))


# -- running a control and explaining a failure ---------------------------------------------

def _text(text):
    return [{"type": "text", "text": text}]


def _json(value):
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def _where(args):
    path = args.get("objname", "")
    return "%s.%s" % (args["parobjname"], path) if args.get("parobjname") else path


def _target(args):
    return {key: args[key] for key in ("objname", "parobjname") if key in args}


def _fail(call, reply, hint):
    """The message for a false reply: the application's own reason when it gives one (extension
    mode), else what a look at the object tells."""
    reason = reply.raw.get("error")
    if isinstance(reason, str) and reason:
        return ToolError("%s failed: %s" % (call.tool.name, reason))
    if "objname" in call.args and not call.link.send({"getpro": dict(_target(call.args), property="objectName")}):
        parent = " (parobjname '%s')" % call.args["parobjname"] if call.args.get("parobjname") else ""
        return ToolError("%s failed: no object found at path '%s'%s. Check each name along the path "
                         "(objectName values; a path may skip ancestors)." % (call.tool.name, call.args["objname"], parent))
    return ToolError("%s failed: %s" % (call.tool.name, hint))


def _send(call, word, data, hint, timeout=None):
    request = {word: data}
    reply = call.link.send(request, timeout=timeout)
    if not reply.result:
        raise _fail(call, reply, hint)
    return reply


def _window(call):
    """The window a pointer action goes to: the argument, the server's default, else the one
    that shows the item (the application needs a window name for pointer actions)."""
    window = call.args.get("winobjname") or call.window
    if window:
        return window
    reply = _send(call, "getwinname", _target(call.args), "'%s' is not shown in any window." % _where(call.args))
    return reply.value


def _modifiers(call, value):
    try:
        return qt.parse_modifiers(value)
    except (TypeError, ValueError) as error:
        raise _bad(call.tool.name, "modifiers", "is not a modifier set (%s; use e.g. \"Ctrl+Shift\")" % error) from None


def _pointer(word, verb):
    def run(call):
        data = _target(call.args)
        window = _window(call)
        data["winobjname"] = window
        for key in ("x", "y", "from_x", "from_y", "to_x", "to_y"):
            if key in call.args:
                data[key] = call.args[key]
        if "button" in call.args:
            data["clickbtn"] = qt.button_word(call.args["button"])
        if "modifiers" in call.args:
            data["keyboardModifier"] = _modifiers(call, call.args["modifiers"])
        _send(call, word, data, "'%s' is not an Item that can take pointer input, or window '%s' is wrong "
              "(window_name tells an item's window)." % (_where(call.args), window))
        return _text("%s %s in window %s." % (verb, _where(call.args), window))
    return run


def parse_key(text):
    """A key given as a word ("Enter", "Ctrl+A", "F5", "a") -> (Qt key code, modifier bits)."""
    if text in ("+", "plus"):
        return ord("+"), 0
    parts = text.split("+")
    if text.endswith("++"):
        parts = parts[:-2] + ["+"]
    mods = qt.parse_modifiers("+".join(parts[:-1])) if len(parts) > 1 else 0
    name = parts[-1].strip()
    if len(name) == 1 and not mods:
        return qt.key_for_char(name)  # "A" alone is Shift+A, as typed
    return qt.parse_key(name), mods


def _key(call):
    value = call.args["key"]
    try:
        code, mods = (value, 0) if isinstance(value, int) else parse_key(value)
    except (TypeError, ValueError) as error:
        raise _bad("key", "key", "is not a key (%s); use a key name such as Enter, Escape, Tab, "
                   "Left, F5, a character, a combination such as Ctrl+A, or a Qt::Key code" % error) from None
    if "modifiers" in call.args:
        mods |= _modifiers(call, call.args["modifiers"])
    data = {"key": code, "keyboardModifier": mods}
    window = call.args.get("winobjname") or call.window
    if window:
        data["winobjname"] = window
    _send(call, "keyclick", data, "the application could not type the key (window '%s')." % (window or "default"))
    return _text("Typed %s into window %s." % (value, window or "(default)"))


def _get_property(call):
    data = dict(_target(call.args), property=call.args["property"])
    reply = _send(call, "getpro", data, "'%s' has no readable property '%s'." % (_where(call.args), data["property"]))
    return _text(_json(reply.value))


def _set_property(call):
    data = dict(_target(call.args), property=call.args["property"], propval=call.args["value"])
    _send(call, "setpro", data, "could not write property '%s' of '%s': it does not exist, is read-only, or "
          "%s does not convert to its type." % (data["property"], _where(call.args), _json(call.args["value"])))
    return _text("Set %s.%s to %s." % (_where(call.args), data["property"], _json(call.args["value"])))


def _invoke(word):
    def run(call):
        data = dict(_target(call.args), method=call.args["method"])
        args = call.args.get("args", [])
        if args:
            data["mthargs"] = args
        reply = _send(call, word, data, "could not call %s(%s) on '%s': no such method taking %d argument(s) "
                      "(only QML functions and methods taking QVariant are callable), or it failed."
                      % (data["method"], ", ".join(_json(a) for a in args), _where(call.args), len(args)))
        if word == "invokeret":
            return _text(_json(reply.value))
        return _text("Called %s.%s." % (_where(call.args), data["method"]))
    return run


def _wait_signal(call):
    timeout = call.args.get("timeout", 5000)
    data = dict(_target(call.args), signal=call.args["signal"], timeout=timeout)
    _send(call, "waitsignal", data, "'%s' did not emit %s within %d ms (give the full signature, "
          "e.g. clicked() or valueChanged(int))." % (_where(call.args), data["signal"], timeout))
    return _text("%s emitted %s." % (_where(call.args), data["signal"]))


def _window_name(call):
    reply = _send(call, "getwinname", _target(call.args), "'%s' is not shown in any window." % _where(call.args))
    return _text(_json(reply.value))


def _model_value(call):
    a = call.args
    data = {"pluginname": a["plugin"], "method": a["method"], "mdlitemrowpth": a["row_path"],
            "mdlitemrolename": a["role"]}
    word = "getmdlitemval"
    if "group" in a:
        word, data["grouprolename"] = "getgrpmdlitemval", a["group"]
    reply = _send(call, word, data, "no value at row path '%s', role '%s': the application publishes no plugin "
                  "'%s' whose method %s() returns a tree model%s, or the row or role is not there."
                  % (a["row_path"], a["role"], a["plugin"], a["method"],
                     " with group '%s'" % a["group"] if "group" in a else ""))
    return _text(_json(reply.value))


# -- extension words (offered only where the application answers them) -----------------------

def _extension(word, keys, result, hint):
    def run(call):
        data = {key: call.args[key] for key in keys if key in call.args}
        timeout = None
        if word == "waitprop":
            timeout = call.link.timeout + call.args["timeout"] / 1000.0
        if word in ("typetext", "screenshot") and "winobjname" not in data and call.window:
            data["winobjname"] = call.window
        reply = _send(call, word, data, hint, timeout)
        if result == "image":
            if not isinstance(reply.value, str) or not reply.value:
                raise ToolError("screenshot failed: the application sent no image.")
            return [{"type": "image", "data": reply.value, "mimeType": "image/png"}]
        if result == "value":
            return _text(_json(reply.value))
        return _text(result(call.args))
    return run


TOOLS = [
    Tool("click", "Click", "Click an item (left button at its centre unless told otherwise).",
         CLICK, "click", _pointer("click", "Clicked")),
    Tool("double_click", "Double-click", "Double-click an item.", CLICK, "dbclick", _pointer("dbclick", "Double-clicked")),
    Tool("hover", "Hover", "Move the mouse over an item without pressing.", POINTER, "hover", _pointer("hover", "Hovered over")),
    Tool("press", "Press", "Press and hold the left button on an item; release it with drop.",
         POINTER, "press", _pointer("press", "Pressed")),
    Tool("drag", "Drag", "Press the left button at one item-local point and move to another; the button stays "
         "held until drop.", DRAG, "drag", _pointer("drag", "Dragged over")),
    Tool("drop", "Drop", "Release the held left button over an item.", POINTER, "drop", _pointer("drop", "Released over")),
    Tool("key", "Key", 'Type one key into the focused item of a window: a name ("Enter", "Escape", "Tab", "F5"), '
         'a character, a combination ("Ctrl+A") or a Qt::Key code.',
         _schema({"key": {"type": ["string", "integer"], "description": 'key name, character, combination such '
                          'as "Ctrl+A", or Qt::Key code'},
                  "modifiers": MODIFIERS, "winobjname": WINDOW}, ["key"]), "keyclick", _key),
    Tool("get_property", "Read property", "Read a QML property of an object (returns its JSON value).",
         _schema({"objname": OBJNAME, "parobjname": PARENT, "property": PROPERTY}, ["objname", "property"]),
         "getpro", _get_property, read_only=True),
    Tool("set_property", "Write property", "Write a QML property of an object.",
         _schema({"objname": OBJNAME, "parobjname": PARENT, "property": PROPERTY, "value": ANY_VALUE},
                 ["objname", "property", "value"]), "setpro", _set_property),
    Tool("invoke", "Call method", "Call a method (QML function) of an object, ignoring what it returns.",
         _schema({"objname": OBJNAME, "parobjname": PARENT,
                  "method": {"type": "string", "description": "method name, e.g. reset"},
                  "args": {"type": "array", "maxItems": 10, "description": "up to 10 arguments (JSON values)"}},
                 ["objname", "method"]), "invoke", _invoke("invoke")),
    Tool("invoke_with_result", "Call method for its result",
         "Call a method (QML function) of an object and return its result as JSON.",
         _schema({"objname": OBJNAME, "parobjname": PARENT,
                  "method": {"type": "string", "description": "method name, e.g. currentValue"},
                  "args": {"type": "array", "maxItems": 10, "description": "up to 10 arguments (JSON values)"}},
                 ["objname", "method"]), "invokeret", _invoke("invokeret")),
    Tool("wait_signal", "Wait for signal", "Wait until an object emits a signal (counts emissions after the call "
         "starts).",
         _schema({"objname": OBJNAME, "parobjname": PARENT,
                  "signal": {"type": "string", "description": "full signature, e.g. clicked() or valueChanged(int)"},
                  "timeout": dict(TIMEOUT, description="longest wait in milliseconds (default 5000)")},
                 ["objname", "signal"]), "waitsignal", _wait_signal, read_only=True),
    Tool("window_name", "Window of an item", "Return the objectName of the window that shows an item.",
         TARGET, "getwinname", _window_name, read_only=True),
    Tool("model_value", "Read host model value", "Read one value of a tree model published by a host plugin "
         "(optionally of one of its group models).",
         _schema({"plugin": {"type": "string", "description": "name under which the host publishes the plugin"},
                  "method": {"type": "string", "description": "plugin method that returns the tree model"},
                  "row_path": {"type": "string", "description": 'row numbers from the top, "/"-separated, e.g. 1/0'},
                  "role": {"type": "string", "description": "role name of the value"},
                  "group": {"type": "string", "description": "group role name, to read from that group's model"}},
                 ["plugin", "method", "row_path", "role"]), "getmdlitemval", _model_value, read_only=True),
    Tool("tree", "Object tree", "Return the live object tree (names, types, paths, geometry, state) to find "
         "what to act on.",
         _schema({"objname": dict(OBJNAME, description="subtree to list (default: the whole scene)"),
                  "depth": {"type": "integer", "minimum": 0, "maximum": 1000, "description": "levels below the start"}}),
         "tree", _extension("tree", ("objname", "depth"), "value", "the tree could not be listed."),
         read_only=True, extension=True),
    Tool("find", "Find objects", "Return the paths of the objects whose property has a given value.",
         _schema({"property": PROPERTY, "value": ANY_VALUE,
                  "type": {"type": "string", "description": "QML type name to match, e.g. Button"},
                  "objname": dict(OBJNAME, description="subtree to search (default: the whole scene)")},
                 ["property", "value"]),
         "find", _extension("find", ("property", "value", "type", "objname"), "value", "nothing could be searched."),
         read_only=True, extension=True),
    Tool("screenshot", "Screenshot", "Take a PNG picture of a window as rendered now, or of one item in it.",
         _schema({"winobjname": dict(WINDOW, description="objectName of the window (default: the main window)"),
                  "objname": dict(OBJNAME, description="item to crop the picture to")}),
         "screenshot", _extension("screenshot", ("winobjname", "objname"), "image", "no picture could be taken."),
         read_only=True, extension=True),
    Tool("type_text", "Type text", "Type a text (any characters) into the focused item, or into an item after "
         "clicking it.",
         _schema({"text": {"type": "string", "description": "the text, typed character by character"},
                  "winobjname": WINDOW, "objname": dict(OBJNAME, description="item to click first, for focus")},
                 ["text"]),
         "typetext", _extension("typetext", ("text", "winobjname", "objname"), lambda a: "Typed %s." % _json(a["text"]),
                                "the text could not be typed."), extension=True),
    Tool("wheel", "Mouse wheel", "Turn the mouse wheel over an item (degrees; negative dy scrolls down).",
         _schema({"objname": OBJNAME, "x": X, "y": Y,
                  "dx": {"type": "number", "description": "horizontal wheel turn in degrees"},
                  "dy": {"type": "number", "description": "vertical wheel turn in degrees (15 is one notch)"}},
                 ["objname"]),
         "wheel", _extension("wheel", ("objname", "x", "y", "dx", "dy"), lambda a: "Turned the wheel over %s." % a["objname"],
                             "the wheel could not be turned over the item."), extension=True),
    Tool("wait_property", "Wait for property", "Wait until a property of an object equals a value.",
         _schema({"objname": OBJNAME, "property": PROPERTY, "value": ANY_VALUE, "timeout": TIMEOUT},
                 ["objname", "property", "value", "timeout"]),
         "waitprop", _extension("waitprop", ("objname", "property", "value", "timeout"),
                                lambda a: "%s.%s is %s." % (a["objname"], a["property"], _json(a["value"])),
                                "the property did not reach the value in time."), read_only=True, extension=True),
]
