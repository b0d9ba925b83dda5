"""Looking at the scene (extension mode): the live tree, finding objects, screenshots, and
helpers that write selector path segments.

    from uiremote import Client, selector
    with Client(port=34541, window="mainWindow") as app:
        app.click(selector("Button", text="Push", index=1))   # '{Button text="Push"}[1]'
        tree = app.tree("main", depth=2)
        paths = app.find("checked", True, type="CheckBox")
        open("shot.png", "wb").write(app.screenshot())
"""

import base64
import json

from .errors import UIRemoteCommandFailed

__all__ = ["selector", "path", "SceneMixin", "walk"]


def selector(type=None, index=None, **properties):
    """A selector segment: ``selector("CheckBox", index=2)`` is ``{CheckBox}[2]``,
    ``selector(text="Push")`` is ``{text="Push"}``.  Values are written as JSON literals;
    attached or dotted property names are given with a dict: ``selector(**{"ToolTip.visible": True})``."""
    parts = [type] if type else []
    parts += ["%s=%s" % (name, json.dumps(value)) for name, value in properties.items()]
    text = "{%s}" % " ".join(parts)
    if index:
        text += "[%d]" % int(index)
    return text


def path(*segments):
    """Joins names and selector segments into one path: ``path("stack", selector("Button"))``."""
    return ".".join(str(segment) for segment in segments)


def walk(node):
    """Every node of a tree reply, depth first, the given node first."""
    yield node
    for child in node.get("children", []):
        yield from walk(child)


class SceneMixin:
    """The extension words of :class:`uiremote.Client`; each raises
    :class:`UIRemoteCommandFailed` carrying the application's reason when it fails."""

    def tree(self, path=None, depth=None, parent=None):
        """The live object tree (below ``path`` when given, ``depth`` levels deep)."""
        args = {"objname": path, "parobjname": parent, "depth": depth}
        return self._control("tree", args).check("tree").value

    def find(self, property=None, value=None, type=None, under=None, **kwargs):
        """The paths of the objects whose ``property`` equals ``value`` (of ``type``, below
        ``under``).  Without ``value`` every object that has the property matches; pass
        ``any_value=False`` with ``value=None`` to look for null."""
        args = {"property": property, "type": type, "objname": under}
        request = {key: val for key, val in args.items() if val is not None}
        if value is not None or kwargs.get("any_value") is False:
            request["value"] = value
        return self.send({"find": request}).check("find").value

    def screenshot(self, window=None, path=None, parent=None):
        """The window as rendered now (cropped to the item at ``path``), as PNG bytes."""
        args = {"winobjname": window, "objname": path, "parobjname": parent}
        reply = self._control("screenshot", args).check("screenshot")
        return base64.b64decode(reply.value)

    def save_screenshot(self, file, window=None, path=None):
        """Writes :meth:`screenshot` to ``file``; returns the file name."""
        data = self.screenshot(window, path)
        with open(file, "wb") as out:
            out.write(data)
        return file

    def find_one(self, property=None, value=None, type=None, under=None):
        """The one path :meth:`find` returns; raises when there is none or more than one."""
        found = self.find(property, value, type, under)
        if len(found) != 1:
            raise UIRemoteCommandFailed("find %s=%r matched %d objects" % (property, value, len(found)))
        return found[0]
