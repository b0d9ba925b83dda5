"""The HTTP side: a threaded HTTP/1.1 server on loopback that answers WebDriver's JSON
commands, and ``uiremote webdriver``, the command that runs it."""

import argparse
import json
import signal
import sys
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from ..errors import UIRemoteError
from . import actions, commands, element_commands, scripts  # noqa: F401  (they register their commands)
from .errors import WebDriverError
from .routes import resolve
from .sessions import SessionManager

__all__ = ["WebDriverServer", "main"]


class _Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "uiremote-webdriver/1"

    def log_message(self, format, *args):  # noqa: A002  (the base class's name)
        if self.server.verbose:
            sys.stderr.write("uiremote webdriver: %s\n" % (format % args))

    def _reply(self, status, payload):
        data = json.dumps(payload).encode("ascii")  # escapes keep a pair of surrogates one character
        self.send_response(status)
        self.send_header("Content-Type", "application/json; charset=utf-8")
        self.send_header("Cache-Control", "no-cache")
        self.send_header("Content-Length", str(len(data)))
        self.end_headers()
        self.wfile.write(data)

    def _body(self):
        length = int(self.headers.get("Content-Length") or 0)
        raw = self.rfile.read(length) if length else b""
        if not raw.strip():
            return {}
        try:
            body = json.loads(raw.decode("utf-8"))
        except (UnicodeDecodeError, ValueError) as error:
            raise WebDriverError("invalid argument", "the body is not JSON: %s" % error) from None
        if not isinstance(body, dict):
            raise WebDriverError("invalid argument", "the body must be a JSON object")
        return body

    def _handle(self, method):
        path = self.path.split("?", 1)[0]
        prefix = self.server.base_path
        if prefix and path.startswith(prefix):
            path = path[len(prefix):] or "/"
        try:
            body = self._body() if method == "POST" else {}
            handler, params, needs_session = resolve(method, path)
            if handler is None:
                code = "unknown method" if needs_session else "unknown command"
                raise WebDriverError(code, "%s %s is not a WebDriver command here" % (method, path))
            manager = self.server.manager
            if needs_session:
                session = manager.get(params["sid"])
                with session.lock:
                    value = handler(session, params, body)
            else:
                value = handler(manager, params, body)
            self._reply(200, {"value": value})
        except WebDriverError as error:
            self._reply(error.status, error.to_json())
        except UIRemoteError as error:
            failure = WebDriverError("unknown error", "the program does not answer: %s" % error)
            self._reply(failure.status, failure.to_json())
        except Exception as error:  # a bug here must not take the endpoint down
            failure = WebDriverError("unknown error", "%s: %s" % (type(error).__name__, error))
            self._reply(failure.status, failure.to_json())

    def do_GET(self):
        self._handle("GET")

    def do_POST(self):
        self._handle("POST")

    def do_DELETE(self):
        self._handle("DELETE")


class WebDriverServer(ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, address, manager, base_path="", verbose=False):
        super().__init__(address, _Handler)
        self.manager = manager
        self.base_path = base_path.rstrip("/")
        self.verbose = verbose

    def server_close(self):
        super().server_close()
        self.manager.close_all()


def build_parser():
    parser = argparse.ArgumentParser(
        prog="uiremote webdriver",
        description="W3C WebDriver endpoint for Qt Quick programs: Selenium, WebdriverIO and other "
                    "WebDriver clients drive programs launched for them or already served.")
    parser.add_argument("--host", default="127.0.0.1", help="address to listen on (default 127.0.0.1)")
    parser.add_argument("--port", type=int, default=4723, help="port to listen on (default 4723; 0 picks one)")
    parser.add_argument("--base-path", default="", help="URL prefix of the commands (for example /wd/hub)")
    parser.add_argument("--launcher", help="uiremote-launch for Qt 5 programs (default $UIREMOTE_LAUNCH, "
                                           "beside this command, or on PATH)")
    parser.add_argument("--launcher-qt6", help="uiremote-launch-qt6 for Qt 6 programs (default "
                                               "$UIREMOTE_LAUNCH_QT6, beside this command, or on PATH)")
    parser.add_argument("--session-timeout", type=float, default=0, metavar="S",
                        help="end sessions idle for S seconds (default 0: never)")
    parser.add_argument("--max-sessions", type=int, default=8, help="sessions at once (default 8)")
    parser.add_argument("--verbose", action="store_true", help="log every request on standard error")
    return parser


def main(argv=None):
    args = build_parser().parse_args(argv)
    log = (lambda message: sys.stderr.write("uiremote webdriver: %s\n" % message))
    manager = SessionManager({5: args.launcher, 6: args.launcher_qt6}, idle_timeout=args.session_timeout,
                             max_sessions=args.max_sessions, log=log)
    try:
        server = WebDriverServer((args.host, args.port), manager, args.base_path, args.verbose)
    except OSError as error:
        sys.stderr.write("uiremote webdriver: cannot listen on %s:%d: %s\n" % (args.host, args.port, error))
        return 2
    stopping = threading.Event()

    def stop(signum, frame):
        if not stopping.is_set():
            stopping.set()
            threading.Thread(target=server.shutdown, daemon=True).start()

    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)
    sys.stderr.write("uiremote webdriver: listening on http://%s:%d%s\n"
                     % (args.host, server.server_address[1], server.base_path))
    sys.stderr.flush()
    try:
        server.serve_forever(poll_interval=0.5)
    finally:
        server.server_close()
    return 0
