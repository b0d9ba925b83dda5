"""The scene as WebDriver searches it: the ``tree`` of the application flattened into nodes,
the page source (one XML element per object) and the location strategies over both."""

import re

from . import css
from .errors import WebDriverError

__all__ = ["Scene", "STRATEGIES", "locate"]

#: Tree fields that stand for properties of the same name.
_TREE_PROPERTIES = ("text", "checked", "value", "currentIndex", "visible", "enabled")
_CLASS_LIKE = re.compile(r"^(Q[A-Z]\w*|\w+_QML(TYPE)?_\d+)$")
_XML_NAME = re.compile(r"[^A-Za-z0-9_.-]")


class Scene:
    """One look at the scene: nodes in document order with their parents."""

    def __init__(self, client, tree):
        self.client = client
        self.nodes, self.parents, self._children = [], [], {}
        self._typed = {}
        self._properties = {}
        self._add(tree, None)

    def _add(self, node, parent):
        index = len(self.nodes)
        self.nodes.append(node)
        self.parents.append(parent)
        self._children.setdefault(parent, []).append(index)
        for child in node.get("children", ()):
            self._add(child, index)

    def children(self, index):
        return self._children.get(index, [])

    def subtree(self, index):
        """The indexes below ``index`` (not itself), in document order."""
        found = []
        stack = list(reversed(self.children(index)))
        while stack:
            current = stack.pop()
            found.append(current)
            stack.extend(reversed(self.children(current)))
        return found

    def index_of_path(self, path):
        for index, node in enumerate(self.nodes):
            if node.get("path") == path:
                return index
        return None

    def object_name(self, index):
        node = self.nodes[index]
        label = node.get("label")
        if not label or label == node.get("type") and "id" not in node or _CLASS_LIKE.match(label):
            return None
        return label

    def is_type(self, index, name):
        node = self.nodes[index]
        if node.get("type") == name or node.get("label", "").split("_QML")[0] == name:
            return True
        if name not in self._typed:  # a type it derives from, as the scene's own selectors see it
            reply = self.client.send({"find": {"type": name}})
            self._typed[name] = set(reply.value or ()) if reply.result else set()
        return node.get("path") in self._typed[name]

    def property(self, index, name):
        node = self.nodes[index]
        if name in _TREE_PROPERTIES and name in node:
            return node[name]
        if name == "objectName":
            return self.object_name(index) or ""
        if name == "type":
            return node.get("type")
        key = (index, name)
        if key not in self._properties:
            value = None
            if node.get("path"):
                reply = self.client.send({"getpro": {"objname": node["path"], "property": name}})
                value = reply.value if reply.result else None
            self._properties[key] = value
        return self._properties[key]

    # -- page source ------------------------------------------------------------------------

    def attributes(self, index):
        node = self.nodes[index]
        attrs = {}
        if node.get("id"):
            attrs["id"] = node["id"]
        name = self.object_name(index)
        if name:
            attrs["objectName"] = name
        attrs["class"] = node.get("label", "") if _CLASS_LIKE.match(node.get("label", "")) else node.get("type", "")
        for key in ("text", "checked", "value", "currentIndex", "visible", "enabled"):
            if key in node:
                attrs[key] = css.text_of(node[key]) or ""
        rect = node.get("rect")
        if rect:
            for key in ("x", "y", "width", "height"):
                attrs[key] = css.text_of(rect[key])
        if node.get("path"):
            attrs["path"] = node["path"]
        return {key: _xml_text(value) for key, value in attrs.items()}

    def xml(self):
        """The page source as an lxml tree and the map from its elements to node indexes."""
        from lxml import etree

        elements = {}

        def build(index, parent):
            tag = _XML_NAME.sub("_", self.nodes[index].get("type") or "Object")
            if not tag[:1].isalpha():
                tag = "Object_" + tag
            element = etree.Element(tag) if parent is None else etree.SubElement(parent, tag)
            for key, value in self.attributes(index).items():
                element.set(key, value)
            elements[element] = index
            for child in self.children(index):
                build(child, element)
            return element

        root = build(0, None)
        return root, elements

    def source(self):
        from lxml import etree

        root, _ = self.xml()
        return etree.tostring(root, encoding="unicode", pretty_print=True)


def _xml_text(value):
    text = str(value)
    return "".join(ch for ch in text if ch in "\t\n\r" or ord(ch) >= 0x20 and ch not in "\ufffe\uffff")


def _by_css(scene, value, candidates):
    return css.match(scene, css.parse(value), candidates)


def _by_xpath(scene, value, candidates, start):
    from lxml import etree

    root, elements = scene.xml()
    context = root
    if start is not None:
        context = next(element for element, index in elements.items() if index == start)
    try:
        found = context.xpath(value)
    except (etree.XPathError, TypeError, ValueError) as error:
        raise WebDriverError("invalid selector", "XPath %r: %s" % (value, error)) from None
    if not isinstance(found, list) or any(not isinstance(item, etree._Element) for item in found):
        raise WebDriverError("invalid selector", "XPath %r does not select elements" % value)
    return sorted({elements[item] for item in found if item in elements})


def _by_text(scene, value, candidates, partial):
    return [index for index in candidates
            if isinstance(scene.nodes[index].get("text"), str)
            and (value in scene.nodes[index]["text"] if partial else scene.nodes[index]["text"] == value)]


def _by_tag(scene, value, candidates):
    if not value or not re.fullmatch(r"[\w.*-]+", value):
        raise WebDriverError("invalid selector", "tag name %r is not a type name" % value)
    if value == "*":
        return list(candidates)
    return [index for index in candidates if scene.is_type(index, value)]


def _by_accessibility(scene, value, candidates):
    reply = scene.client.send({"find": {"property": "Accessible.name", "value": value}})
    paths = set(reply.value or ()) if reply.result else set()
    found = [index for index in candidates if scene.nodes[index].get("path") in paths]
    return found or [index for index in candidates
                     if value in (scene.nodes[index].get("id"), scene.object_name(index))]


STRATEGIES = ("css selector", "xpath", "link text", "partial link text", "tag name", "accessibility id", "id", "name")


def locate(scene, strategy, value, start=None):
    """The node indexes the strategy finds in the scene (below node ``start`` when given)."""
    if not isinstance(value, str):
        raise WebDriverError("invalid argument", "the locator's value must be a string")
    candidates = scene.subtree(start) if start is not None else list(range(len(scene.nodes)))
    if strategy == "css selector":
        return _by_css(scene, value, candidates)
    if strategy == "xpath":
        return _by_xpath(scene, value, candidates, start)
    if strategy in ("link text", "partial link text"):
        return _by_text(scene, value, candidates, strategy == "partial link text")
    if strategy == "tag name":
        return _by_tag(scene, value, candidates)
    if strategy == "accessibility id":
        return _by_accessibility(scene, value, candidates)
    if strategy in ("id", "name"):
        return _by_css(scene, '[%s="%s"]' % (strategy, value.replace('"', '\\"')), candidates)
    raise WebDriverError("invalid argument", "unknown location strategy %r" % strategy)
