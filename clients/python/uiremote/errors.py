"""Exceptions raised by the uiremote client."""

__all__ = [
    "UIRemoteError",
    "UIRemoteConnectionError",
    "UIRemoteAuthError",
    "UIRemoteTimeout",
    "UIRemoteProtocolError",
    "UIRemoteCommandFailed",
    "UIRemoteAppError",
]


class UIRemoteError(Exception):
    """Base class of every error of this package."""


class UIRemoteConnectionError(UIRemoteError):
    """The application cannot be reached, or it closed the connection."""


class UIRemoteAuthError(UIRemoteConnectionError):
    """The application wants a token first (UIREMOTE_TOKEN) and refused the one given: it closes
    the connection instead of answering."""


class UIRemoteTimeout(UIRemoteError):
    """No complete reply arrived in time.  The connection is closed, since a late reply would
    otherwise be taken for the answer to the next request."""


class UIRemoteProtocolError(UIRemoteError):
    """The application sent bytes that are not a reply object."""


class UIRemoteCommandFailed(UIRemoteError):
    """Raised by :meth:`Reply.check` when a control answered ``{"result": false}``."""

    def __init__(self, message, reply=None, request=None):
        super().__init__(message)
        self.reply = reply
        self.request = request
        self.reason = reply.raw.get("error") if reply is not None and getattr(reply, "raw", None) else None


class UIRemoteAppError(UIRemoteError):
    """The application under test could not be started, or it ended unexpectedly."""

    def __init__(self, message, output=""):
        super().__init__(message)
        self.output = output
