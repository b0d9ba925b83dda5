"""The agent tool server's connection to the application under test.

The link connects lazily (at the first tool call or tool listing), sends the optional token
first, and asks once per connection which extension words the application answers.  A call on
a connection that the application closed (it quit, or was restarted) is retried once on a new
connection.  Every failure becomes a :class:`ToolError` whose message says what to do.
"""

from ..client import Client
from ..errors import UIRemoteAuthError, UIRemoteConnectionError, UIRemoteError, UIRemoteProtocolError, UIRemoteTimeout

__all__ = ["AppLink", "ToolError", "PROBE"]

#: The extension word asked for when a connection opens (as a tree with depth 0 would send it).  An application without extension
#: mode answers it {"result": false} like any other unknown control, and runs nothing.
PROBE = {"tree": {"depth": 0}}


class ToolError(Exception):
    """A tool call that failed; the message is shown to the agent as it is."""


class AppLink:
    def __init__(self, host="127.0.0.1", port=34541, token=None, timeout=10.0):
        self.host = host
        self.port = int(port)
        self.token = token
        self.timeout = float(timeout)
        self.extensions = False  # what the last connection's probe found
        self._client = None
        #: Builds the tools' requests (Client.request); it never connects.
        self.builder = Client(self.host, self.port)

    @property
    def address(self):
        return "%s:%d" % (self.host, self.port)

    @property
    def connected(self):
        return self._client is not None and self._client.connected

    def close(self):
        if self._client is not None:
            self._client.close()
            self._client = None

    def ensure(self):
        """Connects if not connected.  Returns True when this call opened a new connection."""
        if self.connected:
            return False
        self.close()
        client = Client(self.host, self.port, timeout=self.timeout, token=self.token)
        try:
            client.connect()  # presents the token first, when there is one
        except UIRemoteAuthError:
            raise ToolError(
                "The application at %s refused the token: pass the token it was started "
                "with (--token, or $UIREMOTE_TOKEN)." % self.address) from None
        except UIRemoteConnectionError as error:
            raise ToolError(self._unreachable(error)) from None
        try:
            self.extensions = bool(client.send(PROBE).result)
        except UIRemoteError as error:
            client.close()
            raise ToolError(self._broken(error)) from None
        self._client = client
        return True

    def send(self, request, timeout=None):
        """Sends one request and returns its :class:`~uiremote.client.Reply`.

        A connection found closed is replaced once: the application may have been restarted
        since the last call, and a request that met a dead connection never reached it.
        """
        fresh = self.ensure()
        try:
            return self._client.send(request, timeout=timeout)
        except UIRemoteConnectionError as error:
            self.close()
            if fresh:
                raise ToolError(self._broken(error)) from None
        except UIRemoteError as error:
            self.close()
            raise ToolError(self._broken(error)) from None
        self.ensure()
        try:
            return self._client.send(request, timeout=timeout)
        except UIRemoteError as error:
            self.close()
            raise ToolError(self._broken(error)) from None

    def _unreachable(self, error):
        return ("The application is not reachable at %s (%s). Start it with the remote control "
                "on that port (for example: uiremote-host --port %d Main.qml), or give "
                "`uiremote mcp` the right --host and --port; the next call connects again."
                % (self.address, _cause(error), self.port))

    def _broken(self, error):
        if isinstance(error, UIRemoteTimeout):
            return ("The application at %s sent no reply within %.3g s: it is busy (a signal or "
                    "property wait, or a delay, holds its queue) or hung. The connection was "
                    "closed; the next call connects again." % (self.address, self.timeout))
        if isinstance(error, UIRemoteProtocolError):
            return "The application at %s sent something that is not a reply (%s)." % (
                self.address, error)
        return ("The connection to the application at %s broke (%s): it quit or was "
                "restarted. Start it again on that port; the next call connects again."
                % (self.address, _cause(error)))


def _cause(error):
    # "cannot connect to 127.0.0.1:1: [Errno 111] Connection refused" -> "Connection refused"
    text = str(error)
    return text.rsplit("] ", 1)[-1] if "] " in text else text
