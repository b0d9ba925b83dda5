"""The agent tool server over MCP's Streamable HTTP transport: ``uiremote mcp --http [HOST:]PORT``.

One endpoint, ``/mcp``.  An ``initialize`` POSTed without a session opens a session: its own
:class:`~uiremote.mcp.server.McpServer` with its own connection to the application, named by
the ``Mcp-Session-Id`` header of the answer, which the agent sends with every later request.
POST carries one JSON-RPC message: a request is answered with application/json, or with a
short text/event-stream when the agent accepts only that or when a tools/list_changed
notification goes with the answer; a notification or a response gets 202.  GET gets 405 (this
server starts no messages of its own outside an answer); DELETE ends a session.

Guards: the Host and Origin headers must name this machine while it listens on loopback (a web
page must not reach the server through DNS rebinding), and, with ``--http-token``, every request
must carry ``Authorization: Bearer <token>``.
"""

import hmac
import ipaddress
import json
import secrets
import signal
import socket
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import urlsplit

from .link import AppLink
from .server import PROTOCOL_VERSIONS, McpServer

__all__ = ["McpHttpServer", "parse_listen", "serve_http", "ENDPOINT"]

ENDPOINT = "/mcp"
#: Revisions accepted in the MCP-Protocol-Version header: the ones we negotiate, and the one the
#: transport presumes when the header is missing.
HEADER_VERSIONS = PROTOCOL_VERSIONS + ("2025-03-26",)
MAX_BODY = 16 * 1024 * 1024
_LOCAL_NAMES = ("localhost",)


def parse_listen(text):
    """``PORT``, ``HOST:PORT`` or ``[V6]:PORT`` -> (host, port); the host defaults to loopback."""
    text = str(text).strip()
    host, port = "127.0.0.1", text
    if text.startswith("["):
        host, _, rest = text[1:].partition("]")
        if not rest.startswith(":"):
            raise ValueError("expected [HOST]:PORT, got %r" % text)
        port = rest[1:]
    elif ":" in text:
        host, port = text.rsplit(":", 1)
    if not port.isdigit() or int(port) > 65535 or not host:
        raise ValueError("expected [HOST:]PORT, got %r" % text)
    return host, int(port)


def is_local(host):
    """True for a name or address of this machine's loopback: localhost, 127.0.0.0/8, ::1."""
    host = (host or "").strip().lower().rstrip(".")
    if host.startswith("[") and host.endswith("]"):
        host = host[1:-1]
    if host in _LOCAL_NAMES or host.endswith(".localhost"):
        return True
    try:
        return ipaddress.ip_address(host).is_loopback
    except ValueError:
        return False


def _hostname(netloc):
    """'example.com:80' -> 'example.com', '[::1]:8000' -> '::1'; None when it does not parse."""
    try:
        return urlsplit("//" + netloc).hostname
    except ValueError:
        return None


def _netloc(url):
    try:
        return urlsplit(url).netloc
    except ValueError:
        return ""


class _Session:
    def __init__(self, ident, server):
        self.ident = ident
        self.server = server
        self.lock = threading.Lock()  # one request at a time per session, as over stdio
        self.used = time.monotonic()


class _Refused(Exception):
    """An HTTP-level refusal: status, text, extra headers."""

    def __init__(self, status, text, headers=None, rpc=False):
        super().__init__(text)
        self.status = status
        self.headers = headers or {}
        self.rpc = rpc  # answer with a JSON-RPC error body (id null) rather than plain text


