"""Command line client: ``python3 -m uiremote [--host H] [--port P] [--timeout S] <command> ...``.

Every command sends one control and prints the reply as one line of JSON.  Exit status: 0 when
the reply's "result" is true, 1 when it is false, 2 when the application cannot be reached, the
connection breaks, no reply comes in time, or the command line is wrong.

Values (``setpro`` VALUE, ``invoke`` ARG ...) are read as JSON when they parse as JSON and as
plain strings otherwise: ``5`` is a number, ``true`` a boolean, ``'"5"'`` and ``hello`` strings.
"""

import argparse
import io
import json
import os
import shlex
import sys

from . import qt
from .scene_cli import add_commands as add_scene_commands
from .client import DEFAULT_PORT, Client
from .errors import UIRemoteError

__all__ = ["main", "build_parser"]

EXIT_TRUE = 0
EXIT_FALSE = 1
EXIT_ERROR = 2


def _value(text):
    try:
        return json.loads(text)
    except ValueError:
        return text


def _pair(text):
    parts = text.replace(":", ",").split(",")
    if len(parts) != 2:
        raise argparse.ArgumentTypeError("expected X,Y, got %r" % text)
    try:
        return int(parts[0]), int(parts[1])
    except ValueError:
        raise argparse.ArgumentTypeError("expected integers X,Y, got %r" % text) from None


def _modifiers(text):
    try:
        return qt.parse_modifiers(text)
    except ValueError as error:
        raise argparse.ArgumentTypeError(str(error)) from None


def _key(text):
    try:
        return qt.parse_key(text) if len(text) != 1 else text
    except ValueError as error:
        raise argparse.ArgumentTypeError(str(error)) from None


def _button(text):
    try:
        return qt.button_word(text)
    except ValueError as error:
        raise argparse.ArgumentTypeError(str(error)) from None


def _target_options(parser, window=True, point=True):
    parser.add_argument("path", help="dotted objectName path of the target, e.g. main.okButton")
    if window:
        parser.add_argument("-w", "--window", help="object name of the window (winobjname)")
    if point:
        parser.add_argument("-x", type=int, help="item-local x (used only with -y)")
        parser.add_argument("-y", type=int, help="item-local y (used only with -x)")
    parser.add_argument("--parent", help="path prefix (parobjname)")


def _delay_option(parser):
    parser.add_argument("--delay", type=int, metavar="MS", help="milliseconds before the control runs")


def _unnamed_options(parser):
    parser.add_argument("--method", help="act on the object this method of PATH returns")
    parser.add_argument("--arg", dest="method_args", action="append", type=_value, metavar="VALUE",
                        help="argument of --method (repeatable)")


