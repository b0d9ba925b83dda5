"""The command line's scene commands: ``tree``, ``find`` and ``screenshot FILE``."""

import base64
import json

from .client import Reply


def _value(text):
    try:
        return json.loads(text)
    except ValueError:
        return text


def _tree(client, args):
    return client._control("tree", {"objname": args.path, "depth": args.depth})


def _find(client, args):
    request = {"property": args.property, "type": args.type, "objname": args.under}
    request = {key: value for key, value in request.items() if value is not None}
    if args.value is not None:
        request["value"] = _value(args.value)
    return client.send({"find": request})


def _screenshot(client, args):
    reply = client._control("screenshot", {"winobjname": args.window, "objname": args.item})
    if not reply.result:
        return reply
    with open(args.file, "wb") as out:
        out.write(base64.b64decode(reply.value))
    return Reply(True, args.file, raw={"result": True, "value": args.file})


def add_commands(subparsers):
    p = subparsers.add_parser("tree", help="print the live object tree (extension mode)")
    p.add_argument("path", nargs="?", help="the subtree's object path (default: the whole scene)")
    p.add_argument("-d", "--depth", type=int, help="levels below the object")
    p.set_defaults(run=_tree)

    p = subparsers.add_parser("find", help="print the paths of objects whose property has a value")
    p.add_argument("property", nargs="?")
    p.add_argument("value", nargs="?", help="a JSON literal (true, 3, \"text\") or plain text")
    p.add_argument("-t", "--type", help="only objects of this type (Button, CheckBox ...)")
    p.add_argument("-u", "--under", help="only below this object path")
    p.set_defaults(run=_find)

    p = subparsers.add_parser("screenshot", help="save the window as rendered now as PNG")
    p.add_argument("file")
    p.add_argument("-w", "--window", help="object name of the window (default: the application's)")
    p.add_argument("-i", "--item", help="crop to this item's path")
    p.set_defaults(run=_screenshot)
