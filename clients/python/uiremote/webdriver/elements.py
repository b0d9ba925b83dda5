"""Web elements: scene objects known to a session for as long as they live.

An element is an object handle of the application (the ``handle`` control): a number that
names one object, and only it, for as long as the program's remote control lives, whatever
happens to the paths around it.  The same object found twice is the same element.  Before each
use, ``resolve`` tells whether the object still lives (else ``stale element reference``) and
where it is now: its path, which the element keeps for the commands that look at the scene
tree (finds below an element, scrolling into view) and for messages.
"""

import itertools
import threading
import uuid

from ..handles import Handle
from .errors import WebDriverError

__all__ = ["ELEMENT_KEY", "Element", "Registry", "element_ref", "element_id_of"]

#: The key of a web element reference in JSON.
ELEMENT_KEY = "element-6066-11e4-a52e-4f735466cecf"


def element_ref(element):
    return {ELEMENT_KEY: element.id}


def element_id_of(value):
    """The element id of a JSON element reference, else None."""
    if isinstance(value, dict):
        found = value.get(ELEMENT_KEY, value.get("ELEMENT"))
        if isinstance(found, str):
            return found
    return None


class Element:
    __slots__ = ("id", "handle", "path", "type")

    def __init__(self, element_id, handle, path, type_):
        self.id = element_id
        self.handle = handle  # a Handle: client methods take it wherever they take a path
        self.path = path      # where the scene showed the object last (None: no search reaches it)
        self.type = type_

    def __repr__(self):
        return "<element %s %s>" % (self.type, self.path)


class Registry:
    """The elements of one session, by id and by handle."""

    def __init__(self, client):
        self.client = client
        self._by_id = {}
        self._by_handle = {}
        self._lock = threading.Lock()
        self._prefix = uuid.uuid4().hex[:8]
        self._counter = itertools.count(1)

    def add_nodes(self, nodes):
        """Elements for tree nodes (``path``, ``type``), known objects as their known elements;
        nodes without a path are left out (the scene cannot name them)."""
        nodes = [node for node in nodes if node.get("path")]
        result = []
        for start in range(0, len(nodes), 16):
            chunk = nodes[start:start + 16]
            replies = self.client.send_many([{"handle": {"objname": node["path"]}} for node in chunk])
            for node, reply in zip(chunk, replies):
                if reply.result and isinstance(reply.value, int):  # else gone between the search and now
                    result.append(self._element(Handle(reply.value), node["path"], node.get("type")))
        return result

    def add_object(self, value):
        """The element of an object a script returned ({"type", "path", "handle"})."""
        return self._element(Handle(value["handle"]), value.get("path"), value.get("type"))

    def _element(self, handle, path, type_):
        with self._lock:
            element = self._by_handle.get(handle)
            if element is None:
                element = Element("%s-%d" % (self._prefix, next(self._counter)), handle, path, type_)
                self._by_id[element.id] = element
                self._by_handle[handle] = element
            elif path:
                element.path = path
            return element

    def get(self, element_id):
        """The element of an id, checked to be alive; raises ``no such element`` for an id this
        session never gave and ``stale element reference`` for an object that is gone."""
        with self._lock:
            element = self._by_id.get(element_id)
        if element is None:
            raise WebDriverError("no such element", "no element with id %s in this session" % element_id)
        reply = self.client.resolve(element.handle)
        if not reply.result:
            raise WebDriverError("stale element reference", "the %s at %s: %s" % (
                element.type, element.path, reply.error or "destroyed"))
        element.path = reply.value.get("path") or element.path
        return element

    def node(self, element):
        """The element's current tree node (without children)."""
        reply = self.client.send({"tree": {"handle": int(element.handle), "depth": 0}})
        if not reply.result or not isinstance(reply.value, dict):
            raise WebDriverError("stale element reference", "the %s at %s: %s" % (
                element.type, element.path, reply.error or "destroyed"))
        node = reply.value
        node.pop("children", None)
        if node.get("path"):
            element.path = node["path"]
        return node
