"""Execute Script and Execute Async Script, run by the program's QML engine (``evaluate``).

The script is the body of a function called with the command's arguments, ``this`` being the
served root window (what ``window`` is to a page).  Web element references among the arguments
reach the script as the objects themselves (by their handles); objects the script returns come
back as web elements; what it throws is a ``javascript error``.  The session's script time-out
bounds the run: the program interrupts a script that runs longer (``script timeout``).

An async script gets a callback as its last argument.  When the script calls it before it
returns, its value is the result at once.  Otherwise the script's wrapper leaves a small holder
object in the scene that the callback fills later (from a timer, a signal handler ...); the
endpoint waits for its ``done`` property without polling (``waitprop``, the program's event loop
running meanwhile), up to what is left of the script time-out, then reads the value and
destroys the holder.

The scripts Selenium sends for ``get_attribute`` and ``is_displayed`` (and WebdriverIO's
visibility script) are browser code; they are answered natively instead.
"""

import time

from .element_commands import attribute, displayed, element_argument
from .elements import element_id_of, element_ref
from .errors import WebDriverError
from .routes import route

__all__ = []

# Runs the async body; answers its value when the callback came before the body returned, else
# {"pending": holder}. The holder is created only then, as a child of the root window.
_ASYNC = """var state = {done: false, value: undefined, holder: null};
var args = Array.prototype.slice.call(arguments);
args.push(function (value) {
    if (state.done) return;
    state.done = true; state.value = value;
    if (state.holder) { state.holder.value = value; state.holder.done = true; }
});
(function () {
%s
}).apply(this, args);
if (state.done) return {"sync": [state.value]};
state.holder = Qt.createQmlObject("import QtQml 2.0; QtObject { property var value; property bool done: false }", this);
return {"pending": state.holder};
"""
_TAKE = "var holder = arguments[0], value = holder.value; holder.destroy(); return value;"


def _to_wire(session, value):
    """A script argument as evaluate takes it: elements become {"handle": n}."""
    if element_id_of(value) is not None:
        return {"handle": int(element_argument(session, value).handle)}
    if isinstance(value, list):
        return [_to_wire(session, element) for element in value]
    if isinstance(value, dict):
        return {key: _to_wire(session, element) for key, element in value.items()}
    return value


def _from_wire(session, value):
    """A script's result as WebDriver gives it: objects become web element references."""
    if isinstance(value, dict):
        if set(value) == {"type", "path", "handle"} and isinstance(value["handle"], int):
            return element_ref(session.elements.add_object(value))
        return {key: _from_wire(session, element) for key, element in value.items()}
    if isinstance(value, list):
        return [_from_wire(session, element) for element in value]
    return value


def _evaluate(session, script, args, timeout_ms, this=True):
    path = session.root_path if this else None
    reply = session.client.evaluate(script, args, path=path, timeout=timeout_ms / 1000.0)
    if reply.result:
        return reply.value
    reason = reply.error or "the script failed"
    if "was interrupted" in reason:
        raise WebDriverError("script timeout", reason)
    if "was destroyed" in reason or "no object matches" in reason:
        raise WebDriverError("stale element reference", reason)
    raise WebDriverError("javascript error", reason)


def _native(session, script, args):
    """The answer to a browser script a WebDriver client sends for a plain command, else None."""
    if script.startswith("/* getAttribute */"):
        if len(args) < 2 or not isinstance(args[1], str):
            raise WebDriverError("invalid argument", "getAttribute needs an element and a name")
        return True, attribute(session, element_argument(session, args[0]), args[1])
    head = script[:3000]  # WebdriverIO puts a few helpers before its function
    if script.startswith("/* isDisplayed */") or "function isElementDisplayed(" in head \
            or "function isElementInViewport(" in head:  # Selenium's and WebdriverIO's
        if not args:
            raise WebDriverError("invalid argument", "isDisplayed needs an element")
        return True, displayed(session, element_argument(session, args[0]))
    return False, None


def _body(body):
    if not isinstance(body, dict) or not isinstance(body.get("script"), str) or not isinstance(body.get("args", []), list):
        raise WebDriverError("invalid argument", "a script needs \"script\" (a string) and \"args\" (a list)")
    return body["script"], body.get("args", [])


@route("POST", "/session/{sid}/execute/sync")
def _execute(session, params, body):
    script, args = _body(body)
    answered, value = _native(session, script.lstrip(), args)
    if answered:
        return value
    return _from_wire(session, _evaluate(session, script, _to_wire(session, args), session.timeouts["script"]))


@route("POST", "/session/{sid}/execute/async")
def _execute_async(session, params, body):
    script, args = _body(body)
    answered, value = _native(session, script.lstrip(), args)
    if answered:
        return value
    timeout_ms = session.timeouts["script"]
    deadline = time.monotonic() + timeout_ms / 1000.0
    outcome = _evaluate(session, _ASYNC % script, _to_wire(session, args), timeout_ms)
    if "sync" in outcome:
        return _from_wire(session, outcome["sync"][0])
    holder = outcome["pending"]["handle"]
    left = max(0, int((deadline - time.monotonic()) * 1000)) if timeout_ms else 2 ** 31 - 1
    waited = session.client.send({"waitprop": {"handle": holder, "property": "done", "value": True, "timeout": left}})
    value = _evaluate(session, _TAKE, [{"handle": holder}], 5000, this=False)
    if not waited.result:
        raise WebDriverError("script timeout", "the async script did not call its callback within %d ms" % timeout_ms)
    return _from_wire(session, value)

