"""Agent tool server: the application's controls as Model Context Protocol tools.

``uiremote mcp [--host H] [--port N] [--token T] [--window NAME]`` reads JSON-RPC 2.0 messages,
one per line, on standard input and writes its answers, one per line, on standard output
(the protocol's stdio transport); diagnostics go to standard error.  Requests are answered one
at a time, in order.  ``uiremote mcp --http [HOST:]PORT`` serves the same tools over Streamable
HTTP instead (http_transport.py), one McpServer per agent session; both transports hand each
received message to :meth:`McpServer.answer`.

The tool list depends on the application: the extension tools (tree, find, screenshot, ...)
are listed only while the connected application answers extension words.  When a new
connection finds that this changed, the client is told with notifications/tools/list_changed.
"""

import json
import sys

from .link import AppLink, ToolError
from .tools import TOOLS, check_arguments

__all__ = ["McpServer", "PROTOCOL_VERSIONS", "serve"]

#: Protocol revisions this server speaks, newest first.
PROTOCOL_VERSIONS = ("2025-11-25", "2025-06-18")
SERVER_NAME = "uiremote"

PARSE_ERROR = -32700
INVALID_REQUEST = -32600
METHOD_NOT_FOUND = -32601
INVALID_PARAMS = -32602

INSTRUCTIONS = (
    "These tools operate a running Qt Quick application. Objects are named by dotted paths of "
    "objectName values (main.okButton); a path may leave out ancestors. Read state with "
    "get_property, act with click and key_click. Where they are listed, explore with tree and find, "
    "type with type_text and look with screenshot. A failed call says what was wrong.")


class _Call:
    """One tool call: the tool, its checked arguments, and what it may use."""

    def __init__(self, tool, args, link, window):
        self.tool = tool
        self.args = args
        self.link = link
        self.window = window


class McpServer:
    def __init__(self, link, window=None, page_size=50, out=None, log=None):
        self.link = link
        self.window = window
        self.page_size = max(1, int(page_size))
        self.out = out or sys.stdout
        self.log = log or sys.stderr
        self.initialized = False
        self._listed_extensions = None  # what the client was last shown

    # -- messages --------------------------------------------------------------------------

    def serve(self, stream):
        """The stdio transport: one message a line in, one a line out, until the input ends."""
        for line in stream:
            line = line.strip()
            if line:
                self.handle_line(line)
        self.link.close()

    def handle_line(self, line):
        for message in self.answer_text(line):
            self._write(message)

    def answer_text(self, text):
        """The messages to send for one received text: see :meth:`answer`."""
        try:
            message = json.loads(text)
        except ValueError as error:
            return [_error(None, PARSE_ERROR, "Parse error: %s" % error)]
        return self.answer(message)

    def answer(self, message, framing="per line"):
        """Handles one received JSON-RPC message and returns the messages to send back, in
        order: nothing for a notification, else the answer, followed by a tools/list_changed
        notification when this call's new connection changed the tools (``framing`` tells how
        the transport delimits messages, for a complaint about one).  Both transports
        (stdio and Streamable HTTP) go through here."""
        if not isinstance(message, dict) or message.get("jsonrpc") != "2.0":
            return [_error(message.get("id") if isinstance(message, dict) else None, INVALID_REQUEST,
                           "Invalid request: expected one JSON-RPC 2.0 object %s" % framing)]
        method = message.get("method")
        if "id" not in message:
            if method == "notifications/initialized":
                self.initialized = True
            return []  # other notifications (cancelled, roots changed ...) need nothing from us
        ident = message["id"]
        if not isinstance(method, str):
            if "result" not in message and "error" not in message:
                return [_error(ident, INVALID_REQUEST, "Invalid request: no method")]
            return []  # an answer to a request of ours: we send none
        params = message.get("params") or {}
        handler = {"initialize": self._initialize, "ping": lambda p: {},
                   "tools/list": self._list_tools, "tools/call": self._call_tool}.get(method)
        if handler is None:
            return [_error(ident, METHOD_NOT_FOUND, "Method not found: %s" % method)]
        if not isinstance(params, dict):
            return [_error(ident, INVALID_PARAMS, "Invalid params: expected an object")]
        try:
            result = handler(params)
        except _RpcError as error:
            return [_error(ident, error.code, str(error))]
        return [{"jsonrpc": "2.0", "id": ident, "result": result}] + self._tool_changes()

    def close(self):
        self.link.close()

    def _write(self, message):
        self.out.write(json.dumps(message, ensure_ascii=False, separators=(",", ":")) + "\n")
        self.out.flush()

    # -- methods -----------------------------------------------------------------------------

    def _initialize(self, params):
        asked = params.get("protocolVersion")
        version = asked if asked in PROTOCOL_VERSIONS else PROTOCOL_VERSIONS[0]
        from .. import __version__
        return {"protocolVersion": version,
                "capabilities": {"tools": {"listChanged": True}},
                "serverInfo": {"name": SERVER_NAME, "title": "uiremote: Qt Quick remote control",
                               "version": __version__},
                "instructions": INSTRUCTIONS}

    def _tools(self):
        try:
            self.link.ensure()
        except ToolError as error:
            self.log.write("uiremote mcp: %s\n" % error)  # listed without the extension tools
        return [tool for tool in TOOLS if not tool.extension or self.link.extensions]

    def _list_tools(self, params):
        tools = self._tools()
        self._listed_extensions = self.link.extensions
        cursor = params.get("cursor")
        start = 0
        if cursor is not None:
            if not (isinstance(cursor, str) and cursor.isdigit() and int(cursor) < len(tools)):
                raise _RpcError(INVALID_PARAMS, "Invalid params: unknown cursor %s" % json.dumps(cursor))
            start = int(cursor)
        end = start + self.page_size
        result = {"tools": [tool.definition() for tool in tools[start:end]]}
        if end < len(tools):
            result["nextCursor"] = str(end)
        return result

    def _call_tool(self, params):
        name = params.get("name")
        tool = next((t for t in TOOLS if t.name == name), None)
        if tool is None:
            raise _RpcError(INVALID_PARAMS, "Unknown tool: %s" % json.dumps(name))
        try:
            if tool.extension:
                self.link.ensure()
                if not self.link.extensions:
                    raise ToolError("%s is not available: the application at %s does not answer the extension "
                                    "words (extension mode is off)." % (name, self.link.address))
            args = check_arguments(tool, params.get("arguments"))
            content = tool.run(_Call(tool, args, self.link, self.window))
            return {"content": content, "isError": False}
        except ToolError as error:
            return {"content": [{"type": "text", "text": str(error)}], "isError": True}

    def _tool_changes(self):
        """A tools/list_changed notification when a new connection changed the tools since the
        client last listed them, else nothing."""
        if not self.initialized or self._listed_extensions is None:
            return []
        if self.link.connected and self.link.extensions != self._listed_extensions:
            self._listed_extensions = self.link.extensions
            return [{"jsonrpc": "2.0", "method": "notifications/tools/list_changed"}]
        return []


def _error(ident, code, text):
    return {"jsonrpc": "2.0", "id": ident, "error": {"code": code, "message": text}}


class _RpcError(Exception):
    def __init__(self, code, text):
        super().__init__(text)
        self.code = code


def serve(host, port, token=None, window=None, timeout=10.0, page_size=50, stdin=None, stdout=None,
          stderr=None):
    """Runs the server on standard input/output until the input ends.  Returns 0."""
    link = AppLink(host, port, token=token, timeout=timeout)
    server = McpServer(link, window=window, page_size=page_size, out=stdout, log=stderr)
    server.serve(stdin or sys.stdin)
    return 0
