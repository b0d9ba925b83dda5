"""The tools that the agent tool server offers: one per control, named as the control's client
method, taking the control's wire keys as arguments.

A tool turns its arguments into the client method's parameters (schema.py) and has the
client's own request builder make the request.  Tools of extension words are offered only when
the application answers extension words.
"""

import json

from .. import qt
from .link import ToolError
from .schema import ARGS, Arg, Tool, check_arguments  # noqa: F401  (check_arguments: the server's)

__all__ = ["TOOLS", "Tool", "check_arguments", "parse_key"]

# -- running a control and explaining a failure ---------------------------------------------


def _text(text):
    return [{"type": "text", "text": text}]


def _json(value):
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def _where(args):
    path = args.get("objname", "")
    return "%s.%s" % (args["parobjname"], path) if args.get("parobjname") else path


def _bad(tool, name, why):
    return ToolError("Bad argument for %s: '%s' %s." % (tool, name, why))


def _send(call, control_name, hint, **kwargs):
    """Builds the request of control ``control_name`` with the client's builder, sends it, and returns
    the reply; a false reply raises a ToolError that says why."""
    try:
        request = call.link.builder.request(control_name, **kwargs)
    except (TypeError, ValueError) as error:
        raise ToolError("Bad argument for %s: %s." % (call.tool.name, error)) from None
    reply = call.link.send(request)
    if not reply.result:
        raise _fail(call, reply, hint)
    return reply


def _fail(call, reply, hint):
    """The message for a false reply: the application's own reason when it gives one (extension
    mode), else what a look at the object tells."""
    reason = reply.raw.get("error")
    if isinstance(reason, str) and reason:
        return ToolError("%s failed: %s" % (call.tool.name, reason))
    if "objname" in call.args:
        probe = call.link.builder.request("get_property", path=call.args["objname"], name="objectName",
                                          parent=call.args.get("parobjname"))
        if not call.link.send(probe):
            parent = " (parobjname '%s')" % call.args["parobjname"] if call.args.get("parobjname") else ""
            return ToolError("%s failed: no object found at path '%s'%s. Check each name along the path "
                             "(objectName values; a path may skip ancestors)." % (call.tool.name, call.args["objname"],
                                                                                   parent))
    return ToolError("%s failed: %s" % (call.tool.name, hint))


def _window(call):
    """The window a pointer action goes to: the argument, the server's default, else the one
    that shows the item (the application needs a window name for pointer actions)."""
    window = call.args.get("winobjname") or call.window
    if window:
        return window
    target = {"path": call.args["objname"], "parent": call.args.get("parobjname")}
    return _send(call, "get_window_name", "'%s' is not shown in any window." % _where(call.args), **target).value


def run(hint, done=None):
    """The usual tool: the control with the call's arguments (and the server's window where the
    control takes one and the call names none); ``done(args, reply)`` says what happened,
    by default the reply's value as JSON."""
    def run_call(call):
        kwargs = call.tool.keywords(call.args)
        if "winobjname" in call.tool.args and "window" not in kwargs and call.window:
            kwargs["window"] = call.window
        reply = _send(call, call.tool.name, hint(call.args) if callable(hint) else hint, **kwargs)
        return _text(done(call.args, reply) if done else _json(reply.value))
    return run_call


def _pointer(verb):
    def run_call(call):
        kwargs = call.tool.keywords(call.args)
        kwargs["window"] = window = _window(call)
        for pair in ("from", "to"):
            given = [key for key in (pair + "_x", pair + "_y") if key in kwargs]
            if len(given) == 1:
                missing = pair + ("_y" if given[0].endswith("x") else "_x")
                raise _bad(call.tool.name, missing, "is missing (%s_x and %s_y go together)" % (pair, pair))
            if given:
                kwargs[pair + "_xy"] = (kwargs.pop(pair + "_x"), kwargs.pop(pair + "_y"))
        _send(call, call.tool.name, "'%s' is not an Item that can take pointer input, or window '%s' is wrong "
              "(get_window_name tells an item's window)." % (_where(call.args), window), **kwargs)
        return _text("%s %s in window %s." % (verb, _where(call.args), window))
    return run_call


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


