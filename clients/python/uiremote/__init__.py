"""Python client of the UI remote control for Qt Quick applications.

    from uiremote import Client
    from uiremote.qt import Key, Modifier

    with Client(port=34541, window="mainWindow") as app:
        app.click("main.okButton", modifiers=Modifier.SHIFT)
        assert app.get_property("main.okButton", "clicks").value == 1
        app.key_click("mainWindow", Key.RETURN)
"""

from . import qt
from .client import Client
from .protocol import CONTROL_TYPES, DEFAULT_PORT, EXTENSION_TYPES, Reply, ReplyReader, encode_request
from .errors import (
    UIRemoteAppError,
    UIRemoteAuthError,
    UIRemoteCommandFailed,
    UIRemoteConnectionError,
    UIRemoteError,
    UIRemoteProtocolError,
    UIRemoteTimeout,
)
from .handles import Handle
from .qt import Button, Key, Modifier, MouseButton
from .scene import path, selector, walk

__version__ = "0.1.0"

__all__ = [
    "CONTROL_TYPES",
    "EXTENSION_TYPES",
    "DEFAULT_PORT",
    "Client",
    "Handle",
    "Reply",
    "ReplyReader",
    "encode_request",
    "qt",
    "Button",
    "Key",
    "Modifier",
    "MouseButton",
    "path",
    "selector",
    "walk",
    "UIRemoteError",
    "UIRemoteConnectionError",
    "UIRemoteAuthError",
    "UIRemoteTimeout",
    "UIRemoteProtocolError",
    "UIRemoteCommandFailed",
    "UIRemoteAppError",
]
