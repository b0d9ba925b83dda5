"""The command line's control commands: one per control, named as the control's client method
with "-" for "_" (``double-click``); the control word is accepted as another name (``dbclick``).

Options and positionals are named as the method's parameters, so a command runs by handing
them over to the method's request builder; the reply is printed as it came.
"""

import argparse
import base64
import json

from . import qt
from .protocol import Reply

__all__ = ["add_commands", "command_name"]


def command_name(name):
    """The command of the control whose client method is ``name``."""
    return name.replace("_", "-")


def json_value(text):
    """A JSON value, or the text itself when it is not JSON."""
    try:
        return json.loads(text)
    except ValueError:
        return text


def _checked(convert):
    def parse(text):
        try:
            return convert(text)
        except ValueError as error:
            raise argparse.ArgumentTypeError(str(error)) from None
    parse.__name__ = convert.__name__
    return parse


def _pair(text):
    parts = text.replace(":", ",").split(",")
    if len(parts) != 2:
        raise ValueError("expected X,Y, got %r" % text)
    try:
        return int(parts[0]), int(parts[1])
    except ValueError:
        raise ValueError("expected integers X,Y, got %r" % text) from None


def _place(text):
    """A swipe point: a place name, or X,Y."""
    return text if text.replace("_", "").isalpha() else _pair(text)


_modifiers = _checked(qt.parse_modifiers)
_button = _checked(qt.button_word)
_key = _checked(lambda text: qt.parse_key(text) if len(text) != 1 else text)
_pair = _checked(_pair)
_place = _checked(_place)

# The arguments the controls share: name -> (flags, add_argument options).
_SHARED = {
    "path": ((), dict(help="dotted objectName path of the target, e.g. main.okButton")),
    "window": (("-w", "--window"), dict(help="object name of the window (winobjname)")),
    "parent": (("--parent",), dict(help="path prefix (parobjname)")),
    "x": (("-x",), dict(type=int, help="item-local x (used only with -y)")),
    "y": (("-y",), dict(type=int, help="item-local y (used only with -x)")),
    "button": (("-b", "--button"), dict(type=_button, help="left (default), right or mid")),
    "modifiers": (("-m", "--modifiers"), dict(type=_modifiers, help='modifier keys, e.g. "ctrl+shift" or 0x02000000')),
    "method": (("--method",), dict(help="act on the object this method of PATH returns")),
    "args": (("--arg",), dict(action="append", type=json_value, metavar="VALUE",
                              help="argument of --method (repeatable)")),
    "delay": (("--delay",), dict(type=int, metavar="MS", help="milliseconds before the control runs")),
    "name": ((), dict(metavar="property", help="the property's name")),
    "value": ((), dict(type=json_value, help="JSON value, or a plain string")),
    "timeout": (("-t", "--timeout"), dict(type=float, metavar="S", help="longest wait in seconds (default 5)")),
    "spy_id": ((), dict(type=int, help="the spy's id (what spy printed)")),
    "signal": ((), dict(help='the signal, e.g. "clicked()"')),
}

_POINTER = ["path", "window", "x", "y", "parent"]
_UNNAMED = ["method", "args", "delay"]
_TARGET = ["path", "parent", "method", "args", "delay"]


def _actionable(parser):
    parser.add_argument("--actionable", action="store_const", const=True, default=None,
                        help="check first that a person could act on the item (the default)")
    parser.add_argument("--no-actionable", dest="actionable", action="store_const", const=False)


def _add(parser, names, **own):
    """Adds the shared arguments ``names``; ``own`` replaces or adds (flags, options) pairs."""
    for name in names:
        flags, options = own.pop(name) if name in own else _SHARED[name]
        if flags:
            parser.add_argument(*flags, **dict({"dest": name}, **options))
        else:
            parser.add_argument(name, **options)
    for name, (flags, options) in own.items():
        parser.add_argument(*(flags or (name,)), **(dict({"dest": name}, **options) if flags else options))


def _run(name):
    def run(client, args):
        keys = [a.dest for a in args.parser_actions]
        kwargs = {key: getattr(args, key) for key in keys if getattr(args, key, None) is not None}
        return client.send(client.request(name, **kwargs))
    return run


def _screenshot(client, args):
    reply = _run("screenshot")(client, args)
    if not reply.result:
        return reply
    with open(args.file, "wb") as out:
        out.write(base64.b64decode(reply.value))
    return Reply(True, args.file, raw={"result": True, "value": args.file})