def _add_commands(subparsers):
    def command(name, help_text):
        parser = subparsers.add_parser(name, help=help_text, description=help_text)
        return parser

    for name, text in (("click", "click an item"), ("dbclick", "double-click an item")):
        p = command(name, text)
        _target_options(p)
        p.add_argument("-b", "--button", type=_button, help="left (default), right or mid")
        p.add_argument("-m", "--modifiers", type=_modifiers, help='modifier keys, e.g. "ctrl+shift" or 0x02000000')
        _unnamed_options(p)
        _delay_option(p)
        method = "click" if name == "click" else "double_click"
        p.set_defaults(run=lambda c, a, method=method: getattr(c, method)(
            a.path, a.window, a.button, a.x, a.y, a.modifiers, a.parent, a.delay,
            method=a.method, args=a.method_args))

    for name, text in (("hover", "move the mouse over an item"),
                       ("press", "press the left button on an item (release with drop)"),
                       ("drop", "release the left button over an item")):
        p = command(name, text)
        _target_options(p)
        _unnamed_options(p)
        _delay_option(p)
        p.set_defaults(run=lambda c, a, name=name: getattr(c, name)(
            a.path, a.window, a.x, a.y, a.parent, a.delay, method=a.method, args=a.method_args))

    p = command("drag", "press the left button on an item and move once (release with drop)")
    _target_options(p)
    p.add_argument("--from", dest="from_xy", type=_pair, metavar="X,Y", help="start point (with --to)")
    p.add_argument("--to", dest="to_xy", type=_pair, metavar="X,Y", help="end point (with --from)")
    _unnamed_options(p)
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.drag(a.path, a.window, a.from_xy, a.to_xy, a.x, a.y, a.parent, a.delay,
                                           method=a.method, args=a.method_args))

    p = command("keyclick", "type one key into a window")
    p.add_argument("key", type=_key, help='key code (65, 0x41), name (Return, F5, Escape) or character ("a")')
    p.add_argument("-w", "--window", help="object name of the window (winobjname)")
    p.add_argument("-m", "--modifiers", type=_modifiers, help='modifier keys, e.g. "ctrl+shift"')
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.key_click(a.window, a.key, a.modifiers, a.delay))

    p = command("type", "type a text key by key into a window (one keyclick per character)")
    p.add_argument("text")
    p.add_argument("-w", "--window", help="object name of the window (winobjname)")
    p.set_defaults(run=lambda c, a: _type(c, a.window, a.text))

    p = command("getpro", "read a property")
    _target_options(p, window=False, point=False)
    p.add_argument("property")
    _unnamed_options(p)
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.get_property(a.path, a.property, a.parent, a.method, a.method_args, a.delay))

    p = command("setpro", "write a property")
    _target_options(p, window=False, point=False)
    p.add_argument("property")
    p.add_argument("value", help="JSON value, or a plain string")
    p.add_argument("-s", "--string", action="store_true", help="send VALUE as a string even if it is JSON")
    _unnamed_options(p)
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.set_property(
        a.path, a.property, a.value if a.string else _value(a.value), a.parent, a.method, a.method_args, a.delay))

    p = command("getwinname", "read the object name of an item's window")
    _target_options(p, window=False, point=False)
    _unnamed_options(p)
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.get_window_name(a.path, a.parent, a.method, a.method_args, a.delay))

    for name, text in (("invoke", "call a method"), ("invokeret", "call a method and print its return value")):
        p = command(name, text)
        _target_options(p, window=False, point=False)
        p.add_argument("method")
        p.add_argument("args", nargs="*", type=_value, help="arguments (JSON values or strings)")
        _delay_option(p)
        method = "invoke" if name == "invoke" else "invoke_ret"
        p.set_defaults(run=lambda c, a, method=method: getattr(c, method)(
            a.path, a.method, *a.args, parent=a.parent, delay=a.delay))

    p = command("waitsignal", "wait until an object emits a signal")
    _target_options(p, window=False, point=False)
    p.add_argument("signal", help='full signature, e.g. "clicked()" or "valueChanged(int)"')
    p.add_argument("timeout_ms", type=int, nargs="?", help="longest wait in milliseconds (default 0)")
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.wait_signal(a.path, a.signal, a.timeout_ms, a.parent, a.delay))

    p = command("getmdlitemval", "read a value of a host plugin's tree model")
    p.add_argument("plugin")
    p.add_argument("method")
    p.add_argument("row_path", help='rows separated by "/", e.g. 1/0')
    p.add_argument("role")
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.get_model_value(a.plugin, a.method, a.row_path, a.role, a.delay))

    p = command("getgrpmdlitemval", "read a value of a group model of a host plugin's tree model")
    p.add_argument("plugin")
    p.add_argument("method")
    p.add_argument("group")
    p.add_argument("row_path")
    p.add_argument("role")
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.get_group_model_value(a.plugin, a.method, a.group, a.row_path, a.role,
                                                            a.delay))

    p = command("getfltmdlitemval", "filter-model query (accepted, always fails)")
    for name in ("plugin", "method", "row_path", "role"):
        p.add_argument(name, nargs="?")
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.get_filter_model_value(a.plugin, a.method, a.row_path, a.role,
                                                             delay=a.delay))

    p = command("addjoystick", "announce the attached joystick devices")
    p.add_argument("devices", nargs="*")
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.add_joystick(a.devices, a.delay))

    p = command("joystickbuttonevent", "press a joystick button")
    p.add_argument("model")
    p.add_argument("key_id", type=int)
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.joystick_button_event(a.model, a.key_id, a.delay))

    p = command("movejoystick", "move the joystick axes")
    p.add_argument("x", type=float)
    p.add_argument("y", type=float, nargs="?")
    p.add_argument("z", type=float, nargs="?")
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.move_joystick(a.x, a.y, a.z, a.delay))

    p = command("emitpluginsignal", "make a host plugin emit an argument-less signal")
    p.add_argument("plugin")
    p.add_argument("signal")
    _delay_option(p)
    p.set_defaults(run=lambda c, a: c.emit_plugin_signal(a.plugin, a.signal, a.delay))

    p = command("send", "send raw JSON: one request object, or several back to back in one write")
    p.add_argument("json", help='e.g. \'{"getpro": {"objname": "main", "property": "width"}}\'; '
                                'text that is not request objects is sent as it is')
    p.set_defaults(run=lambda c, a: _send(c, a.json))

    add_scene_commands(subparsers)


