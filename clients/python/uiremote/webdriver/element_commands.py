"""Finding elements and the commands on one element."""

import time

from .css import text_of
from .elements import element_id_of, element_ref
from .errors import WebDriverError
from .keys import type_keys
from .locators import Scene, locate
from .routes import route

__all__ = ["find", "element_of", "window_of", "settle", "displayed", "attribute", "with_reason"]


def with_reason(reply, what):
    """Raises the WebDriver error that a failed pointer or key reply stands for."""
    if reply.result:
        return reply
    reason = reply.error or "%s failed" % what
    if "covered" in reason:
        raise WebDriverError("element click intercepted", reason)
    if "no object matches" in reason or "not found" in reason or "destroyed" in reason:
        raise WebDriverError("stale element reference", reason)
    raise WebDriverError("element not interactable", reason)


def _locator(body):
    if not isinstance(body, dict) or not isinstance(body.get("using"), str) or not isinstance(body.get("value"), str):
        raise WebDriverError("invalid argument", "a locator needs \"using\" and \"value\" strings")
    return body["using"], body["value"]


def find(session, body, start=None, many=False):
    """Elements found by a locator (below element ``start``), waiting up to the implicit
    time-out with growing pauses between looks."""
    strategy, value = _locator(body)
    deadline = time.monotonic() + session.timeouts["implicit"] / 1000.0
    pause = 0.02
    while True:
        scene = Scene(session.client, session.client.tree())
        start_index = None
        if start is not None:
            session.elements.node(start)
            start_index = scene.index_of_path(start.path)
            if start_index is None:
                raise WebDriverError("stale element reference", "%s is no longer in the scene" % start.path)
        indexes = locate(scene, strategy, value, start_index)
        elements = session.elements.add_nodes([scene.nodes[i] for i in (indexes if many else indexes[:4])])
        if elements:
            return [element_ref(e) for e in elements] if many else element_ref(elements[0])
        remaining = deadline - time.monotonic()
        if remaining <= 0:
            if many:
                return []
            raise WebDriverError("no such element", "no object matches %s %r" % (strategy, value))
        time.sleep(min(pause, remaining))
        pause = min(pause * 2, 0.5)


def element_of(session, element_id):
    return session.elements.get(element_id)


def settle(session, window=None):
    """Waits (bounded) until the window stops moving after an input, when the session asks for it
    ("waitIdle", on by default): a drawer that slides open or a page that slides in is where it
    ends before the next command looks."""
    if session.wait_idle:
        session.client.wait_idle(window or session.window, timeout=session.wait_idle)


def window_of(session, element):
    """The name of the window that shows the element (the session's window when it has none)."""
    reply = session.client.get_window_name(element.handle)
    return reply.value if reply.result and reply.value else session.window


def displayed(session, element):
    node = session.elements.node(element)
    rect = node.get("rect")
    return bool(node.get("visible")) and bool(rect) and rect["width"] > 0 and rect["height"] > 0


def _property(session, element, name):
    reply = session.client.get_property(element.handle, name)
    return reply.value if reply.result else None


def attribute(session, element, name):
    """A property as text, as a browser gives attributes: true as "true", false and missing as
    null, numbers and strings as text."""
    value = _property(session, element, name)
    if value is False:
        return None
    return text_of(value) if not isinstance(value, (dict, list)) else value


@route("POST", "/session/{sid}/element")
def _find_element(session, params, body):
    return find(session, body)


@route("POST", "/session/{sid}/elements")
def _find_elements(session, params, body):
    return find(session, body, many=True)


@route("POST", "/session/{sid}/element/{eid}/element")
def _find_from_element(session, params, body):
    return find(session, body, element_of(session, params["eid"]))


@route("POST", "/session/{sid}/element/{eid}/elements")
def _find_all_from_element(session, params, body):
    return find(session, body, element_of(session, params["eid"]), many=True)


@route("GET", "/session/{sid}/element/active")
def _active_element(session, params, body):
    reply = session.client.get_property(session.window, "activeFocusItem")
    if not reply.result or not isinstance(reply.value, dict) or not reply.value.get("path"):
        raise WebDriverError("no such element", "no item has the keyboard focus")
    node = session.client.send({"tree": {"objname": reply.value["path"], "depth": 0}}).value or {}
    found = session.elements.add_nodes([node])
    if not found:
        raise WebDriverError("no such element", "the focused item cannot be named")
    return element_ref(found[0])


def scroll_into_view(session, element, node, window):
    """Scrolls the flickable (list, grid, scroll view) that holds an element shown outside its
    window until the element's centre is in the middle of the flickable, as far as it goes."""
    rect = node.get("rect")
    size = [session.client.get_property(window, key).value for key in ("width", "height")]
    if not rect or None in size or (rect["x"] >= 0 and rect["y"] >= 0 and rect["x"] + rect["width"] <= size[0]
                                    and rect["y"] + rect["height"] <= size[1]):
        return node
    scene = Scene(session.client, session.client.tree())
    index = scene.index_of_path(element.path)
    index = scene.parents[index] if index is not None else None
    while index is not None and not scene.is_type(index, "Flickable"):
        index = scene.parents[index]
    if index is None:
        return node
    view, box = scene.nodes[index]["path"], scene.nodes[index]["rect"]
    for axis, start, length in (("Y", "y", "height"), ("X", "x", "width")):
        shift = (rect[start] + rect[length] / 2.0) - (box[start] + box[length] / 2.0)
        if abs(shift) < 1:
            continue
        now, origin, content = (session.client.get_property(view, name).value
                                for name in ("content" + axis, "origin" + axis, "content" + length.title()))
        if None in (now, origin, content):
            continue
        wanted = max(origin, min(now + shift, origin + content - box[length]))
        session.client.set_property(view, "content" + axis, wanted)
    return session.elements.node(element)


