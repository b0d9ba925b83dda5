"""`uiremote mcp --http`: the agent tool server over Streamable HTTP, its sessions and its guards.

Most tests run the HTTP server in this process on a free loopback port, its sessions connected
to a real uiremote-host (or to a closed port where the application does not matter: the
sessions connect only when a tool needs them); one runs the command itself.
"""

import http.client
import json
import os
import queue
import signal
import subprocess
import sys
import threading

import pytest

from uiremote.app import free_port
from uiremote.mcp.http_transport import McpHttpServer, is_local, parse_listen
from uiremote.mcp.link import AppLink
from uiremote.mcp.server import McpServer

WAIT = 30.0  # seconds: the bound of every wait here (the machine is shared)
JSON_AND_EVENTS = "application/json, text/event-stream"


class Endpoint:
    """An McpHttpServer serving in a thread; its sessions reach the application at ``port``."""

    def __init__(self, port, token=None):
        def make_server():
            return McpServer(AppLink("127.0.0.1", port, timeout=WAIT), window="mainWindow", log=sys.stderr)

        self.server = McpHttpServer(("127.0.0.1", 0), make_server, token=token)
        self.port = self.server.server_address[1]
        self._thread = threading.Thread(target=self.server.serve_forever, kwargs={"poll_interval": 0.05},
                                        daemon=True)
        self._thread.start()

    def close(self):
        self.server.shutdown()
        self.server.server_close()
        self._thread.join(WAIT)

    def request(self, method, body=None, headers=None, path="/mcp"):
        """Sends one HTTP request; returns (status, headers, body text)."""
        conn = http.client.HTTPConnection("127.0.0.1", self.port, timeout=WAIT)
        try:
            data = json.dumps(body).encode() if isinstance(body, (dict, list)) else body
            sent = {"Content-Type": "application/json", "Accept": JSON_AND_EVENTS}
            sent.update(headers or {})
            conn.request(method, path, body=data, headers={k: v for k, v in sent.items() if v is not None})
            response = conn.getresponse()
            return response.status, response.headers, response.read().decode()
        finally:
            conn.close()

    def rpc(self, method, params=None, ident=1, session=None, headers=None):
        message = {"jsonrpc": "2.0", "method": method, "params": params or {}}
        if ident is not None:
            message["id"] = ident
        sent = dict(headers or {})
        if session:
            sent["Mcp-Session-Id"] = session
        return self.request("POST", message, sent)

    def open_session(self, version="2025-11-25", headers=None):
        status, heads, text = self.rpc("initialize", {"protocolVersion": version, "capabilities": {},
                                                      "clientInfo": {"name": "pytest", "version": "1"}},
                                       headers=headers)
        assert status == 200, text
        session = heads["Mcp-Session-Id"]
        assert json.loads(text)["result"]["protocolVersion"] == version
        status, _, _ = self.rpc("notifications/initialized", ident=None, session=session, headers=headers)
        assert status == 202
        return session


@pytest.fixture
def offline():
    """An endpoint whose application is not running (a closed port)."""
    endpoint = Endpoint(free_port())
    yield endpoint
    endpoint.close()


@pytest.fixture
def online(scene):
    endpoint = Endpoint(scene.port)
    yield endpoint
    endpoint.close()


def test_a_session_lists_and_calls_tools(online):
    session = online.open_session("2025-06-18")
    status, heads, text = online.rpc("tools/list", session=session, headers={"MCP-Protocol-Version": "2025-06-18"})
    assert status == 200 and heads["Content-Type"] == "application/json"
    names = [tool["name"] for tool in json.loads(text)["result"]["tools"]]
    assert "click" in names and "get_property" in names
    status, _, text = online.rpc("tools/call", {"name": "get_property",
                                                "arguments": {"objname": "mainWindow", "property": "title"}},
                                 ident="call-1", session=session)
    reply = json.loads(text)
    assert status == 200 and reply["id"] == "call-1"
    assert reply["result"] == {"content": [{"type": "text", "text": '"uiremote client tests"'}], "isError": False}


def test_an_agent_that_takes_only_events_gets_an_event_stream(offline):
    session = offline.open_session()
    status, heads, text = offline.rpc("ping", ident=7, session=session, headers={"Accept": "text/event-stream"})
    assert status == 200 and heads["Content-Type"] == "text/event-stream"
    assert text == 'event: message\ndata: {"jsonrpc":"2.0","id":7,"result":{}}\n\n'


