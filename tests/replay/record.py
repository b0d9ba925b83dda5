#!/usr/bin/python3
"""Records the reply tables that replay.py checks (tests/replay/tables/qt5 or qt6/*.jsonl).

    record.py BUILD_DIR [RUN ...]

For each run (an application, a scene, extension mode on or off, the log library loaded or not)
it builds a list of writes: reads of every property worth reading on every named object found in
the scene, window names, name paths cut in several ways, misspelt paths, selectors, method calls
with every kind of JSON value, property writes read back, pointer and key actions, waits that
end at once, host models and plugins, and raw bytes: invalid UTF-8, NUL bytes, byte order marks,
whitespace, several messages in one write, broken and empty messages, delays.

The list runs four times, each time in a fresh application; writes whose replies (or log lines)
differ between the runs depend on time and are dropped, as are failed lookups whose reason
names the closest name (picked among equally close names in an order that depends on object
addresses), and the shortened list runs four times
again until all runs agree. The table is the agreed result.
"""

import json
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))

from replaylib import Program, encode_bytes, tables_dir, write_table  # noqa: E402

# Fresh runs that must agree on every write kept.
RUNS_PER_ATTEMPT = 4

# name -> header
RUNS = {
    "small-ext": {"program": "host", "scene": "bench/scenes/small.qml", "extensions": True, "log": None},
    "small-plain": {"program": "host", "scene": "bench/scenes/small.qml", "extensions": False, "log": None},
    "small-trace": {"program": "host", "scene": "bench/scenes/small.qml", "extensions": False, "log": 5,
                    "limit": 400},
    "demo-plain": {"program": "demo", "scene": None, "extensions": False, "log": None},
    "demo-ext": {"program": "demo", "scene": None, "extensions": True, "log": 3},
    "lookup-ext": {"program": "host", "scene": "tests/qml/lookup_scene.qml", "extensions": True, "log": None},
    "lookup-plain": {"program": "host", "scene": "tests/qml/lookup_scene.qml", "extensions": False, "log": 3},
    "robust-plain": {"program": "host", "scene": "tests/robustness/qml/robustness.qml", "extensions": False,
                     "log": None},
    "typing-ext": {"program": "host", "scene": "bench/scenes/typing.qml", "extensions": True, "log": None},
}

PROPERTIES = ["objectName", "x", "y", "width", "height", "visible", "enabled", "opacity", "z", "text", "color",
              "count", "currentIndex", "contentX", "checked", "value", "clip", "focus", "implicitWidth",
              "nosuchprop", "", "level", "clicks", "label", "caption", "cellIndex", "row", "order", "marker",
              "mode", "tone", "lastCall", "ToolTip.visible", "anchors.fill", "parent", "model", "title"]

# JSON values (as JSON text) for method arguments and property writes.
VALUES = [
    "0", "7", "-1", "2147483647", "2147483648", "-2147483649", "9007199254740993", "1e300", "-0", "0.1", "1.5",
    "3.0", "1E3", "true", "false", "null", '""', '"plain"', '"caf\u00e9"', '"\u65e5\u672c\u8a9e"',
    '"\U0001F600 smile"', '"tab\\tnew\\nline"', '"back\\\\slash"', '"sl\\/ash"', '"nul\\u0000byte"',
    '"lone \\ud800 high"', '"lone \\udc00 low"', '"pair \\ud83d\\ude00"', '"\\u00e9\\u4e2d"', '"say \\"hi there\\" now"',
    '"\\u0022quoted\\u0022"', "[]", "{}", "[1,2,3]", '[1,"two",[3],{"four":4}]', '{"a":1,"b":[true,null]}',
    '{"nested":{"deeper":{"deepest":"x"}}}', '"  spaced   out  "', '"{}{"', '"}{"', '"\u00ff\u0100"',
]

# Raw byte sequences placed inside a JSON string (invalid UTF-8 among them).
RAW_STRINGS = [
    b"\xff", b"\xc3\x28", b"\xc0\xaf", b"\xed\xa0\x80", b"\xed\xbf\xbf", b"\xf4\x90\x80\x80", b"\xe2\x82",
    b"\xef\xbf\xbe", b"\xef\xbf\xbf", b"\xef\xb7\x90", b"\xf0\x9f\x98\x80", b"caf\xe9", b"\x80abc", b"a\x00b",
    b"\xc2\xa0nbsp", b"\xef\xbb\xbfbom", b"\xf8\x88\x80\x80\x80", b"\xfe\xfe",
]


