"""Looking at the scene (extension mode): the live tree, finding objects, screenshots, and
helpers that write selector path segments.

    from uiremote import Client, selector
    with Client(port=34541, window="mainWindow") as app:
        app.click(selector("Button", text="Push", index=1))   # '{Button text="Push"}[1]'
        tree = app.tree("main", depth=2)
        paths = app.find("checked", True, type="CheckBox")
        open("shot.png", "wb").write(app.screenshot())
"""

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
    """Helpers of :class:`uiremote.Client` over the scene controls (tree, find, screenshot)."""

    def save_screenshot(self, file, window=None, path=None):
        """Writes :meth:`screenshot` to ``file``; returns the file name."""
        data = self.screenshot(window, path)
        with open(file, "wb") as out:
            out.write(data)
        return file

    def find_one(self, property=None, value=None, type=None, path=None, parent=None):
        """The one path :meth:`find` returns; raises when there is none or more than one."""
        found = self.find(property, value, type, path, parent)
        if len(found) != 1:
            raise UIRemoteCommandFailed("find %s=%r matched %d objects" % (property, value, len(found)))
        return found[0]