def _key_click(call):
    value = call.args["key"]
    try:
        code, mods = (value, 0) if isinstance(value, int) else parse_key(value)
    except (TypeError, ValueError) as error:
        raise _bad(call.tool.name, "key", "is not a key (%s); use a key name such as Enter, Escape, Tab, "
                   "Left, F5, a character, a combination such as Ctrl+A, or a Qt::Key code" % error) from None
    if "keyboardModifier" in call.args:
        try:
            mods |= qt.parse_modifiers(call.args["keyboardModifier"])
        except (TypeError, ValueError) as error:
            raise _bad(call.tool.name, "keyboardModifier", "is not a modifier set (%s)" % error) from None
    window = call.args.get("winobjname") or call.window
    _send(call, "key_click", "the application could not type the key (window '%s')." % (window or "default"),
          window=window, key=code, modifiers=mods)
    return _text("Typed %s into window %s." % (value, window or "(default)"))


def _screenshot(call):
    kwargs = call.tool.keywords(call.args)
    kwargs.setdefault("window", call.window)
    reply = _send(call, "screenshot", "no picture could be taken.", **kwargs)
    if not isinstance(reply.value, str) or not reply.value:
        raise ToolError("screenshot failed: the application sent no image.")
    return [{"type": "image", "data": reply.value, "mimeType": "image/png"}]


# -- the tools -------------------------------------------------------------------------------

def tool(name, title, description, keys, runner, required=("objname",), **options):
    """A tool of the wire keys ``keys`` (ARGS), each a key or a (key, Arg) pair."""
    args = dict((key, ARGS[key]) if isinstance(key, str) else key for key in keys)
    return Tool(name, title, description, args, [key for key in required if key in args], runner, **options)


POINTER = ["objname", "parobjname", "winobjname", "x", "y"]
CLICK = POINTER + ["clickbtn", "keyboardModifier", "actionable"]
TARGET = ["objname", "parobjname", "method", "mthargs"]
MODEL = ["pluginname", "method", "mdlitemrowpth", "mdlitemrolename"]
CALL = ["objname", "parobjname", ("method", ARGS["method"].but(description="method name, e.g. reset")), "mthargs"]
AT = dict(extension=True)
LOOK = dict(read_only=True, extension=True)
SUBTREE = ("objname", ARGS["objname"].but(description="subtree (default: the whole scene)"))


def _call_hint(args):
    values = args.get("mthargs", [])
    return ("could not call %s(%s) on '%s': no such method taking %d argument(s) (only QML functions and methods "
            "taking QVariant are callable), or it failed." % (args["method"], ", ".join(_json(a) for a in values),
                                                               _where(args), len(values)))


def _model_hint(args):
    group = " with group '%s'" % args["grouprolename"] if "grouprolename" in args else ""
    return ("no value at row path '%s', role '%s': the application publishes no plugin '%s' whose method %s() "
            "returns a tree model%s, or the row or role is not there."
            % (args["mdlitemrowpth"], args["mdlitemrolename"], args["pluginname"], args["method"], group))


def _done(text):
    return lambda args, reply: text % args if "%(" in text else text


