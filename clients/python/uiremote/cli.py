"""Command line client: ``python3 -m uiremote [--host H] [--port P] [--timeout S] <command> ...``.

Every command sends one control and prints the reply as one line of JSON.  Exit status: 0 when
the reply's "result" is true, 1 when it is false, 2 when the application cannot be reached, the
connection breaks, no reply comes in time, or the command line is wrong.

Commands are named as the client's methods with "-" for "_" (``double-click``, ``get-property``);
the control words are accepted too (``dbclick``, ``getpro``).

Values (``set-property`` VALUE, ``invoke`` ARG ...) are read as JSON when they parse as JSON and as
plain strings otherwise: ``5`` is a number, ``true`` a boolean, ``'"5"'`` and ``hello`` strings.
"""

import argparse
import io
import json
import os
import sys

from .client import DEFAULT_PORT, Client
from .commands import add_commands as add_control_commands
from .errors import UIRemoteError

__all__ = ["main", "build_parser"]

EXIT_TRUE = 0
EXIT_FALSE = 1
EXIT_ERROR = 2


def _add_commands(subparsers):
    add_control_commands(subparsers)

    p = subparsers.add_parser("type", help="type a text key by key into a window (one keyclick per character)")
    p.add_argument("text")
    p.add_argument("-w", "--window", help="object name of the window (winobjname)")
    p.set_defaults(run=lambda c, a: _type(c, a.window, a.text))

    p = subparsers.add_parser("send", help="send raw JSON: one request object, or several back to back in one write")
    p.add_argument("json", help='e.g. \'{"getpro": {"objname": "main", "property": "width"}}\'; '
                                'text that is not request objects is sent as it is')
    p.set_defaults(run=lambda c, a: _send(c, a.json))


def _type(client, window, text):
    try:
        return client.type_text(window, text)
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


def split_words(line):
    """The words of a shell line, as the shell splits them, except that a selector in braces
    stays one word as typed: ``click {Button text="First"}[1]`` needs no quoting."""
    words, word, depth, quote = [], None, 0, None
    for char in line:
        if quote:  # inside quotes (in braces the quotes are kept)
            if char == quote:
                quote = None
                if not depth:
                    continue
            word += char
        elif char in "\"'":
            quote, word = char, word or ""
            if depth:
                word += char
        elif char.isspace() and not depth:
            if word is not None:
                words.append(word)
            word = None
        else:
            depth += (char == "{") - (char == "}" and depth > 0)
            word = (word or "") + char
    if quote or depth:
        raise ValueError("unclosed %s in %r" % ("quote" if quote else "brace", line))
    return words + ([word] if word is not None else [])


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
        parser.add_argument("--timeout", dest="reply_timeout", type=float, default=10.0,
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
            "mcp", help="serve the controls to AI agents as Model Context Protocol tools (stdio or HTTP)",
            description="Model Context Protocol server on standard input/output, or over Streamable HTTP "
                        "with --http: one tool per control. It connects to the application at the first "
                        "call and again after it restarts.")
        mcp.add_argument("--host", dest="mcp_host", metavar="H", help="application host (default 127.0.0.1)")
        mcp.add_argument("--port", dest="mcp_port", type=int, metavar="N",
                         help="application port (default $UIREMOTE_PORT or %d)" % DEFAULT_PORT)
        mcp.add_argument("--token", default=os.environ.get("UIREMOTE_TOKEN"), metavar="T",
                         help="token the application asks for (default $UIREMOTE_TOKEN)")
        mcp.add_argument("--window", dest="mcp_window", metavar="NAME",
                         help="window for pointer and key tools that name none")
        mcp.add_argument("--page-size", type=int, default=50, metavar="N", help="tools per tools/list page")
        mcp.add_argument("--http", metavar="[HOST:]PORT",
                         help="serve Streamable HTTP at http://HOST:PORT/mcp instead of stdio (HOST defaults "
                              "to 127.0.0.1; PORT 0 picks one, told on standard error); one application "
                              "connection per agent session")
        mcp.add_argument("--http-token", default=os.environ.get("UIREMOTE_MCP_TOKEN"), metavar="T",
                         help="with --http: requests must carry 'Authorization: Bearer T' "
                              "(default $UIREMOTE_MCP_TOKEN)")
        mcp.set_defaults(run=None)
    return parser


def _run_mcp(args, stdin, stdout, stderr):
    from .mcp.server import serve

    if args.http is not None:
        from .mcp.http_transport import serve_http

        return serve_http(args.http, args.mcp_host or args.host, args.mcp_port or args.port, token=args.token,
                          window=args.mcp_window or args.default_window, timeout=args.reply_timeout,
                          page_size=args.page_size, http_token=args.http_token, stderr=stderr)
    if stdin is sys.stdin:  # the protocol is UTF-8 whatever the locale says
        stdin = io.TextIOWrapper(sys.stdin.buffer, encoding="utf-8", errors="replace")
        stdout = io.TextIOWrapper(sys.stdout.buffer, encoding="utf-8", newline="\n")
    return serve(args.mcp_host or args.host, args.mcp_port or args.port, token=args.token,
                 window=args.mcp_window or args.default_window, timeout=args.reply_timeout,
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
                    words = split_words(line)
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
    client = Client(args.host, args.port, timeout=args.reply_timeout, window=args.default_window, token=args.token)
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
