"""The MCP server's extension-tool paths, against a small stand-in application on loopback.

uiremote-host does not answer extension words yet (tests/mcp checks that the extension tools
are absent there); this stand-in answers a few of them the way extension mode describes, so
that listing, image content, the passed-through reason and the list-changed notice are
exercised now.
"""

import io
import json
import socket
import threading

import pytest

from uiremote.mcp.link import AppLink
from uiremote.mcp.server import McpServer

PNG = "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP8z8DwHwAFBQIAX8jx0gAAAABJRU5ErkJggg=="


class StandIn:
    """Answers each request (one per write) from ``replies``: control word -> reply object."""

    def __init__(self):
        self.extensions = False
        self.requests = []
        self._server = socket.create_server(("127.0.0.1", 0))
        self.port = self._server.getsockname()[1]
        self._conns = []
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                conn, _ = self._server.accept()
            except OSError:
                return
            self._conns.append(conn)
            threading.Thread(target=self._serve, args=(conn,), daemon=True).start()

    def _serve(self, conn):
        with conn:
            while True:
                try:
                    data = conn.recv(65536)
                except OSError:
                    return
                if not data:
                    return
                request = json.loads(data)
                self.requests.append(request)
                conn.sendall(json.dumps(self._reply(request), indent=4).encode())

    def _reply(self, request):
        word = next(iter(request))
        if not self.extensions:
            return {"result": False}
        return {"tree": {"result": True, "value": {"label": "mainWindow", "children": []}},
                "screenshot": {"result": True, "value": PNG},
                "wheel": {"result": False, "error": "no object matches main.lst; closest: main.list"},
                }.get(word, {"result": False})

    def drop_connections(self):
        for conn in self._conns:
            try:
                conn.shutdown(socket.SHUT_RDWR)
            except OSError:  # already closed by its side
                pass
        self._conns.clear()

    def close(self):
        self.drop_connections()
        self._server.close()


@pytest.fixture
def standin():
    app = StandIn()
    yield app
    app.close()


def rpc(server, ident, method, params=None):
    """Sends one request; returns (its answer, notifications written after it)."""
    server.out.seek(0)
    server.out.truncate()
    server.handle_line(json.dumps({"jsonrpc": "2.0", "id": ident, "method": method, "params": params or {}}))
    messages = [json.loads(line) for line in server.out.getvalue().splitlines()]
    return messages[0], messages[1:]


def started(port):
    server = McpServer(AppLink("127.0.0.1", port, timeout=30), out=io.StringIO(), log=io.StringIO())
    rpc(server, 1, "initialize", {"protocolVersion": "2025-06-18"})
    server.handle_line('{"jsonrpc": "2.0", "method": "notifications/initialized"}')
    return server


def tool_names(server, ident):
    return [tool["name"] for tool in rpc(server, ident, "tools/list")[0]["result"]["tools"]]


def test_extension_tools_listed_when_the_probe_answers_true(standin):
    standin.extensions = True
    server = started(standin.port)
    names = tool_names(server, 2)
    assert names[-16:] == ["describe", "tree", "find", "screenshot", "type_text", "wheel", "swipe", "spy", "spy_count",
                           "unspy", "wait_spy", "wait_property", "wait_idle", "handle", "resolve", "evaluate"]
    assert standin.requests[0] == {"tree": {"depth": 0}}


def test_screenshot_is_image_content_and_reasons_pass_through(standin):
    standin.extensions = True
    server = started(standin.port)
    shot, _ = rpc(server, 2, "tools/call", {"name": "screenshot", "arguments": {"winobjname": "mainWindow"}})
    assert shot["result"] == {"content": [{"type": "image", "data": PNG, "mimeType": "image/png"}], "isError": False}
    assert standin.requests[-1] == {"screenshot": {"winobjname": "mainWindow"}}
    tree, _ = rpc(server, 3, "tools/call", {"name": "tree", "arguments": {"depth": 1}})
    assert tree["result"]["content"][0]["text"] == '{"label":"mainWindow","children":[]}'
    wheel, _ = rpc(server, 4, "tools/call", {"name": "wheel", "arguments": {"objname": "main.lst", "dy": -15}})
    assert wheel["result"] == {"content": [{"type": "text", "text": "wheel failed: no object matches main.lst; "
                                            "closest: main.list"}], "isError": True}
    assert standin.requests[-1] == {"wheel": {"objname": "main.lst", "dy": -15}}


def test_client_is_told_when_a_new_connection_changes_the_tools(standin):
    server = started(standin.port)
    assert "tree" not in tool_names(server, 2)
    standin.extensions = True
    standin.drop_connections()  # as if the application had been restarted in extension mode
    answer, notices = rpc(server, 3, "tools/call", {"name": "get_window_name", "arguments": {"objname": "main"}})
    assert answer["result"]["isError"] is True
    assert notices == [{"jsonrpc": "2.0", "method": "notifications/tools/list_changed"}]
    assert "tree" in tool_names(server, 4)
    assert rpc(server, 5, "ping")[1] == []  # said once