class _Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "uiremote-mcp/1"

    def log_message(self, format, *args):  # noqa: A002  (the base class's name)
        if self.server.verbose:
            self.server.log.write("uiremote mcp: %s\n" % (format % args))

    # -- answers -----------------------------------------------------------------------------

    def _send(self, status, body=b"", content_type=None, headers=None):
        self.send_response(status)
        if content_type:
            self.send_header("Content-Type", content_type)
        for name, value in (headers or {}).items():
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        if body and self.command != "HEAD":
            self.wfile.write(body)

    def _refuse(self, refusal):
        # The body may be unread: this connection carries no further request.
        self.close_connection = True
        refusal.headers.setdefault("Connection", "close")
        if refusal.rpc:
            body = json.dumps({"jsonrpc": "2.0", "id": None,
                               "error": {"code": -32000, "message": str(refusal)}}).encode()
            self._send(refusal.status, body, "application/json", refusal.headers)
        else:
            self._send(refusal.status, (str(refusal) + "\n").encode(), "text/plain; charset=utf-8",
                       refusal.headers)

    # -- guards ------------------------------------------------------------------------------

    def _guard(self):
        if urlsplit(self.path).path != ENDPOINT:
            raise _Refused(404, "Not found: the MCP endpoint is %s" % ENDPOINT)
        server = self.server
        host = _hostname(self.headers.get("Host", ""))
        origin = self.headers.get("Origin")
        origin_host = _hostname(_netloc(origin)) if origin and origin != "null" else None
        if server.loopback:
            if host is not None and not is_local(host):
                raise _Refused(403, "Forbidden: Host %s is not this machine" % self.headers.get("Host"))
            if origin is not None and not is_local(origin_host):
                raise _Refused(403, "Forbidden: Origin %s is not this machine" % origin)
        elif origin is not None and not (is_local(origin_host) or (origin_host and origin_host == host)):
            raise _Refused(403, "Forbidden: Origin %s is neither this machine nor %s" % (origin, host))
        if server.token is not None:
            auth = self.headers.get("Authorization", "")
            scheme, _, given = auth.partition(" ")
            if scheme.lower() != "bearer" or not hmac.compare_digest(given.strip().encode(),
                                                                      server.token.encode()):
                raise _Refused(401, "Unauthorized: send Authorization: Bearer <the --http-token>",
                               {"WWW-Authenticate": 'Bearer realm="uiremote mcp"'})

    def _session(self, required=True):
        ident = self.headers.get("Mcp-Session-Id")
        if ident is None:
            if required:
                raise _Refused(400, "Bad request: no Mcp-Session-Id; start a session with initialize",
                               rpc=True)
            return None
        session = self.server.session(ident)
        if session is None:
            raise _Refused(404, "Not found: no session %s (it ended); initialize a new one" % ident,
                           rpc=True)
        return session

    def _check_version(self):
        version = self.headers.get("MCP-Protocol-Version")
        if version is not None and version.strip() not in HEADER_VERSIONS:
            raise _Refused(400, "Bad request: MCP-Protocol-Version %s is not one of %s"
                           % (version, ", ".join(HEADER_VERSIONS)), rpc=True)

    # -- methods -----------------------------------------------------------------------------

    def do_POST(self):
        try:
            self._guard()
            self._post()
        except _Refused as refusal:
            self._refuse(refusal)
        except Exception as error:  # a bug here must not leave the agent without an answer
            self.server.log.write("uiremote mcp: %s: %s\n" % (type(error).__name__, error))
            self._refuse(_Refused(500, "Internal error: %s" % error, rpc=True))

    def do_GET(self):
        self._not_offered()

    def do_DELETE(self):
        try:
            self._guard()
            session = self._session()
            self.server.end(session.ident)
            self._send(200)
        except _Refused as refusal:
            self._refuse(refusal)

    def do_PUT(self):
        self._not_offered()

    do_PATCH = do_PUT

    def _not_offered(self):
        try:
            self._guard()
            raise _Refused(405, "Method not allowed: POST requests, DELETE ends a session",
                           {"Allow": "POST, DELETE"})
        except _Refused as refusal:
            self._refuse(refusal)

    def _post(self):
        media = self.headers.get("Content-Type", "").split(";")[0].strip().lower()
        if media != "application/json":
            raise _Refused(415, "Unsupported media type: POST application/json", rpc=True)
        accept = self.headers.get("Accept", "*/*").lower()
        takes_json = any(kind in accept for kind in ("application/json", "application/*", "*/*"))
        takes_events = "text/event-stream" in accept
        if not (takes_json or takes_events):
            raise _Refused(406, "Not acceptable: answers are application/json or text/event-stream",
                           rpc=True)
        length = self.headers.get("Content-Length")
        if length is None or not length.isdigit():
            raise _Refused(411, "Length required", rpc=True)
        if int(length) > MAX_BODY:
            raise _Refused(413, "Payload too large: at most %d bytes" % MAX_BODY, rpc=True)
        raw = self.rfile.read(int(length))
        try:
            message = json.loads(raw.decode("utf-8"))
        except ValueError as error:  # UnicodeDecodeError is one
            self._answer(400, [{"jsonrpc": "2.0", "id": None,
                                "error": {"code": -32700, "message": "Parse error: %s" % error}}], False)
            return
        if isinstance(message, list):
            raise _Refused(400, "Bad request: one JSON-RPC message per POST (no batches)", rpc=True)
        opening = isinstance(message, dict) and message.get("method") == "initialize" and "id" in message
        if opening:
            if "Mcp-Session-Id" in self.headers:
                raise _Refused(400, "Bad request: initialize opens a new session; send it without "
                                    "Mcp-Session-Id", rpc=True)
            session = self.server.open()
        else:
            self._check_version()
            session = self._session()
        with session.lock:
            session.used = time.monotonic()
            replies = session.server.answer(message, framing="per request")
        if opening and not (replies and "result" in replies[0]):
            self.server.end(session.ident)  # a refused initialize leaves no session behind
            session = None
        headers = {"Mcp-Session-Id": session.ident} if opening and session else {}
        if not replies:
            self._send(202, headers=headers)
            return
        events = takes_events and (not takes_json or len(replies) > 1)
        self._answer(200, replies, events, headers)

    def _answer(self, status, messages, events, headers=None):
        if events:
            body = "".join("event: message\ndata: %s\n\n" % _dumps(m) for m in messages).encode()
            headers = dict(headers or {}, **{"Cache-Control": "no-cache"})
            self._send(status, body, "text/event-stream", headers)
        else:
            self._send(status, _dumps(messages[-1]).encode(), "application/json", headers)