class _TypeResult:
    def __init__(self, result):
        self.result = result

    def to_json(self):
        return {"result": self.result}


def _type(client, window, text):
    try:
        return _TypeResult(client.type_text(window, text))
    except ValueError as error:
        raise _UsageError(str(error)) from None


class _UsageError(Exception):
    pass


def _split_objects(text):
    """The JSON objects of ``text`` ("{...}{...}" or one object), or None if it is not that."""
    decoder = json.JSONDecoder()
    objects = []
    index = 0
    text = text.strip()
    while index < len(text):
        try:
            value, index = decoder.raw_decode(text, index)
        except ValueError:
            return None
        if not isinstance(value, dict):
            return None
        objects.append(value)
        while index < len(text) and text[index].isspace():
            index += 1
    return objects or None


def _send(client, text):
    objects = _split_objects(text)
    if objects is None:
        return client.send_text(text)  # not request objects: sent as is, the application decides
    if len(objects) == 1:
        return client.send(objects[0])
    return client.send_many(objects)


def _print_reply(reply, out):
    replies = reply if isinstance(reply, list) else [reply]
    for item in replies:
        out.write(json.dumps(item.to_json(), ensure_ascii=False) + "\n")
    out.flush()
    return EXIT_TRUE if all(item.result for item in replies) else EXIT_FALSE


def _default_port():
    try:
        return int(os.environ.get("UIREMOTE_PORT", DEFAULT_PORT))
    except ValueError:
        return DEFAULT_PORT


def build_parser(prog="uiremote", with_globals=True):
    parser = argparse.ArgumentParser(
        prog=prog,
        description="Drive a Qt Quick application through its UI remote control.",
        epilog="Exit status: 0 result true, 1 result false, 2 connection error, time-out or bad usage.",
    )
    if with_globals:
        parser.add_argument("--host", default="127.0.0.1", help="application host (default 127.0.0.1)")
        parser.add_argument("--port", type=int, default=_default_port(),
                            help="application port (default $UIREMOTE_PORT or %d)" % DEFAULT_PORT)
        parser.add_argument("--timeout", type=float, default=10.0,
                            help="seconds to wait for connecting and for each reply (default 10)")
        parser.add_argument("--token", default=os.environ.get("UIREMOTE_TOKEN") or None,
                            help="token the application wants first (default $UIREMOTE_TOKEN)")
        parser.add_argument("--window", dest="default_window", metavar="NAME",
                            help="window name used when a command gives none")
    subparsers = parser.add_subparsers(dest="command", metavar="command")
    subparsers.required = True
    _add_commands(subparsers)
    if with_globals:
        shell = subparsers.add_parser(
            "shell", help="interactive prompt: raw JSON requests or command lines",
            description="Reads lines: a JSON request object, or a command as on the command line "
                        "(without the global options). 'help' lists commands, 'quit' or end of input ends.")
        shell.set_defaults(run=None)
        mcp = subparsers.add_parser(
            "mcp", help="serve the controls to AI agents as Model Context Protocol tools (stdio)",
            description="Model Context Protocol server on standard input/output: one tool per control. "
                        "It connects to the application at the first call and again after it restarts.")
        mcp.add_argument("--host", dest="mcp_host", metavar="H", help="application host (default 127.0.0.1)")
        mcp.add_argument("--port", dest="mcp_port", type=int, metavar="N",
                         help="application port (default $UIREMOTE_PORT or %d)" % DEFAULT_PORT)
        mcp.add_argument("--token", default=os.environ.get("UIREMOTE_TOKEN"), metavar="T",
                         help="token the application asks for (default $UIREMOTE_TOKEN)")
        mcp.add_argument("--window", dest="mcp_window", metavar="NAME",
                         help="window for pointer and key tools that name none")
        mcp.add_argument("--page-size", type=int, default=50, metavar="N", help="tools per tools/list page")
        mcp.set_defaults(run=None)
    return parser


