"""Session commands: sessions and status, time-outs, title, page source, screenshots, windows
and scripts."""

from .errors import WebDriverError
from .locators import Scene
from .routes import route

__all__ = []

_WINDOW_TYPES = ("ApplicationWindow", "Window", "QuickWindow", "QuickWindowQmlImpl")


@route("GET", "/status", session=False)
def _status(manager, params, body):
    ready, message = manager.ready()
    return {"ready": ready, "message": message}


@route("POST", "/session", session=False)
def _new_session(manager, params, body):
    session, capabilities = manager.create(body)
    return {"sessionId": session.id, "capabilities": capabilities}


@route("DELETE", "/session/{sid}", session=False)
def _delete_session(manager, params, body):
    manager.delete(params["sid"])


@route("GET", "/session/{sid}/timeouts")
def _get_timeouts(session, params, body):
    return dict(session.timeouts)


@route("POST", "/session/{sid}/timeouts")
def _set_timeouts(session, params, body):
    for key, value in (body or {}).items():
        if key not in session.timeouts:
            continue
        if value is None and key == "script":
            value = 0
        if not isinstance(value, int) or isinstance(value, bool) or not 0 <= value <= 2 ** 53 - 1:
            raise WebDriverError("invalid argument", "time-out %s must be a whole number of ms" % key)
    session.timeouts.update({k: v if v is not None else 0 for k, v in (body or {}).items() if k in session.timeouts})


def _windows(session):
    """The handles of the top-level windows: the served root window and the windows it holds."""
    tree = session.client.tree()
    handles = [session.window]
    stack = list(tree.get("children", ()))
    while stack:
        node = stack.pop(0)
        if node.get("type") in _WINDOW_TYPES and "rect" not in node:
            handle = node.get("id") or node.get("label") or node.get("path")
            if handle and handle not in handles:
                handles.append(handle)
        stack.extend(node.get("children", ()))
    return handles


@route("GET", "/session/{sid}/window")
def _window_handle(session, params, body):
    return session.window


@route("GET", "/session/{sid}/window/handles")
def _window_handles(session, params, body):
    return _windows(session)


@route("POST", "/session/{sid}/window")
def _switch_to_window(session, params, body):
    handle = (body or {}).get("handle", (body or {}).get("name"))
    if not isinstance(handle, str):
        raise WebDriverError("invalid argument", "Switch To Window needs a \"handle\" string")
    if handle not in _windows(session):
        raise WebDriverError("no such window", "no window %r" % handle)
    session.window = handle


@route("DELETE", "/session/{sid}/window")
def _close_window(session, params, body):
    reply = session.client.invoke(session.window, "close")
    if not reply.result:
        raise WebDriverError("unsupported operation", reply.error or "the window cannot be closed")
    handles = [h for h in _windows(session) if h != session.window]
    return handles


@route("POST", "/session/{sid}/window/new")
def _new_window(session, params, body):
    raise WebDriverError("unsupported operation", "a program's windows are made by the program")


def _window_rect(session):
    rect = {}
    for key in ("x", "y", "width", "height"):
        reply = session.client.get_property(session.window, key)
        if not reply.result:
            raise WebDriverError("no such window", reply.error or "window %s is gone" % session.window)
        rect[key] = reply.value
    return rect


@route("GET", "/session/{sid}/window/rect")
def _get_window_rect(session, params, body):
    return _window_rect(session)


@route("POST", "/session/{sid}/window/rect")
def _set_window_rect(session, params, body):
    for key in ("x", "y", "width", "height"):
        value = (body or {}).get(key)
        if value is None:
            continue
        if not isinstance(value, (int, float)) or isinstance(value, bool) or (key in ("width", "height") and value < 0):
            raise WebDriverError("invalid argument", "window %s must be a number" % key)
        reply = session.client.set_property(session.window, key, int(value))
        if not reply.result:
            raise WebDriverError("unsupported operation", reply.error or "cannot set the window's %s" % key)
    return _window_rect(session)


@route("POST", "/session/{sid}/window/maximize")
@route("POST", "/session/{sid}/window/minimize")
@route("POST", "/session/{sid}/window/fullscreen")
def _window_state(session, params, body):
    return _window_rect(session)  # the offscreen platform has no window manager to ask


@route("GET", "/session/{sid}/title")
def _title(session, params, body):
    reply = session.client.get_property(session.window, "title")
    if reply.result:
        return reply.value or ""
    raise WebDriverError("no such window", reply.error or "window %s is gone" % session.window)


@route("GET", "/session/{sid}/url")
def _url(session, params, body):
    return "uiremote://%s/%s" % (session.client.host, session.window)


@route("POST", "/session/{sid}/url")
@route("POST", "/session/{sid}/back")
@route("POST", "/session/{sid}/forward")
@route("POST", "/session/{sid}/refresh")
def _navigate(session, params, body):
    raise WebDriverError("unsupported operation", "a Qt Quick program has no URL to go to")


@route("GET", "/session/{sid}/source")
def _source(session, params, body):
    return Scene(session.client, session.client.tree()).source()


@route("GET", "/session/{sid}/screenshot")
def _screenshot(session, params, body):
    reply = session.client.send({"screenshot": {"winobjname": session.window}})
    if not reply.result:
        raise WebDriverError("unable to capture screen", reply.error or "no screenshot")
    return reply.value


@route("POST", "/session/{sid}/frame")
def _frame(session, params, body):
    if (body or {}).get("id") is not None:
        raise WebDriverError("no such frame", "a Qt Quick scene has no frames")


@route("POST", "/session/{sid}/frame/parent")
def _parent_frame(session, params, body):
    return None


@route("GET", "/session/{sid}/cookie")
def _cookies(session, params, body):
    return []