def _commands():
    """(method name, control word, help, shared argument names, own arguments)."""
    opt = dict(nargs="?")
    return [
        ("click", "click", "click an item", _POINTER + ["button", "modifiers"] + _UNNAMED, {}),
        ("double_click", "dbclick", "double-click an item", _POINTER + ["button", "modifiers"] + _UNNAMED, {}),
        ("hover", "hover", "move the mouse over an item", _POINTER + _UNNAMED, {}),
        ("press", "press", "press the left button on an item (release with drop)", _POINTER + _UNNAMED, {}),
        ("drop", "drop", "release the left button over an item", _POINTER + _UNNAMED, {}),
        ("drag", "drag", "press the left button on an item and move once (release with drop)", _POINTER + _UNNAMED,
         {"from_xy": (("--from",), dict(type=_pair, metavar="X,Y", help="start point (with --to)")),
          "to_xy": (("--to",), dict(type=_pair, metavar="X,Y", help="end point (with --from)"))}),
        ("key_click", "keyclick", "type one key into a window", ["key", "window", "modifiers", "delay"],
         {"key": ((), dict(type=_key, help='key code (65, 0x41), name (Return, F5, Escape) or character ("a")'))}),
        ("type_text", "typetext", "type any text into the focused item (extension mode)",
         ["text", "window", "path", "parent"],
         {"text": ((), {}), "path": (("-p", "--path"), dict(help="an item to click first, for focus"))}),
        ("get_property", "getpro", "read a property", ["path", "name"] + _TARGET[1:], {}),
        ("set_property", "setpro", "write a property", ["path", "name", "value"] + _TARGET[1:],
         {"value": ((), dict(help="JSON value, or a plain string")),
          "string": (("-s", "--string"), dict(action="store_true", help="send VALUE as a string even if it is JSON"))}),
        ("get_window_name", "getwinname", "read the object name of an item's window", _TARGET, {}),
        ("invoke", "invoke", "call a method", ["path", "method", "args", "parent", "delay"],
         {"method": ((), dict(help="the method's name")),
          "args": ((), dict(nargs="*", type=json_value, help="arguments (JSON values or strings)"))}),
        ("invoke_ret", "invokeret", "call a method and print its return value",
         ["path", "method", "args", "parent", "delay"],
         {"method": ((), dict(help="the method's name")),
          "args": ((), dict(nargs="*", type=json_value, help="arguments (JSON values or strings)"))}),
        ("wait_signal", "waitsignal", "wait until an object emits a signal", ["path", "signal", "parent", "delay"],
         {"timeout_ms": ((), dict(type=int, nargs="?", help="longest wait in milliseconds (default 0)"))}),
        ("get_model_value", "getmdlitemval", "read a value of a host plugin's tree model",
         ["plugin", "method", "row_path", "role", "delay"],
         {"plugin": ((), {}), "method": ((), {}), "row_path": ((), dict(help='rows separated by "/", e.g. 1/0')),
          "role": ((), {})}),
        ("get_group_model_value", "getgrpmdlitemval", "read a value of a group model of a host plugin's tree model",
         ["plugin", "method", "group", "row_path", "role", "delay"],
         {"plugin": ((), {}), "method": ((), {}), "group": ((), {}), "row_path": ((), {}), "role": ((), {})}),
        ("get_filter_model_value", "getfltmdlitemval", "filter-model query (accepted, always fails)",
         ["plugin", "method", "row_path", "role", "delay"],
         {"plugin": ((), opt), "method": ((), opt), "row_path": ((), opt), "role": ((), opt)}),
        ("add_joystick", "addjoystick", "announce the attached joystick devices", ["devices", "delay"],
         {"devices": ((), dict(nargs="*"))}),
        ("joystick_button_event", "joystickbuttonevent", "press a joystick button", ["model", "key_id", "delay"],
         {"model": ((), {}), "key_id": ((), dict(type=int))}),
        ("move_joystick", "movejoystick", "move the joystick axes", ["x", "y", "z", "delay"],
         {"x": ((), dict(type=float)), "y": ((), dict(type=float, nargs="?")), "z": ((), dict(type=float, nargs="?"))}),
        ("emit_plugin_signal", "emitpluginsignal", "make a host plugin emit an argument-less signal",
         ["plugin", "signal", "delay"], {"plugin": ((), {})}),
        ("describe", "describe", "print the controls the application understands (extension mode)", [], {}),
        ("tree", "tree", "print the live object tree (extension mode)", ["path", "depth", "parent"],
         {"path": ((), dict(nargs="?", help="the subtree's object path (default: the whole scene)")),
          "depth": (("-d", "--depth"), dict(type=int, help="levels below the object"))}),
        ("find", "find", "print the paths of objects whose property has a value", ["property", "value", "type",
                                                                                  "path", "parent"],
         {"property": ((), opt), "value": ((), dict(opt, type=json_value, help='a JSON literal (true, 3, "text") or text')),
          "type": (("-t", "--type"), dict(help="only objects of this type (Button, CheckBox ...)")),
          "path": (("-u", "--under", "--path"), dict(help="only below this object path"))}),
        ("screenshot", "screenshot", "save the window as rendered now as PNG", ["file", "window", "path", "parent"],
         {"file": ((), {}), "path": (("-i", "--item", "--path"), dict(help="crop to this item's path"))}),
        ("wheel", "wheel", "turn the mouse wheel over an item (15 degrees a notch)",
         _POINTER + ["dy", "dx", "modifiers"],
         {"dy": ((), dict(type=float, nargs="?", help="degrees; positive turns the wheel away from the user")),
          "dx": (("--dx",), dict(type=float, help="degrees across"))}),
        ("swipe", "swipe", "press, move and release over an item on a time plan",
         ["path", "start", "end", "window", "steps", "duration", "button", "parent"],
         {"start": ((), dict(type=_place, nargs="?", help="center (default), left, topleft ... or X,Y")),
          "end": ((), dict(type=_place, nargs="?", help="left (default), right ... or X,Y")),
          "steps": (("--steps",), dict(type=int, help="moves between press and release (default 10)")),
          "duration": (("--duration",), dict(type=int, metavar="MS", help="milliseconds (default 200)"))}),
        ("spy", "spy", "arm a spy that counts a signal's emissions; prints its id", ["path", "signal", "parent"], {}),
        ("spy_count", "spycount", "print how often a spy's signal fired, with the arguments", ["spy_id"], {}),
        ("unspy", "unspy", "disarm a spy", ["spy_id"], {}),
        ("wait_spy", "waitspy", "wait until a spy has seen a number of emissions", ["spy_id", "count", "timeout"],
         {"count": ((), dict(type=int, nargs="?", help="emissions in all (default 1)"))}),
        ("wait_property", "waitprop", "wait until a property holds a value",
         ["path", "name", "value", "timeout", "parent"], {}),
        ("wait_idle", "waitidle", "wait until nothing moves in a window", ["window", "timeout", "path", "ignore"],
         {"path": (("--path",), dict(help="only what moves below this item counts")),
          "ignore": (("--ignore",), dict(action="append", help="a name, id or type of what never stops (repeatable)"))}),
        ("handle", "handle", "print the handle of an object (extension mode)", ["path", "parent"], {}),
        ("resolve", "resolve", "print what a handle names now: path, type", ["handle"],
         {"handle": ((), dict(type=int, help="the handle (what handle printed)"))}),
        ("evaluate", "evaluate", "run JavaScript in the application's QML engine; print what it returns",
         ["script", "args", "path", "parent", "timeout"],
         {"script": ((), dict(help='the body of a function, e.g. "return arguments[0].text"')),
          "args": ((), dict(nargs="*", type=json_value, help='its arguments (JSON; {"handle": n} passes an object)')),
          "path": (("-p", "--path"), dict(help="the object the script gets as this")),
          "timeout": (("-t", "--timeout"), dict(type=float, metavar="S", help="longest run in seconds (default 5)"))}),
    ]


def add_commands(subparsers):
    """Adds a command per control; each one's ``run(client, args)`` returns the reply."""
    for name, word, text, shared, own in _commands():
        aliases = [word] if word != command_name(name) else []
        parser = subparsers.add_parser(command_name(name), aliases=aliases, help=text, description=text)
        dests = {action.dest for action in parser._actions}
        _add(parser, shared, **own)
        if word in ("click", "dbclick", "hover", "press", "drag", "drop"):
            _actionable(parser)
        actions = [a for a in parser._actions if a.dest not in dests and a.dest not in ("string", "file")]
        run = _screenshot if name == "screenshot" else _run(name)
        if name == "set_property":
            run = _set_property
        parser.set_defaults(run=run, parser_actions=actions)


def _set_property(client, args):
    if not args.string:  # else the value as typed, a string even where it reads as JSON
        args.value = json_value(args.value)
    return _run("set_property")(client, args)
