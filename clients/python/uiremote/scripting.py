"""Object handles and scripts (extension mode): the methods of :class:`uiremote.Client` for the
controls ``handle``, ``resolve`` and ``evaluate``.

A handle names one object for as long as the application's remote control lives, whatever
happens to the paths around it.  Pass a :class:`Handle` wherever a method takes a path::

    ok = app.handle("main.okButton").value            # a Handle
    app.click(ok)                                     # sends {"handle": n} instead of objname
    app.evaluate("return arguments[0].text", [ok]).value   # "OK"
"""

from .controls import control
from .handles import Handle, script_value

__all__ = ["Handle", "ScriptControls", "script_value"]


def _handle_reply(reply):
    if reply.result and isinstance(reply.value, int) and not isinstance(reply.value, bool):
        object.__setattr__(reply, "value", Handle(reply.value))
    return reply


class ScriptControls:
    """The handle and script controls; mixed into the client beside :class:`Controls`."""

    @control(finish=_handle_reply)
    def handle(self, path, parent=None):
        """The object's handle: ``value`` is a :class:`Handle`, the same on every call for the
        same object and never given to another one."""
        return self._request("handle", self._target(path, parent))

    @control()
    def resolve(self, handle):
        """What a handle names now: ``value`` is {"path", "type", "alive": true}; a false reply
        says "object <n> was destroyed" once the object is gone."""
        return self._request("resolve", {"handle": int(handle)})

    @control()
    def evaluate(self, script, args=None, path=None, parent=None, timeout=None):
        """Runs ``script`` as the body of a JavaScript function in the application's QML engine,
        with ``args`` as ``arguments`` (a :class:`Handle`, or ``{"objname": path}``, passes the
        object itself) and the object at ``path`` as ``this``; ``value`` is what it returns
        (objects as {"type", "path", "handle"}); a throw fails with what was thrown.  ``timeout``
        (seconds, default 5) interrupts a script that runs longer."""
        data = dict(self._target(path, parent), script=script, args=script_value(list(args or [])))
        if timeout is not None:
            data["timeout"] = int(timeout * 1000)
        return self._request("evaluate", data)