TOOLS = [
    tool("click", "Click", "Click an item (left button at its centre unless told otherwise).", CLICK,
         _pointer("Clicked")),
    tool("double_click", "Double-click", "Double-click an item.", CLICK, _pointer("Double-clicked")),
    tool("hover", "Hover", "Move the mouse over an item without pressing.", POINTER + ["actionable"],
         _pointer("Hovered over")),
    tool("press", "Press", "Press and hold the left button on an item; release it with drop.",
         POINTER + ["actionable"], _pointer("Pressed")),
    tool("drag", "Drag", "Press the left button at one item-local point and move to another; the button stays "
         "held until drop.", POINTER + ["from_x", "from_y", "to_x", "to_y", "actionable"], _pointer("Dragged over")),
    tool("drop", "Drop", "Release the held left button over an item.", POINTER + ["actionable"],
         _pointer("Released over")),
    tool("key_click", "Key", 'Type one key into the focused item of a window: a name ("Enter", "Escape", "Tab", '
         '"F5"), a character, a combination ("Ctrl+A") or a Qt::Key code.',
         [("key", ARGS["text"].but(alias="key", type=["string", "integer"], description='key name, character, '
                                   'combination such as "Ctrl+A", or Qt::Key code')),
          "keyboardModifier", "winobjname"], _key_click, required=["key"]),
    tool("get_property", "Read property", "Read a QML property of an object (returns its JSON value).",
         TARGET[:2] + ["property"] + TARGET[2:], run(lambda a: "'%s' has no readable property '%s'."
                                                     % (_where(a), a["property"])),
         required=["objname", "property"], read_only=True),
    tool("set_property", "Write property", "Write a QML property of an object.",
         TARGET[:2] + ["property", "propval"] + TARGET[2:],
         run(lambda a: "could not write property '%s' of '%s': it does not exist, is read-only, or %s does not "
             "convert to its type." % (a["property"], _where(a), _json(a["propval"])),
             lambda a, r: "Set %s.%s to %s." % (_where(a), a["property"], _json(a["propval"]))),
         required=["objname", "property", "propval"]),
    tool("invoke", "Call method", "Call a method (QML function) of an object, ignoring what it returns.", CALL,
         run(_call_hint, lambda a, r: "Called %s.%s." % (_where(a), a["method"])), required=["objname", "method"]),
    tool("invoke_ret", "Call method for its result",
         "Call a method (QML function) of an object and return its result as JSON.", CALL, run(_call_hint),
         required=["objname", "method"]),
    tool("wait_signal", "Wait for signal", "Wait until an object emits a signal (counts emissions after the call "
         "starts).", ["objname", "parobjname", "signal", ("timeout", Arg("timeout_ms", dict(
             ARGS["timeout"].schema, description="longest wait in milliseconds (left out: the signal must "
                                                 "come at once; give one, such as 5000, to wait)")))],
         run(lambda a: "'%s' did not emit %s within %d ms (give the full signature, e.g. clicked() or "
             "valueChanged(int), and a timeout to wait)." % (_where(a), a["signal"], a.get("timeout", 0)),
             lambda a, r: "%s emitted %s." % (_where(a), a["signal"])),
         required=["objname", "signal"], read_only=True),
    tool("get_window_name", "Window of an item", "Return the objectName of the window that shows an item.", TARGET,
         run(lambda a: "'%s' is not shown in any window." % _where(a)), read_only=True),
    tool("get_model_value", "Read host model value", "Read one value of a tree model published by a host plugin.",
         MODEL, run(_model_hint), required=MODEL, read_only=True),
    tool("get_group_model_value", "Read host group model value", "Read one value of a group model of a tree "
         "model published by a host plugin.", MODEL + ["grouprolename"], run(_model_hint),
         required=MODEL + ["grouprolename"], read_only=True),
    tool("get_filter_model_value", "Read host filter model value", "The filter-model query: the application "
         "accepts it but does not support it, so it always fails.", [],
         run("filter models are not supported."), read_only=True),
    tool("emit_plugin_signal", "Emit plugin signal", "Make a host plugin emit an argument-less signal (or run "
         "such a method).", ["pluginName", "signalName"], run("", _done("Emitted %(signalName)s of %(pluginName)s.")),
         required=["pluginName", "signalName"]),
    tool("move_joystick", "Move joystick", "Move the host's joystick axes.", ["pos_x", "pos_y", "pos_z"],
         run("", _done("Moved the joystick."))),
    tool("joystick_button_event", "Joystick button", "Send a joystick button event to the host.",
         ["model_name", "key_id"], run("", _done("Sent button %(key_id)s of %(model_name)s.")),
         required=["model_name", "key_id"]),
    tool("add_joystick", "Add joysticks", "Tell the host which joystick devices are attached.", ["joystick_list"],
         run("", _done("Announced the joysticks.")), required=["joystick_list"]),
    tool("describe", "Controls", "List the controls this application understands, with their arguments.", [],
         run("the application could not describe its controls."), **LOOK),
    tool("tree", "Object tree", "Return the live object tree (names, types, paths, geometry, state) to find what "
         "to act on.", [SUBTREE, "parobjname", "depth"], run("the tree could not be listed."), required=(),
         **LOOK),
    tool("find", "Find objects", "Return the paths of the objects whose property has a given value.",
         [("property", ARGS["property"].but(alias="property")), "value", "type", SUBTREE, "parobjname"],
         run("nothing could be searched."), required=(), **LOOK),
    tool("screenshot", "Screenshot", "Take a PNG picture of a window as rendered now, or of one item in it.",
         [("winobjname", ARGS["winobjname"].but(description="objectName of the window (default: the main window)")),
          ("objname", ARGS["objname"].but(description="item to crop the picture to")), "parobjname"],
         _screenshot, required=(), **LOOK),
    tool("type_text", "Type text", "Type a text (any characters) into the focused item, or into an item after "
         "clicking it.", ["text", "winobjname", ("objname", ARGS["objname"].but(description="item to click first, "
                                                                             "for focus")), "parobjname"],
         run("the text could not be typed.", lambda a, r: "Typed %s." % _json(a["text"])), required=["text"], **AT),
    tool("wheel", "Mouse wheel", "Turn the mouse wheel over an item (degrees; negative dy scrolls down).",
         POINTER + ["dx", "dy", "keyboardModifier"], run("the wheel could not be turned over the item.",
                                                         _done("Turned the wheel over %(objname)s.")), **AT),
    tool("swipe", "Swipe", "Press, move and release over an item on an exact time plan (flicks, drawers, page "
         "turns).", ["objname", "parobjname", "winobjname", "from", "to", "steps", "duration", "button"],
         run("the swipe could not be done over the item.", _done("Swiped over %(objname)s.")), **AT),
    tool("spy", "Spy on signal", "Arm a spy that counts a signal's emissions from now on; returns the spy's id.",
         ["objname", "parobjname", ("signal", ARGS["signal"].but(description="the signal, e.g. clicked"))],
         run("the signal could not be spied on."), required=["objname", "signal"], **LOOK),
    tool("spy_count", "Spy count", 'How often a spy\'s signal fired, with the arguments: {"count": n, "args": '
         "[...]}.", ["id"], run("no such spy."), required=["id"], **LOOK),
    tool("unspy", "Disarm spy", "Disarm a spy: it stops counting and its id is no longer known.", ["id"],
         run("no such spy.", _done("The spy is disarmed.")), required=["id"], **LOOK),
    tool("wait_spy", "Wait for spy", "Wait until a spy has seen a number of emissions in all; returns the count.",
         ["id", "count", "timeout"], run("the spy did not see the emissions in time."), required=["id"], **LOOK),
    tool("wait_property", "Wait for property", "Wait until a property of an object equals a value.",
         ["objname", "parobjname", "property", "value", "timeout"],
         run("the property did not reach the value in time.",
             lambda a, r: "%s.%s is %s." % (_where(a), a["property"], _json(a["value"]))),
         required=["objname", "property", "value"], **LOOK),
    tool("wait_idle", "Wait until idle", "Wait until nothing in a window moves and a frame has rendered since.",
         ["winobjname", ("objname", ARGS["objname"].but(description="only what moves below this item counts")), "ignore",
          "timeout"], run("the window did not come to rest in time.", _done("The window is idle.")),
         required=(), **LOOK),
    tool("handle", "Object handle", "Return a handle (a number) that names an object for as long as the "
         "application runs, whatever happens to its path.", ["objname", "parobjname"],
         run(lambda a: "'%s' names no object." % _where(a)), **LOOK),
    tool("resolve", "Resolve handle", 'What a handle names now: {"path", "type", "alive": true}; fails once the '
         "object is destroyed.", ["handle"], run("the handle names no living object."), required=["handle"], **LOOK),
    tool("evaluate", "Run JavaScript", "Run JavaScript in the application's QML engine, as the body of a function "
         'called with args (objects as {"handle": n} or {"objname": path}); returns what it returns.',
         ["script", "args", ("objname", ARGS["objname"].but(description="the object the script gets as this")),
          "parobjname", ("timeout", ARGS["timeout"].but(description="longest run in milliseconds (default 5000)"))],
         run("the script failed."), required=["script"], **AT),
]