@route("POST", "/session/{sid}/element/{eid}/click")
def _click(session, params, body):
    element = element_of(session, params["eid"])
    node = session.elements.node(element)
    window = window_of(session, element)
    scroll_into_view(session, element, node, window)
    with_reason(session.client.click(element.handle, window), "click")
    settle(session, window)


@route("POST", "/session/{sid}/element/{eid}/clear")
def _clear(session, params, body):
    element = element_of(session, params["eid"])
    node = session.elements.node(element)
    if not node.get("enabled", True):
        raise WebDriverError("invalid element state", "%s is disabled" % element.path)
    reply = session.client.set_property(element.handle, "text", "")
    if not reply.result:
        raise WebDriverError("invalid element state", reply.error or "%s has no editable text" % element.path)


def _focus(session, element):
    if session.client.invoke(element.handle, "forceActiveFocus").result:
        return
    with_reason(session.client.click(element.handle, window_of(session, element)), "focus")


@route("POST", "/session/{sid}/element/{eid}/value")
def _send_keys(session, params, body):
    text = body.get("text") if isinstance(body, dict) else None
    if text is None and isinstance(body.get("value"), list):
        text = "".join(body["value"])
    if not isinstance(text, str):
        raise WebDriverError("invalid argument", "Send Keys needs a \"text\" string")
    element = element_of(session, params["eid"])
    node = session.elements.node(element)
    if not node.get("visible") or not node.get("enabled", True):
        raise WebDriverError("element not interactable", "%s is %s" % (
            element.path, "hidden" if not node.get("visible") else "disabled"))
    _focus(session, element)
    current = node.get("text")
    if isinstance(current, str):  # the caret goes to the end, as when a field takes the focus
        session.client.set_property(element.handle, "cursorPosition", len(current))
    window = window_of(session, element)
    failed = type_keys(session.client, window, text)
    if failed:
        raise WebDriverError("element not interactable", failed)


@route("GET", "/session/{sid}/element/{eid}/text")
def _text(session, params, body):
    value = _property(session, element_of(session, params["eid"]), "text")
    return value if isinstance(value, str) else ("" if value is None else text_of(value) or "")


@route("GET", "/session/{sid}/element/{eid}/property/{name}")
def _get_property(session, params, body):
    return _property(session, element_of(session, params["eid"]), params["name"])


@route("GET", "/session/{sid}/element/{eid}/attribute/{name}")
def _get_attribute(session, params, body):
    return attribute(session, element_of(session, params["eid"]), params["name"])


@route("GET", "/session/{sid}/element/{eid}/css/{name}")
def _css_value(session, params, body):
    value = _property(session, element_of(session, params["eid"]), params["name"])
    return "" if value is None else text_of(value) or ""


@route("GET", "/session/{sid}/element/{eid}/rect")
def _rect(session, params, body):
    rect = session.elements.node(element_of(session, params["eid"])).get("rect")
    if not rect:
        return {"x": 0, "y": 0, "width": 0, "height": 0}
    return {key: rect[key] for key in ("x", "y", "width", "height")}


@route("GET", "/session/{sid}/element/{eid}/enabled")
def _enabled(session, params, body):
    node = session.elements.node(element_of(session, params["eid"]))
    return bool(node.get("enabled", True))


@route("GET", "/session/{sid}/element/{eid}/selected")
def _selected(session, params, body):
    element = element_of(session, params["eid"])
    for name in ("checked", "selected", "highlighted"):
        value = _property(session, element, name)
        if isinstance(value, bool):
            return value
    return False


@route("GET", "/session/{sid}/element/{eid}/displayed")
def _displayed(session, params, body):
    return displayed(session, element_of(session, params["eid"]))


@route("GET", "/session/{sid}/element/{eid}/name")
def _tag_name(session, params, body):
    return element_of(session, params["eid"]).type


@route("GET", "/session/{sid}/element/{eid}/computedrole")
def _role(session, params, body):
    value = _property(session, element_of(session, params["eid"]), "Accessible.role")
    return "" if value is None else text_of(value)


@route("GET", "/session/{sid}/element/{eid}/computedlabel")
def _label(session, params, body):
    value = _property(session, element_of(session, params["eid"]), "Accessible.name")
    return value if isinstance(value, str) else ""


@route("GET", "/session/{sid}/element/{eid}/screenshot")
def _element_screenshot(session, params, body):
    element = element_of(session, params["eid"])
    session.elements.node(element)
    reply = session.client.send({"screenshot": {"handle": int(element.handle), "winobjname": window_of(session, element)}})
    if not reply.result:
        raise WebDriverError("unable to capture screen", reply.error or "no screenshot of %s" % element.path)
    return reply.value


def element_argument(session, value):
    """The element of a script argument given as a web element reference."""
    element_id = element_id_of(value)
    if element_id is None:
        raise WebDriverError("invalid argument", "expected a web element reference, got %r" % (value,))
    return element_of(session, element_id)