def _dumps(message):
    return json.dumps(message, ensure_ascii=False, separators=(",", ":"))


class McpHttpServer(ThreadingHTTPServer):
    """The HTTP server and its sessions.  ``make_server()`` builds each session's McpServer."""

    daemon_threads = True
    max_sessions = 64
    idle_limit = 3600.0  # seconds; older idle sessions make room for new ones

    def __init__(self, address, make_server, token=None, log=None, verbose=False):
        self.address_family = _family(address[0])
        self.make_server = make_server
        self.token = token or None
        self.log = log or sys.stderr
        self.verbose = verbose
        self.loopback = is_local(address[0])
        self._sessions = {}
        self._lock = threading.Lock()
        super().__init__(address, _Handler)  # closes itself (server_close) when it cannot listen

    @property
    def url(self):
        host, port = self.server_address[:2]
        return "http://%s:%d%s" % ("[%s]" % host if ":" in host else host, port, ENDPOINT)

    def session(self, ident):
        with self._lock:
            return self._sessions.get(ident)

    def sessions(self):
        with self._lock:
            return list(self._sessions)

    def open(self):
        with self._lock:
            if len(self._sessions) >= self.max_sessions:
                self._drop_idle()
            if len(self._sessions) >= self.max_sessions:
                raise _Refused(503, "Service unavailable: %d sessions are open; end one (DELETE)"
                               % self.max_sessions, rpc=True)
            ident = secrets.token_hex(16)
            session = self._sessions[ident] = _Session(ident, self.make_server())
        return session

    def end(self, ident):
        with self._lock:
            session = self._sessions.pop(ident, None)
        if session is not None:
            with session.lock:
                session.server.close()

    def _drop_idle(self):
        now = time.monotonic()
        for ident, session in list(self._sessions.items()):
            if now - session.used > self.idle_limit and session.lock.acquire(blocking=False):
                try:
                    del self._sessions[ident]
                    session.server.close()
                finally:
                    session.lock.release()

    def server_close(self):
        super().server_close()
        for ident in self.sessions():
            self.end(ident)


def _family(host):
    return socket.AF_INET6 if ":" in host else socket.AF_INET


def serve_http(listen, host, port, token=None, window=None, timeout=10.0, page_size=50,
               http_token=None, stderr=None):
    """Runs the Streamable HTTP server on ``listen`` ([HOST:]PORT) until SIGTERM or SIGINT; each
    session connects to the application at host:port.  Returns 0, or 2 when it cannot listen."""
    log = stderr or sys.stderr
    try:
        address = parse_listen(listen)
    except ValueError as error:
        log.write("uiremote mcp: --http: %s\n" % error)
        return 2

    def make_server():
        return McpServer(AppLink(host, port, token=token, timeout=timeout), window=window,
                         page_size=page_size, log=log)

    try:
        server = McpHttpServer(address, make_server, token=http_token, log=log)
    except OSError as error:
        log.write("uiremote mcp: cannot listen on %s:%d: %s\n" % (address[0], address[1], error))
        return 2
    if not server.loopback and server.token is None:
        log.write("uiremote mcp: warning: listening beyond this machine without --http-token; "
                  "anyone who reaches the port can operate the application\n")
    stopping = threading.Event()

    def stop(signum, frame):
        if not stopping.is_set():
            stopping.set()
            threading.Thread(target=server.shutdown, daemon=True).start()

    if threading.current_thread() is threading.main_thread():
        signal.signal(signal.SIGTERM, stop)
        signal.signal(signal.SIGINT, stop)
    log.write("uiremote mcp: listening on %s\n" % server.url)
    log.flush()
    try:
        server.serve_forever(poll_interval=0.5)
    finally:
        server.server_close()
    return 0