def compact(obj):
    return json.dumps(obj, separators=(",", ":"), ensure_ascii=False).encode("utf-8")


def tree_of(build_dir, header):
    """Every object of the scene with a name path, from the tree control of an extension-mode
    application on the same scene."""
    probe = dict(header, extensions=True, log=None, run="tree-probe")
    program = Program(build_dir, probe)
    try:
        reply = program.exchange(0, b'{"tree":{}}')
    finally:
        program.stop()
    root = json.loads(reply.decode("utf-8"))["value"]
    nodes = []

    def walk(node):
        nodes.append(node)
        for child in node.get("children", []):
            walk(child)

    walk(root)
    return nodes


def writes_for(build_dir, name, header):
    nodes = tree_of(build_dir, header)
    # The demo's clock ticks every 200 ms: what it shows (and its text's width) depends on time.
    nodes = [n for n in nodes if "clock" not in (n.get("path") or "")]
    clock_ancestors = {"", "main"} if header["program"] == "demo" else set()
    ext = header["extensions"]
    named = [n for n in nodes if n.get("path") and "{" not in n["path"]]
    selected = [n for n in nodes if n.get("path") and "{" in n["path"]]
    windows = sorted({n["label"] for n in nodes if n.get("type", "").endswith("Window")})
    window = windows[0] if windows else "nowindow"
    writes = []  # (connection, bytes)

    def add(data, connection=None):
        writes.append((len(writes) % 2 if connection is None else connection, data))

    def req(word, args, **top):
        message = {word: args}
        message.update(top)
        return compact(message)

    # Reads of every property on every named object, three messages per write now and then.
    batch = []
    for node in named:
        path = node["path"]
        for prop in PROPERTIES:
            message = req("getpro", {"objname": path, "property": prop})
            if len(batch) < 2 and prop in ("x", "y", "text", "nosuchprop", "width"):
                batch.append(message)
                continue
            add(b"".join(batch) + message)
            batch = []
        add(req("getwinname", {"objname": path}))
        segments = path.split(".")
        if len(segments) > 1:
            add(req("getpro", {"parobjname": ".".join(segments[:-1]), "objname": segments[-1],
                               "property": "objectName"}))
            add(req("getpro", {"objname": segments[-1], "property": "width"}))
            add(req("getpro", {"objname": segments[0] + "." + segments[-1], "property": "height"}))
        wrong = path[:-1] if len(path) > 1 else path + "x"
        add(req("getpro", {"objname": wrong, "property": "x"}))
        add(req("getpro", {"objname": path.upper(), "property": "x"}))
        add(req("getpro", {"objname": path + ".", "property": "x"}))
        add(req("getpro", {"objname": "." + path, "property": "x"}))
        add(req("invokeret", {"objname": path, "method": "nosuchmethod"}))
        if ext:
            add(req("find", {"property": "objectName", "value": node["label"]}))
            if path not in clock_ancestors and path.split(".")[-1] not in clock_ancestors:
                add(req("tree", {"objname": path, "depth": 1}))
    for node in selected[:40]:
        add(req("getpro", {"objname": node["path"], "property": "objectName"}))
        add(req("getpro", {"objname": node["path"], "property": "width"}))
    types = sorted({n.get("type") for n in nodes if n.get("type")})
    for type_name in types:
        for path in ("{%s}" % type_name, "{%s}[1]" % type_name, "{%s visible=true}" % type_name,
                     "{%s}[99]" % type_name):
            add(req("getpro", {"objname": path, "property": "objectName"}))
    for bad in ("{Button", "{Button text=}", "{=1}", "{Item}[x]", "{Item}[-1]", "a.{Item}.b", "{text=\"x\"}",
                "{Item objectName=null}", "{Item width=1e1}", "{}"):
        add(req("getpro", {"objname": bad, "property": "objectName"}))
    if ext:
        for prop, value in (("visible", True), ("enabled", False), ("objectName", ""), ("width", 0), ("text", None)):
            args = {"property": prop}
            if value is not None:
                args["value"] = value
            add(req("find", args))
        add(req("find", {"property": "width", "type": "Item"}))
        add(req("find", {"property": "x", "value": 10, "objname": named[0]["path"] if named else ""}))
        add(req("tree", {"depth": 0}))
        add(req("tree", {"objname": "nosuch"}))

    # Scene-specific method calls, property round trips and actions.
    scene = header.get("scene") or "demo"
    calls = []  # (path, method) taking one value
    text_targets = []  # (path, property) of string properties that may be written
    int_targets = []
    if "small" in scene:
        calls = [("main.logic", "echo")]
        text_targets = [("main.title", "text")]
        int_targets = [("main.box", "level")]
        for _ in range(5):
            add(req("invokeret", {"objname": "main.logic", "method": "next"}))
    elif "lookup" in scene:
        for method, args in (("answer", []), ("noArgs", []), ("one", ["a"]), ("two", [1, 2]), ("two", ["a", "b"]),
                             ("ten", list(range(10))), ("ten", list(range(12))), ("returnsNothing", []),
                             ("currentButton", []), ("backendObject", []), ("bump", [])):
            add(req("invokeret", {"objname": "mainView", "method": method, "mthargs": args}))
            add(req("invoke", {"objname": "mainView", "method": method, "mthargs": args}))
        add(req("getpro", {"objname": "mainView", "property": "bumps"}))
        add(req("getpro", {"objname": "mainView", "method": "currentButton", "property": "count"}))
        add(req("getpro", {"objname": "mainView", "method": "answer", "property": "count"}))
        add(req("getpro", {"objname": "mainView", "method": "nosuch", "property": "count"}))
        add(req("getpro", {"objname": "mainView.settings", "property": "mode"}))
        add(req("getwinname", {"objname": "mainView.settings"}))
        add(req("getwinname", {"objname": "secondWindowItem"}))
        add(req("getwinname", {"objname": "floatingItem"}))
        calls = [("mainView", "one")]
        text_targets = [("mainView.okButton", "caption"), ("mainView.settings", "mode")]
        int_targets = [("mainView.okButton", "count"), ("mainView.okButton", "fixed")]
    elif "robustness" in scene:
        calls = [("main.echo", "echo")]
        text_targets = [("main.props", "label")]
        int_targets = [("main.props", "count"), ("main.slots.slot3", "value")]
        add(req("waitsignal", {"objname": "main.silent", "signal": "never()", "timeout": 1}))
        add(req("waitsignal", {"objname": "main.silent", "signal": "nosuch()", "timeout": 1}))
        add(req("waitsignal", {"objname": "nosuch", "signal": "never()", "timeout": 1}))
    elif "typing" in scene:
        text_targets = [("input", "text")]
        int_targets = [("input", "level")]
    else:  # the demo
        calls = [("main.calculator", "add")]
        text_targets = [("main.okButton", "lastButton"), ("main.nameField", "text"), ("main.swatch1", "tone")]
        int_targets = [("main.okButton", "clicks")]
        for a, b in ((2, 3), ("x", "y"), (1.5, [1]), (None, True)):
            add(req("invokeret", {"objname": "main.calculator", "method": "add", "mthargs": [a, b]}))
        add(req("invoke", {"objname": "main.calculator", "method": "reset"}))
        add(req("getpro", {"objname": "main.calculator", "property": "lastCall"}))
        add(req("getpro", {"objname": "main.calculator", "method": "selected", "property": "label"}))
        add(req("getpro", {"objname": "main.calculator", "method": "selected", "property": "nosuch"}))
        for row in ("0/1", "0", "1/0", "9", "0/9", "", "x"):
            for role in ("name", "nosuch"):
                add(req("getmdlitemval", {"pluginname": "DevicePlugin", "method": "deviceModel",
                                          "mdlitemrowpth": row, "mdlitemrolename": role}))
                add(req("getgrpmdlitemval", {"pluginname": "DevicePlugin", "method": "deviceModel",
                                             "grouprolename": "alarms", "mdlitemrowpth": row,
                                             "mdlitemrolename": role}))
        add(req("getmdlitemval", {"pluginname": "NoPlugin", "method": "deviceModel", "mdlitemrowpth": "0",
                                  "mdlitemrolename": "name"}))
        add(req("getfltmdlitemval", {"pluginname": "DevicePlugin"}))
        add(req("addjoystick", {"joystick_list": ["pad-1", "pad-2"]}))
        add(req("joystickbuttonevent", {"model_name": "pad-1", "key_id": 3}))
        add(req("movejoystick", {"pos_x": 0.5, "pos_y": -0.25, "pos_z": 1}))
        add(req("getpro", {"objname": "main.joystickLabel", "property": "text"}))
        add(req("emitpluginsignal", {"pluginName": "AlarmPlugin", "signalName": "ring"}))
        add(req("emitpluginsignal", {"pluginName": "AlarmPlugin", "signalName": "nosuch"}))
        add(req("emitpluginsignal", {"pluginName": "NoPlugin", "signalName": "ring"}))
        add(req("getpro", {"objname": "main.alarmLabel", "property": "text"}))
        add(req("waitsignal", {"objname": "main.calculator", "signal": "nosuch()", "timeout": 1}))
        add(req("waitsignal", {"objname": "AlarmPlugin", "signal": "nosuch()", "timeout": 1}))
    for path, method in calls:
        for value in VALUES:
            add(b'{"invokeret":{"objname":"' + path.encode() + b'","method":"' + method.encode() +
                b'","mthargs":[' + value.encode("utf-8") + (b",1]}}" if method == "add" else b"]}}"))
        for raw in RAW_STRINGS:
            add(b'{"invokeret":{"objname":"' + path.encode() + b'","method":"' + method.encode() +
                b'","mthargs":["' + raw + (b'",1]}}' if method == "add" else b'"]}}'))
    for path, prop in text_targets + int_targets:
        for value in VALUES:
            add(b'{"setpro":{"objname":"' + path.encode() + b'","property":"' + prop.encode() + b'","propval":' +
                value.encode("utf-8") + b"}}")
            add(req("getpro", {"objname": path, "property": prop}))
        for raw in RAW_STRINGS:
            add(b'{"setpro":{"objname":"' + path.encode() + b'","property":"' + prop.encode() + b'","propval":"' +
                raw + b'"}}' + req("getpro", {"objname": path, "property": prop}))

    # Pointer and key actions on every visual named object (rect known), the window given.
    for node in named:
        if "rect" not in node:
            continue
        path = node["path"]
        base = {"objname": path, "winobjname": window}
        add(req("click", base))
        add(req("click", dict(base, clickbtn="right", keyboardModifier=33554432, x=1, y=1)))
        add(req("click", dict(base, clickbtn="mid", keyboardModifier=-1)))
        add(req("dbclick", base))
        add(req("hover", dict(base, x=2, y=3)))
        add(req("press", base) + req("drop", base))
        add(req("drag", dict(base, from_x=1, from_y=1, to_x=15, to_y=12)))
        add(req("drop", dict(base, x=15, y=12)))
        add(req("click", dict(base, winobjname="nowindow")))
        add(req("click", {"objname": path}))
        if ext:
            add(req("click", dict(base, actionable=True)))
            add(req("wheel", {"objname": path, "dy": 15}))
    for key in (65, 72, 16777220, 16777219, 48, 0, -5, 2147483647, 16777216):
        for modifier in (0, 33554432, 67108864, 4):
            add(req("keyclick", {"winobjname": window, "key": key, "keyboardModifier": modifier}))
    add(req("keyclick", {"winobjname": "nowindow", "key": 65}))
    add(req("keyclick", {"key": 65}))
    if ext:
        for text in ("hello", "caf\u00e9 \u65e5\u672c", "\U0001F600", "tab\tnew\nline", ""):
            add(req("typetext", {"text": text}))
            add(req("typetext", {"text": text, "winobjname": window}))
        add(req("spy", {"objname": named[0]["path"] if named else "x", "signal": "objectNameChanged"}))
        add(req("spy", {"objname": "nosuch", "signal": "clicked"}))
        add(req("spycount", {"id": 1}))
        add(req("spycount", {"id": 99}))
        add(req("waitspy", {"id": 1, "count": 0, "timeout": 1}))
        add(req("waitspy", {"id": 99, "timeout": 1}))
        for path, prop in text_targets + int_targets:
            add(req("waitprop", {"objname": path, "property": prop, "value": "never", "timeout": 1}))
            add(req("waitprop", {"objname": path, "property": prop, "value": 1, "timeout": 1}))
        add(req("waitprop", {"objname": "nosuch", "property": "x", "value": 1, "timeout": 1}))
        add(req("waitidle", {"winobjname": "nowindow", "timeout": 1}))
        add(req("screenshot", {"winobjname": "nowindow"}))
        add(req("swipe", {"objname": "nosuch", "from": "left", "to": "right"}))

    # The framing and bad input.
    probe = req("getpro", {"objname": named[0]["path"] if named else "x", "property": "objectName"})
    raw_writes = [
        b" ", b"\n", b"{}", b"[]", b"null", b"42", b'"text"', b"{", b"}", b"}{", b"{}{}", b"{}{}{}", b"{{}}",
        b'{"getpro":1}', b'{"getpro":[]}', b'{"getpro":null}', b'{"nosuchword":{}}', b'{"GETPRO":{}}',
        b'{"getpro":{}}', b'{"getpro":{"objname":""}}', b'{"getpro":{"objname":"","property":"objectName"}}',
        probe + b" ", b" \t\r\n" + probe, probe + b"\n" + probe, probe + b" \n\t " + probe,
        probe + b"x" + probe, probe + probe + probe + probe + probe, probe[:-1], probe[1:], probe + b"{",
        b"\xef\xbb\xbf" + probe, probe + b"\xef\xbb\xbf", b"\xef\xbb\xbf", b"\x00" + probe, probe + b"\x00",
        probe[:5] + b"\x00" + probe[5:], b"\x00", b"\xff" + probe, probe.replace(b":", b" : "),
        b'{ "getpro" : { "objname" : "x" ,\n "property" : "y" } }', b'{"getpro":{"objname":"a b"}}',
        b'{"a":"}{"}', b'{"a":"\\"}{"}', b'{"delay":1,"getpro":{"objname":"x"}}', b'{"delay":"2"}',
        b'{"delay":-5,' + probe[1:], b'{"delay":1.5,' + probe[1:], b'{"timeout":1,' + probe[1:],
        b'{"delay":1,' + probe[1:] + probe, b'{"zzz":true,' + probe[1:], b'{"delay":[1],' + probe[1:],
        b'{"getpro":{"objname":"x"},"setpro":{"objname":"y"}}', b'{"click":{},"getpro":{}}',
        b'{"getpro":{"objname":"x"},"getpro":{"objname":"y"}}', probe.replace(b"{", b"{\r\n", 1),
        b"{\"getpro\":{\"objname\":\"" + b"a." * 200 + b"b\"}}", b"{\"getpro\":{\"objname\":\"" + b"x" * 3000 + b"\"}}",
        b"{\"invokeret\":{\"objname\":\"x\",\"mthargs\":[" + b",".join([b"1"] * 30) + b"]}}",
        b'{"getpro":{"objname":"x","property":"y",}}', b"{'getpro':{}}", b'{"getpro":{"objname":"x"}}}',
        b'{"getpro":{"objname":1,"property":2}}', b'{"getpro":{"objname":true}}',
        b'{"getpro":{"objname":["a"]}}', b'{"getwinname":{"objname":null}}',
    ]
    for data in raw_writes:
        add(data)
        add(probe)
    limit = header.get("limit")
    if limit:
        writes = writes[:limit]
    return [(c, d) for c, d in writes]