def test_two_sessions_at_once_each_with_its_own_application_connection(online):
    first, second = online.open_session(), online.open_session()
    assert first != second and set(online.server.sessions()) == {first, second}
    start = threading.Barrier(2, timeout=WAIT)
    answers = {}

    def call(session):
        start.wait()
        answers[session] = online.rpc("tools/call", {"name": "get_property",
                                                     "arguments": {"objname": "okButton", "property": "objectName"}},
                                      session=session)

    threads = [threading.Thread(target=call, args=(s,)) for s in (first, second)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(WAIT)
    for session in (first, second):
        status, _, text = answers[session]
        assert status == 200 and json.loads(text)["result"]["isError"] is False, text
    links = [online.server.session(s).server.link for s in (first, second)]
    assert links[0] is not links[1] and all(link.connected for link in links)


def test_delete_ends_a_session_and_its_application_connection(online):
    session = online.open_session()
    status, _, _ = online.rpc("tools/list", session=session)
    link = online.server.session(session).server.link
    assert status == 200 and link.connected
    status, _, _ = online.request("DELETE", headers={"Mcp-Session-Id": session})
    assert status == 200 and not link.connected and online.server.sessions() == []
    status, _, text = online.rpc("ping", session=session)
    assert status == 404 and json.loads(text)["error"]["code"] == -32000
    assert online.request("DELETE", headers={"Mcp-Session-Id": session})[0] == 404


def test_unknown_and_missing_sessions(offline):
    status, _, text = offline.rpc("tools/list", session="not-a-session")
    assert status == 404 and "initialize a new one" in text
    status, _, text = offline.rpc("tools/list")
    assert status == 400 and "Mcp-Session-Id" in text
    assert offline.request("DELETE")[0] == 400
    status, _, _ = offline.rpc("initialize", {"protocolVersion": "2025-11-25"}, session="not-a-session")
    assert status == 400


def test_a_bearer_token_guards_every_request():
    endpoint = Endpoint(free_port(), token="s3cret")
    try:
        status, heads, _ = endpoint.rpc("initialize", {"protocolVersion": "2025-11-25"})
        assert status == 401 and heads["WWW-Authenticate"].startswith("Bearer")
        assert endpoint.rpc("initialize", {}, headers={"Authorization": "Bearer wrong"})[0] == 401
        assert endpoint.rpc("initialize", {}, headers={"Authorization": "Basic s3cret"})[0] == 401
        good = {"Authorization": "Bearer s3cret"}
        session = endpoint.open_session(headers=good)
        assert endpoint.rpc("ping", session=session)[0] == 401
        assert endpoint.request("DELETE", headers={"Mcp-Session-Id": session})[0] == 401
        assert endpoint.rpc("ping", session=session, headers=good)[0] == 200
        assert endpoint.server.sessions() == [session]
    finally:
        endpoint.close()


def test_foreign_origins_and_hosts_are_refused_on_loopback(offline):
    port = offline.port
    for headers in ({"Origin": "http://evil.example.com"}, {"Host": "evil.example.com:%d" % port},
                    {"Origin": "null"}, {"Origin": "http://[bad"},
                    {"Host": "attacker.test", "Origin": "http://attacker.test"}):
        status, _, text = offline.rpc("initialize", {"protocolVersion": "2025-11-25"}, headers=headers)
        assert status == 403, (headers, text)
    assert offline.server.sessions() == []
    for origin in ("http://localhost:%d" % port, "http://127.0.0.1:%d" % port, "http://[::1]:%d" % port):
        offline.open_session(headers={"Origin": origin})
    assert len(offline.server.sessions()) == 3


def test_beyond_loopback_an_origin_must_be_local_or_the_host_itself(offline):
    offline.server.loopback = False  # as when listening on 0.0.0.0
    assert offline.rpc("initialize", {}, headers={"Origin": "http://evil.example.com"})[0] == 403
    assert offline.rpc("initialize", {}, headers={"Host": "ui-box:8000", "Origin": "http://evil.example.com"})[0] == 403
    offline.open_session(headers={"Host": "ui-box:8000", "Origin": "http://ui-box:8000"})


def test_what_the_endpoint_refuses(offline):
    session = offline.open_session()
    assert offline.request("GET", headers={"Mcp-Session-Id": session})[0] == 405
    assert offline.request("POST", {"jsonrpc": "2.0", "id": 1, "method": "ping"}, path="/other")[0] == 404
    status, _, text = offline.rpc("ping", session=session, headers={"MCP-Protocol-Version": "1999-01-01"})
    assert status == 400 and "MCP-Protocol-Version" in text
    assert offline.rpc("ping", session=session, headers={"MCP-Protocol-Version": "2025-03-26"})[0] == 200
    assert offline.rpc("ping", session=session, headers={"Content-Type": "text/plain"})[0] == 415
    assert offline.rpc("ping", session=session, headers={"Accept": "text/html"})[0] == 406
    batch = [{"jsonrpc": "2.0", "id": 1, "method": "ping"}]
    assert offline.request("POST", batch, {"Mcp-Session-Id": session})[0] == 400
    status, _, text = offline.request("POST", b"{not json", {"Mcp-Session-Id": session})
    assert status == 400 and json.loads(text)["error"]["code"] == -32700
    status, _, text = offline.rpc("no/such", session=session)
    assert status == 200 and json.loads(text)["error"]["code"] == -32601
    status, _, text = offline.rpc("tools/call", {"name": "get_property", "arguments": {"objname": "x", "property": "y"}},
                                  session=session)
    assert status == 200 and json.loads(text)["result"]["isError"] is True and "not reachable" in text


def test_listen_addresses():
    assert parse_listen("8000") == ("127.0.0.1", 8000)
    assert parse_listen("0.0.0.0:8000") == ("0.0.0.0", 8000)
    assert parse_listen("[::1]:9") == ("::1", 9)
    for bad in ("", "host:", "x", "1:99999", "[::1]"):
        with pytest.raises(ValueError):
            parse_listen(bad)
    assert all(is_local(h) for h in ("localhost", "127.0.0.1", "127.1.2.3", "[::1]", "::1", "app.localhost"))
    assert not any(is_local(h) for h in ("evil.example.com", "0.0.0.0", "10.0.0.1", "", None))


def test_the_command_serves_until_terminated(client_env):
    proc = subprocess.Popen([sys.executable, "-m", "uiremote", "mcp", "--port", str(free_port()),
                             "--http", "127.0.0.1:0", "--http-token", "tok"],
                            env=client_env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                            stderr=subprocess.PIPE, text=True)
    try:
        lines = queue.Queue()
        threading.Thread(target=lambda: [lines.put(line) for line in proc.stderr], daemon=True).start()
        line = lines.get(timeout=WAIT)
        assert line.startswith("uiremote mcp: listening on http://127.0.0.1:") and line.rstrip().endswith("/mcp")
        port = int(line.rsplit(":", 1)[1].split("/")[0])
        conn = http.client.HTTPConnection("127.0.0.1", port, timeout=WAIT)
        conn.request("POST", "/mcp", body=b'{"jsonrpc":"2.0","id":1,"method":"ping"}',
                     headers={"Content-Type": "application/json", "Accept": JSON_AND_EVENTS})
        assert conn.getresponse().status == 401
        conn.close()
        proc.send_signal(signal.SIGTERM)
        assert proc.wait(WAIT) == 0
    finally:
        if proc.poll() is None:
            proc.kill()
            proc.wait(WAIT)


@pytest.mark.skipif(not hasattr(os, "fork"), reason="POSIX")
def test_a_busy_port_is_told(client_env):
    import socket

    with socket.socket() as taken:
        taken.bind(("127.0.0.1", 0))
        taken.listen(1)
        port = taken.getsockname()[1]
        done = subprocess.run([sys.executable, "-m", "uiremote", "mcp", "--http", str(port)], env=client_env,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=WAIT)
    assert done.returncode == 2 and "cannot listen on 127.0.0.1:%d" % port in done.stderr


def test_a_changed_tool_list_is_told_in_an_event_stream_with_the_answer():
    from test_mcp_extensions import StandIn  # an application that can turn extension mode on

    standin = StandIn()
    endpoint = Endpoint(standin.port)
    try:
        session = endpoint.open_session()
        status, heads, text = endpoint.rpc("tools/list", session=session)
        assert status == 200 and '"name":"tree"' not in text
        standin.extensions = True
        standin.drop_connections()  # as if the application had been restarted in extension mode
        status, heads, text = endpoint.rpc("tools/call", {"name": "get_window_name", "arguments": {"objname": "main"}},
                                           ident=3, session=session)
        assert status == 200 and heads["Content-Type"] == "text/event-stream"
        events = [json.loads(block.split("data: ", 1)[1]) for block in text.split("\n\n") if block]
        assert [event.get("id") for event in events] == [3, None]
        assert events[1] == {"jsonrpc": "2.0", "method": "notifications/tools/list_changed"}
        status, heads, text = endpoint.rpc("tools/list", ident=4, session=session)
        assert heads["Content-Type"] == "application/json" and '"name":"tree"' in text
    finally:
        endpoint.close()
        standin.close()