def _run_mcp(args, stdin, stdout, stderr):
    from .mcp_server import serve

    if stdin is sys.stdin:  # the protocol is UTF-8 whatever the locale says
        stdin = io.TextIOWrapper(sys.stdin.buffer, encoding="utf-8", errors="replace")
        stdout = io.TextIOWrapper(sys.stdout.buffer, encoding="utf-8", newline="\n")
    return serve(args.mcp_host or args.host, args.mcp_port or args.port, token=args.token,
                 window=args.mcp_window or args.default_window, timeout=args.timeout,
                 page_size=args.page_size, stdin=stdin, stdout=stdout, stderr=stderr)


def _run_shell(client, stdin, stdout, stderr):
    parser = build_parser(prog="uiremote", with_globals=False)
    interactive = stdin.isatty()
    if interactive:
        try:
            import readline  # noqa: F401  (line editing and history for input())
        except ImportError:
            pass
    while True:
        if interactive:
            try:
                line = input("uiremote> ")
            except EOFError:
                stdout.write("\n")
                break
        else:
            line = stdin.readline()
            if not line:
                break
        line = line.strip()
        if not line or line.startswith("#"):
            continue
        if line in ("quit", "exit"):
            break
        if line in ("help", "?"):
            parser.print_help(stdout)
            continue
        try:
            if line.startswith("{"):
                reply = _send(client, line)
            else:
                try:
                    words = shlex.split(line)
                    args = parser.parse_args(words)
                except SystemExit:  # argparse has printed the problem
                    continue
                reply = args.run(client, args)
            _print_reply(reply, stdout)
        except (_UsageError, TypeError, ValueError) as error:
            stderr.write("uiremote: %s\n" % error)
        except UIRemoteError as error:  # the connection is gone
            stderr.write("uiremote: %s\n" % error)
            return EXIT_ERROR
    return EXIT_TRUE


def main(argv=None, stdin=None, stdout=None, stderr=None):
    stdin = stdin or sys.stdin
    stdout = stdout or sys.stdout
    stderr = stderr or sys.stderr
    argv = sys.argv[1:] if argv is None else list(argv)
    if argv[:1] == ["webdriver"]:  # an HTTP server with options of its own
        from .webdriver import main as webdriver_main
        return webdriver_main(argv[1:])
    parser = build_parser()
    try:
        args = parser.parse_args(argv)
    except SystemExit as exit_:
        return exit_.code if isinstance(exit_.code, int) else EXIT_ERROR
    if args.command == "mcp":
        return _run_mcp(args, stdin, stdout, stderr)
    client = Client(args.host, args.port, timeout=args.timeout, window=args.default_window, token=args.token)
    try:
        with client:
            if args.command == "shell":
                return _run_shell(client, stdin, stdout, stderr)
            return _print_reply(args.run(client, args), stdout)
    except _UsageError as error:
        stderr.write("uiremote: %s\n" % error)
        return EXIT_ERROR
    except UIRemoteError as error:
        stderr.write("uiremote: %s\n" % error)
        return EXIT_ERROR
    except (TypeError, ValueError) as error:
        stderr.write("uiremote: %s\n" % error)
        return EXIT_ERROR