def run_once(build_dir, name, header, writes):
    program = Program(build_dir, dict(header, run=name))
    records = []
    try:
        for connection, data in writes:
            reply = program.exchange(connection, data, timeout=10.0)
            record = {"c": connection, "send": encode_bytes(data), "reply": encode_bytes(reply)}
            log = program.new_log_lines()
            if log is not None:
                record["log"] = log
            records.append(record)
    finally:
        program.stop()
    return records


def record(build_dir, name):
    header = dict(RUNS[name])
    header.pop("limit", None)
    header["run"] = name
    writes = writes_for(build_dir, name, RUNS[name])
    for attempt in range(6):
        runs = [run_once(build_dir, name, header, writes) for _ in range(RUNS_PER_ATTEMPT)]
        first = runs[0]
        differing = {i for other in runs[1:] for i, (a, b) in enumerate(zip(first, other)) if a != b}
        # The "closest" name of a failed lookup is picked among equally close names in the order
        # of a hash keyed by object addresses: it may agree four times and still differ later.
        differing |= {i for i, r in enumerate(first) if "; closest: " in r["reply"]}
        differing = sorted(differing)
        if not differing and all(len(r) == len(writes) for r in runs):
            tables = tables_dir(build_dir)
            tables.mkdir(parents=True, exist_ok=True)
            write_table(tables / (name + ".jsonl"), header, first)
            print("%s: %d writes recorded (%d attempts)" % (name, len(first), attempt + 1))
            return
        print("%s: %d writes differ between runs or name a closest match, dropped: %s" % (
            name, len(differing), ", ".join(repr(writes[i][1][:80]) for i in differing[:10])))
        drop = set(differing)
        writes = [w for i, w in enumerate(writes) if i not in drop]
    raise SystemExit("%s: the replies do not settle" % name)


def main():
    if len(sys.argv) < 2:
        raise SystemExit("usage: record.py BUILD_DIR [RUN ...]")
    build_dir = sys.argv[1]
    for name in sys.argv[2:] or list(RUNS):
        record(build_dir, name)


if __name__ == "__main__":
    main()
