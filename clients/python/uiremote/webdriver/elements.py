"""Web elements: scene objects known to a session for as long as they live.

The wire names objects by paths, not handles, and a path can come to name another object (a
selector path with an index under a parent whose children changed).  An element therefore keeps
three things: the path the scene gave for it when it was found, its type, and a spy on the
object's ``destroyed()`` signal armed at once through that path.  The spy is bound to the object
itself, not to the path, so

- once the spy has counted an emission, the object is gone: ``stale element reference``;
- while it has not, the object lives, and the path is checked to still name an object of the
  same type (and, for a named object, the same name) before every use.

Spies belong to the session's connection; the session keeps one connection for its lifetime.
A path that names another object of the same type and name cannot be told apart without an
object handle on the wire (see the WebDriver section of the README).
"""

import itertools
import threading
import uuid

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
    __slots__ = ("id", "path", "type", "name", "spy", "text")

    def __init__(self, element_id, path, type_, name, spy, text=None):
        self.id = element_id
        self.path = path
        self.type = type_
        self.name = name
        self.spy = spy
        self.text = text  # what the object showed when found: tells it apart from its siblings

    def same(self, node):
        return node.get("type") == self.type and (not self.name or _name_of(node) == self.name)

    def __repr__(self):
        return "<element %s %s>" % (self.type, self.path)


def _name_of(node):
    return node.get("id") or (node.get("label") if node.get("label") != node.get("type") else None)


class Registry:
    """The elements of one session, by id and by path."""

    def __init__(self, client):
        self.client = client
        self._by_id = {}
        self._by_path = {}
        self._lock = threading.Lock()
        self._prefix = uuid.uuid4().hex[:8]
        self._counter = itertools.count(1)

    def _alive(self, element):
        reply = self.client.send({"spycount": {"id": element.spy}})
        return bool(reply.result) and (reply.value or {}).get("count", 0) == 0

    def add_nodes(self, nodes):
        """Elements for tree nodes (``path``, ``type``), the known ones reused; nodes without a
        path are left out (the scene cannot name them)."""
        nodes = [node for node in nodes if node.get("path")]
        result = [None] * len(nodes)
        fresh = []
        with self._lock:
            for index, node in enumerate(nodes):
                known = self._by_path.get(node["path"])
                if known is not None and known.type == node.get("type") and self._alive(known):
                    result[index] = known
                else:
                    fresh.append(index)
            for start in range(0, len(fresh), 16):
                chunk = fresh[start:start + 16]
                replies = self.client.send_many(
                    [{"spy": {"objname": nodes[index]["path"], "signal": "destroyed()"}} for index in chunk])
                for index, reply in zip(chunk, replies):
                    node = nodes[index]
                    if not reply.result:
                        continue  # gone between the search and now
                    element = Element("%s-%d" % (self._prefix, next(self._counter)), node["path"],
                                      node.get("type"), _name_of(node), reply.value, node.get("text"))
                    self._by_id[element.id] = element
                    self._by_path[element.path] = element
                    result[index] = element
        return [element for element in result if element is not None]

    def get(self, element_id):
        """The element of an id, checked to be alive; raises ``no such element`` for an id this
        session never gave and ``stale element reference`` for an object that is gone."""
        with self._lock:
            element = self._by_id.get(element_id)
        if element is None:
            raise WebDriverError("no such element", "no element with id %s in this session" % element_id)
        if not self._alive(element):
            self._forget(element)
            raise WebDriverError("stale element reference",
                                 "the %s at %s was destroyed" % (element.type, element.path))
        return element

    def node(self, element):
        """The element's current tree node (without children); checks that its path still names
        an object of its type and name."""
        reply = self.client.send({"tree": {"objname": element.path, "depth": 0}})
        node = reply.value if reply.result and isinstance(reply.value, dict) else None
        if node is not None and element.same(node) and ("{" not in element.path or node.get("text") == element.text):
            element.text = node.get("text")
            node.pop("children", None)
            return node  # a name path, or a selector path that still shows the same object
        if not self._alive(element):
            self._forget(element)
            raise WebDriverError("stale element reference", "the %s at %s was destroyed" % (element.type, element.path))
        moved = self._relocate(element)
        if moved is None and node is not None and element.same(node):
            moved = node  # alone at its place, its text changed
        if moved is None:
            raise WebDriverError("stale element reference",
                                 "%s no longer names the %s found there" % (element.path, element.type))
        element.text = moved.get("text")
        moved.pop("children", None)
        return moved

    def _relocate(self, element):
        """The node of a living element whose path now names another object (a view moved its
        delegates): the one object of its type, name and text in the scene, else None."""
        found = []
        stack = [self.client.tree()]
        while stack:
            node = stack.pop()
            stack.extend(node.get("children", ()))
            if element.same(node) and node.get("path") and (element.text is None or node.get("text") == element.text):
                found.append(node)
        if len(found) != 1:
            return None
        with self._lock:
            if self._by_path.get(element.path) is element:
                del self._by_path[element.path]
            element.path = found[0]["path"]
            self._by_path[element.path] = element
        return found[0]

    def _forget(self, element):
        with self._lock:
            self._by_id.pop(element.id, None)
            if self._by_path.get(element.path) is element:
                del self._by_path[element.path]
