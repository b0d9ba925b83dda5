"""CSS selectors over the scene: types for element names, QML ids and object names for ``#``,
properties for attributes.

    Button                         objects of a QML type (or a type it derives from)
    #okButton  [id="okButton"]     by QML id or objectName; [name="x"] by objectName or id
    .Button                        as a type
    [text="OK"] [text*="O"] [text^="O"] [text$="K"] [text~="OK"] [text!="OK"] [checked]
    Drawer ListView > ItemDelegate descendant and child combinators
    Button, CheckBox               groups
    *                              any object

Values compare as text: true/false for booleans, integral numbers without a fraction.
"""

import re

from .errors import WebDriverError

__all__ = ["parse", "match", "text_of"]

_IDENT = r"-?[A-Za-z_\u00a0-\uffff][-\w.\u00a0-\uffff]*"
_TOKEN = re.compile(r"""
    (?P<space>\s+)
  | (?P<comma>,)
  | (?P<child>>)
  | (?P<star>\*)
  | \#(?P<hash>%(i)s)
  | \.(?P<cls>%(i)s)
  | \[\s*(?P<attr>%(i)s)\s*(?:(?P<op>[*^$~|!]?=)\s*(?:"(?P<dq>(?:[^"\\]|\\.)*)"|'(?P<sq>(?:[^'\\]|\\.)*)'|(?P<bare>[^\]\s]+))\s*)?\]
  | :nth-of-type\((?P<nth>\d+)\)
  | (?P<type>%(i)s)
""" % {"i": _IDENT}, re.VERBOSE)


def _unescape(text):
    return re.sub(r"\\(.)", r"\1", text)


class Compound:
    __slots__ = ("type", "ids", "classes", "attrs", "nth")

    def __init__(self):
        self.type, self.ids, self.classes, self.attrs, self.nth = None, [], [], [], None

    def empty(self):
        return self.type is None and not (self.ids or self.classes or self.attrs or self.nth)


def parse(text):
    """A list of selectors, each a list of (combinator, Compound) pairs, the first combinator
    None.  Raises ``invalid selector``."""
    if not isinstance(text, str) or not text.strip():
        raise WebDriverError("invalid selector", "an empty CSS selector")
    groups, chain, current, combinator, pos = [], [], Compound(), None, 0
    text = text.strip()

    def close():
        nonlocal current, combinator
        if current.empty():
            raise WebDriverError("invalid selector", "CSS selector %r: nothing to match at character %d" % (text, pos))
        chain.append((combinator, current))
        current, combinator = Compound(), None

    while pos < len(text):
        token = _TOKEN.match(text, pos)
        if token is None:
            raise WebDriverError("invalid selector", "CSS selector %r: unexpected %r at character %d"
                                 % (text, text[pos], pos))
        kind = token.lastgroup if token.lastgroup not in ("op", "dq", "sq", "bare") else "attr"
        if kind in ("space", "child", "comma"):
            if not current.empty():
                close()
            if kind == "comma":
                if not chain:
                    raise WebDriverError("invalid selector", "CSS selector %r: empty group" % text)
                groups.append(chain)
                chain = []
            elif kind == "child" or combinator is None:
                if kind == "child" and not chain:
                    raise WebDriverError("invalid selector", "CSS selector %r: '>' with nothing before" % text)
                combinator = ">" if kind == "child" else (combinator or " ")
        elif current.type is not None and kind in ("type", "star"):
            raise WebDriverError("invalid selector", "CSS selector %r: two types in one step" % text)
        elif kind == "star":
            current.type = "*"
        elif kind == "type":
            current.type = token.group("type")
        elif kind == "hash":
            current.ids.append(token.group("hash"))
        elif kind == "cls":
            current.classes.append(token.group("cls"))
        elif kind == "nth":
            current.nth = int(token.group("nth"))
        else:
            value = token.group("dq") if token.group("dq") is not None else token.group("sq")
            if value is None:
                value = token.group("bare")
            current.attrs.append((token.group("attr"), token.group("op"),
                                  None if value is None else _unescape(value)))
        if not chain and combinator is not None and current.empty() and kind != "child":
            combinator = None if not chain else combinator
        pos = token.end()
    if current.empty():
        raise WebDriverError("invalid selector", "CSS selector %r ends without something to match" % text)
    close()
    groups.append(chain)
    for chain in groups:
        chain[0] = (None, chain[0][1])
    return groups


def text_of(value):
    """A property value as CSS compares it."""
    if value is None:
        return None
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, float) and value.is_integer():
        return str(int(value))
    if isinstance(value, (dict, list)):
        return None
    return str(value)


def _compare(actual, op, wanted):
    if op is None:
        return actual is not None
    if actual is None:
        return op == "!="
    return {
        "=": actual == wanted,
        "!=": actual != wanted,
        "*=": bool(wanted) and wanted in actual,
        "^=": bool(wanted) and actual.startswith(wanted),
        "$=": bool(wanted) and actual.endswith(wanted),
        "~=": wanted in actual.split(),
        "|=": actual == wanted or actual.startswith(wanted + "-"),
    }[op]


def _compound_matches(scene, index, compound):
    node = scene.nodes[index]
    for type_name in ([compound.type] if compound.type not in (None, "*") else []) + compound.classes:
        if not scene.is_type(index, type_name):
            return False
    for wanted in compound.ids:
        if wanted not in (node.get("id"), scene.object_name(index)):
            return False
    for name, op, value in compound.attrs:
        if name in ("id", "name"):
            names = [node.get("id"), scene.object_name(index)] if name == "id" else [scene.object_name(index), node.get("id")]
            if not any(_compare(candidate, op, value) for candidate in names if candidate) and \
                    not (op == "!=" and not any(names)):
                return False
        elif not _compare(text_of(scene.property(index, name)), op, value):
            return False
    if compound.nth is not None:
        parent = scene.parents[index]
        same = [i for i in scene.children(parent) if scene.nodes[i].get("type") == node.get("type")]
        if index not in same or same.index(index) + 1 != compound.nth:
            return False
    return True


def _chain_matches(scene, index, chain, position):
    combinator, compound = chain[position]
    if not _compound_matches(scene, index, compound):
        return False
    if position == 0:
        return True
    parent = scene.parents[index]
    if chain[position][0] == ">":
        return parent is not None and _chain_matches(scene, parent, chain, position - 1)
    while parent is not None:
        if _chain_matches(scene, parent, chain, position - 1):
            return True
        parent = scene.parents[parent]
    return False


def match(scene, groups, candidates):
    """The candidate node indexes (in document order) that one of the selectors matches."""
    return [index for index in candidates
            if any(_chain_matches(scene, index, chain, len(chain) - 1) for chain in groups)]
